#include "station/linestore.h"

#include "station/reportfold.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

// Each step brings the schema from its index to the next version; steps are only appended.
const QList<QStringList> &migrations()
{
    static const QList<QStringList> steps = {
        { QStringLiteral("CREATE TABLE record_lines ("
                         "run_id VARCHAR(64) NOT NULL, "
                         "line_no BIGINT NOT NULL, "
                         "line_time VARCHAR(20) NOT NULL, "
                         "mac VARCHAR(17) NOT NULL, "
                         "kind VARCHAR(16) NOT NULL, "
                         "name TEXT NOT NULL, "
                         "result TEXT NOT NULL, "
                         "received_at VARCHAR(20) NOT NULL, "
                         "PRIMARY KEY (run_id, line_no))") },
        ReportFold::schema(),
    };
    return steps;
}

// Any number will do as long as every station takes the same one.
const char MigrationLock[] = "SELECT pg_advisory_xact_lock(36890)";

QString sqlError(const QSqlError &error)
{
    const QString text = error.text().trimmed();
    return text.isEmpty() ? QStringLiteral("unknown database error") : text;
}

} // namespace

LineStore::LineStore(const QString &connectionName) : connection(connectionName) { }

LineStore::~LineStore()
{
    queries.clear();
    if (QSqlDatabase::contains(connection)) {
        QSqlDatabase::database(connection, false).close();
        QSqlDatabase::removeDatabase(connection);
    }
}

bool LineStore::fail(const QString &what, const QString &reason)
{
    error = what + QStringLiteral(": ") + reason;
    return false;
}

bool LineStore::openSqlite(const QString &file)
{
    if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE")))
        return fail(
            QStringLiteral("SQLite"), QStringLiteral("Qt's QSQLITE driver is not installed"));
    const QString dir = QFileInfo(file).absolutePath();
    if (!QFileInfo::exists(dir) && !QDir().mkpath(dir))
        return fail(dir, QStringLiteral("cannot make the database's directory"));
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
    db.setDatabaseName(file);
    // Several stations (or an import beside a station) may share the file: wait for a writer.
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    postgres = false;
    return open();
}

bool LineStore::openPostgres(const QString &conninfo)
{
    if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL")))
        return fail(
            QStringLiteral("PostgreSQL"), QStringLiteral("Qt's QPSQL driver is not installed"));
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connection);
    QStringList options;
    const QStringList words = conninfo.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &word : words) {
        const int equals = word.indexOf(QLatin1Char('='));
        if (equals <= 0)
            return fail(conninfo, QStringLiteral("\"%1\" is not key=value").arg(word));
        const QString key = word.left(equals);
        const QString value = word.mid(equals + 1);
        if (key == QLatin1String("host")) {
            db.setHostName(value);
        } else if (key == QLatin1String("port")) {
            bool ok = false;
            const int port = value.toInt(&ok);
            if (!ok || port <= 0 || port > 65535)
                return fail(conninfo, QStringLiteral("port \"%1\" is not a port").arg(value));
            db.setPort(port);
        } else if (key == QLatin1String("dbname")) {
            db.setDatabaseName(value);
        } else if (key == QLatin1String("user")) {
            db.setUserName(value);
        } else if (key == QLatin1String("password")) {
            db.setPassword(value);
        } else {
            options << word;
        }
    }
    db.setConnectOptions(options.join(QLatin1Char(';')));
    postgres = true;
    return open();
}

bool LineStore::open()
{
    QSqlDatabase db = QSqlDatabase::database(connection, false);
    if (!db.open())
        return fail(db.databaseName(), sqlError(db.lastError()));
    return migrate();
}

int LineStore::currentVersion(bool *ok)
{
    QSqlQuery query(QSqlDatabase::database(connection, false));
    *ok = query.exec(QStringLiteral("SELECT MAX(version) FROM schema_version")) && query.next();
    return *ok ? query.value(0).toInt() : 0;
}

bool LineStore::migrate()
{
    QSqlDatabase db = QSqlDatabase::database(connection, false);
    const int newest = int(migrations().size());
    bool known = false;
    // An up-to-date database is only read: a read-only one still starts, and refuses lines.
    if (currentVersion(&known) == newest && known)
        return true;

    QSqlQuery query(db);
    // One station migrates at a time; the others wait and then find the work done.
    if (!query.exec(QLatin1String(postgres ? "BEGIN" : "BEGIN IMMEDIATE")))
        return fail(QStringLiteral("schema"), sqlError(query.lastError()));
    auto rollback = [&](const QString &reason) {
        QSqlQuery(db).exec(QStringLiteral("ROLLBACK"));
        return fail(QStringLiteral("schema"), reason);
    };
    if (postgres && !query.exec(QLatin1String(MigrationLock)))
        return rollback(sqlError(query.lastError()));
    if (!query.exec(QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version ("
                                   "version INTEGER NOT NULL PRIMARY KEY, "
                                   "applied_at VARCHAR(20) NOT NULL)")))
        return rollback(sqlError(query.lastError()));
    bool ok = false;
    const int version = currentVersion(&ok);
    if (!ok)
        return rollback(QStringLiteral("cannot read schema_version"));
    if (version > newest)
        return rollback(QStringLiteral("the database has schema version %1, this station knows "
                                       "only up to %2")
                            .arg(version)
                            .arg(newest));
    const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    for (int step = version; step < newest; ++step) {
        for (const QString &statement : migrations().at(step)) {
            if (!query.exec(statement))
                return rollback(QStringLiteral("version %1: %2")
                                    .arg(step + 1)
                                    .arg(sqlError(query.lastError())));
        }
        // The report's tables start out holding what the lines already say.
        QString reason;
        if (step + 1 == ReportVersion && !ReportFold::foldAll(queries, &reason))
            return rollback(QStringLiteral("version %1: %2").arg(step + 1).arg(reason));
        query.prepare(
            QStringLiteral("INSERT INTO schema_version (version, applied_at) VALUES (?, ?)"));
        query.addBindValue(step + 1);
        query.addBindValue(now);
        if (!query.exec())
            return rollback(sqlError(query.lastError()));
    }
    if (!query.exec(QStringLiteral("COMMIT")))
        return rollback(sqlError(query.lastError()));
    return true;
}

LineStore::Added LineStore::add(const QString &runId, const QList<NumberedLine> &lines)
{
    Added added;
    QSqlDatabase db = QSqlDatabase::database(connection, false);
    auto refuse = [&](const QString &reason) {
        db.rollback();
        // Opened again by the next batch: a server that was restarted is found again.
        queries.clear();
        db.close();
        added.error = reason;
        added.stored = 0;
        added.duplicates = 0;
        return added;
    };
    if (!db.isOpen() && !db.open())
        return refuse(sqlError(db.lastError()));
    if (!db.transaction())
        return refuse(sqlError(db.lastError()));
    QString reason;
    // A record's report rows are made again by whoever adds to it: one station at a time.
    if (postgres
        && !queries.exec(QStringLiteral("SELECT pg_advisory_xact_lock(36891, hashtext(?))"),
            { runId }, QStringLiteral("lock"), &reason))
        return refuse(reason);
    const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    qint64 firstNew = 0;
    for (const NumberedLine &line : lines) {
        QVariantList values { runId, line.number };
        for (const QString &field : line.fields)
            values << field;
        values << now << station;
        QSqlQuery *query = queries.exec(
            QStringLiteral("INSERT INTO record_lines (run_id, line_no, line_time, mac, kind, "
                           "name, result, received_at, station) VALUES (?, ?, ?, ?, ?, ?, ?, ?, "
                           "?) ON CONFLICT (run_id, line_no) DO NOTHING"),
            values, QStringLiteral("lines"), &reason);
        if (!query)
            return refuse(reason);
        if (query->numRowsAffected() != 1)
            ++added.duplicates;
        else if (added.stored++ == 0)
            firstNew = line.number;
    }
    if (added.stored > 0 && !ReportFold::fold(queries, runId, firstNew, &reason))
        return refuse(reason);
    // Confirmed only once the commit is through.
    if (!db.commit())
        return refuse(sqlError(db.lastError()));
    added.ok = true;
    return added;
}
