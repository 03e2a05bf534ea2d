// benchstation: the line's station. It stores the record lines that the bench's units send, or
// that are brought as record files, in SQLite or PostgreSQL, and serves the line's yield report.
#include "station/lineserver.h"
#include "station/linestore.h"
#include "station/recordimport.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QHostAddress>
#include <QSysInfo>

#include <csignal>
#include <cstdio>

namespace {

const char DefaultDatabase[] = "/var/lib/benchstation/records.db";

int usage(const QString &message)
{
    std::fprintf(stderr, "benchstation: %s\n", qPrintable(message));
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    // Kept: a file size limit is a full disk to the station (a refused batch), not its end.
    std::signal(SIGXFSZ, SIG_IGN);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("benchstation"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Stores the record lines of the bench's units.\n"
                       "  benchstation [OPTIONS]              serve POST /api/lines and the\n"
                       "                                      yield report at GET /report\n"
                       "  benchstation [OPTIONS] import FILE... store record files"));
    parser.addHelpOption();
    const QCommandLineOption database(QStringLiteral("database"),
        QStringLiteral("SQLite database file (default %1).").arg(QLatin1String(DefaultDatabase)),
        QStringLiteral("FILE"), QLatin1String(DefaultDatabase));
    const QCommandLineOption postgres(QStringLiteral("postgres"),
        QStringLiteral(
            "PostgreSQL instead: \"host=... port=... dbname=... user=... password=...\"."),
        QStringLiteral("CONNINFO"));
    const QCommandLineOption listen(QStringLiteral("listen"),
        QStringLiteral("Address to listen on (default 0.0.0.0)."), QStringLiteral("ADDRESS"),
        QStringLiteral("0.0.0.0"));
    const QCommandLineOption port(QStringLiteral("port"),
        QStringLiteral("Port to listen on (default 36890)."), QStringLiteral("PORT"),
        QStringLiteral("36890"));
    const QCommandLineOption name(QStringLiteral("name"),
        QStringLiteral("The station's name in the report (default the host's name)."),
        QStringLiteral("NAME"), QSysInfo::machineHostName());
    parser.addOptions({ database, postgres, listen, port, name });
    parser.addPositionalArgument(QStringLiteral("import"), QStringLiteral("import FILE..."));
    parser.process(app);

    QStringList positional = parser.positionalArguments();
    const bool importing = !positional.isEmpty() && positional.first() == QLatin1String("import");
    if (importing)
        positional.removeFirst();
    if (!importing && !positional.isEmpty())
        return usage(
            QStringLiteral("unknown command \"%1\" (only import)").arg(positional.first()));
    if (importing && positional.isEmpty())
        return usage(QStringLiteral("import needs at least one record file"));
    if (parser.isSet(database) && parser.isSet(postgres))
        return usage(QStringLiteral("--database or --postgres, not both"));
    const QHostAddress address(parser.value(listen));
    if (address.isNull())
        return usage(QStringLiteral("\"%1\" is not an address").arg(parser.value(listen)));
    bool portOk = false;
    const uint portNumber = parser.value(port).toUInt(&portOk);
    if (!portOk || portNumber == 0 || portNumber > 65535)
        return usage(QStringLiteral("\"%1\" is not a port").arg(parser.value(port)));
    const QString stationName = parser.value(name).trimmed();
    if (stationName.isEmpty() || stationName.size() > 64)
        return usage(QStringLiteral("a station's name is 1 to 64 characters"));

    LineStore store;
    store.setStationName(stationName);
    const bool opened = parser.isSet(postgres) ? store.openPostgres(parser.value(postgres))
                                               : store.openSqlite(parser.value(database));
    if (!opened) {
        std::fprintf(stderr, "benchstation: %s\n", qPrintable(store.lastError()));
        return 1;
    }

    if (importing) {
        int failed = 0;
        for (const QString &file : std::as_const(positional)) {
            QString message;
            const bool stored = RecordImport::importFile(store, file, &message);
            failed += stored ? 0 : 1;
            std::fprintf(stored ? stdout : stderr, "%s\n", qPrintable(message));
        }
        return failed ? 1 : 0;
    }

    LineServer server(&store);
    if (!server.listen(address, quint16(portNumber))) {
        std::fprintf(stderr, "benchstation: %s\n", qPrintable(server.lastError()));
        return 1;
    }
    std::fprintf(
        stderr, "benchstation: listening on %s:%u\n", qPrintable(address.toString()), portNumber);
    return app.exec();
}
