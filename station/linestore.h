// The station's database: record lines keyed by run id and line number, in SQLite (one file) or
// PostgreSQL (shared by the stations of a factory). Lines are only ever added; a line that is
// already there is left as it is.
#pragma once

#include "station/querycache.h"

#include <QList>
#include <QString>
#include <QStringList>

struct NumberedLine {
    qint64 number = 0;
    QStringList fields; // checked by RecordLine::fields
};

class LineStore {
public:
    // The newest schema this station knows; the schema_version table says what a database has.
    static constexpr int SchemaVersion = 2;
    // The version that added the yield report's tables (station/reportfold.h).
    static constexpr int ReportVersion = 2;

    explicit LineStore(const QString &connectionName = QStringLiteral("benchstation"));
    ~LineStore();
    LineStore(const LineStore &) = delete;
    LineStore &operator=(const LineStore &) = delete;

    // Opens the database and brings its schema up to SchemaVersion. False with lastError() when
    // it cannot be opened, migrated, or is newer than this station.
    bool openSqlite(const QString &file);
    // CONNINFO: "host=... port=... dbname=... user=... password=..." (other keys are passed on).
    bool openPostgres(const QString &conninfo);

    struct Added {
        bool ok = false;
        int stored = 0; // new lines
        int duplicates = 0; // lines that were there already
        QString error;
    };
    // Adds LINES of RUNID in one transaction: all of them are stored (or were already) when ok,
    // none of them when not.
    Added add(const QString &runId, const QList<NumberedLine> &lines);

    QString lastError() const { return error; }

    // The name stored with each line this station adds (the report's "station").
    void setStationName(const QString &name) { station = name; }
    // The Qt SQL connection, for the report's reads in the station's own thread.
    QString connectionName() const { return connection; }

private:
    bool open();
    bool migrate();
    int currentVersion(bool *ok);
    bool fail(const QString &what, const QString &reason);

    QString connection;
    QueryCache queries { connection };
    bool postgres = false;
    QString station = QStringLiteral(""); // a NOT NULL column: empty, never null
    QString error;
};
