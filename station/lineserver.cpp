#include "station/lineserver.h"

#include "station/linestore.h"
#include "station/recordline.h"
#include "station/reportpages.h"

#include <QHttpServer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

namespace {

using Status = QHttpServerResponder::StatusCode;

// The HTTP layer reads a whole request before the route sees it; this cuts a connection whose
// request outgrows what a batch may be, so a hostile client cannot fill the station's memory.
class BoundedSocket : public QTcpSocket {
public:
    explicit BoundedSocket(QObject *parent) : QTcpSocket(parent)
    {
        // Connected before the HTTP server's own slot, so it sees each chunk before it is read.
        connect(this, &QTcpSocket::readyRead, this, [this] {
            received += bytesAvailable();
            if (received > Limit)
                abort();
        });
        // An answer ends a request; the next one on this connection starts from zero.
        connect(this, &QTcpSocket::bytesWritten, this, [this] { received = 0; });
    }

private:
    // The body bound with room for the request line and headers.
    static constexpr qint64 Limit = 2 * qint64(LineServer::MaxBodyBytes) + 64 * 1024;
    qint64 received = 0;
};

class BoundedTcpServer : public QTcpServer {
public:
    using QTcpServer::QTcpServer;

protected:
    void incomingConnection(qintptr descriptor) override
    {
        auto *socket = new BoundedSocket(this);
        if (!socket->setSocketDescriptor(descriptor)) {
            delete socket;
            return;
        }
        addPendingConnection(socket);
    }
};

QHttpServerResponse answer(const QJsonObject &body, Status status)
{
    return QHttpServerResponse(body, status);
}

QHttpServerResponse refuse(Status status, const QString &reason)
{
    std::fprintf(stderr, "benchstation: refused (%d): %s\n", int(status), qPrintable(reason));
    return answer(QJsonObject { { QStringLiteral("error"), reason } }, status);
}

} // namespace

LineServer::LineServer(LineStore *store, QObject *parent)
    : QObject(parent), store(store), http(new QHttpServer(this))
{
    http->route(QStringLiteral("/api/lines"), QHttpServerRequest::Method::Post,
        [this](const QHttpServerRequest &request) { return addLines(request); });
    http->route(QStringLiteral("/api/lines"),
        QHttpServerRequest::Method::AnyKnown
            & ~QHttpServerRequest::Methods(QHttpServerRequest::Method::Post),
        [] {
            return refuse(
                Status::MethodNotAllowed, QStringLiteral("lines can only be added (POST)"));
        });
    ReportPages::addRoutes(http, store);
}

LineServer::~LineServer() = default;

bool LineServer::listen(const QHostAddress &address, quint16 port)
{
    auto *server = new BoundedTcpServer(this);
    if (!server->listen(address, port)) {
        error = QStringLiteral("%1:%2: %3")
                    .arg(address.toString())
                    .arg(port)
                    .arg(server->errorString());
        delete server;
        return false;
    }
    http->bind(server);
    return true;
}

QHttpServerResponse LineServer::addLines(const QHttpServerRequest &request)
{
    const QByteArray body = request.body();
    if (body.size() > MaxBodyBytes)
        return refuse(Status::PayloadTooLarge,
            QStringLiteral("a body of %1 bytes, at most %2").arg(body.size()).arg(MaxBodyBytes));
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (!document.isObject())
        return refuse(Status::BadRequest,
            QStringLiteral("the body is not a JSON object: %1").arg(parseError.errorString()));
    const QJsonObject batch = document.object();
    const QString runId = batch.value(QStringLiteral("run")).toString();
    if (!RecordLine::isRunId(runId))
        return refuse(Status::BadRequest,
            QStringLiteral("\"run\" must be 1..%1 letters, digits, '.', '_', ':' or '-'")
                .arg(RecordLine::MaxRunIdBytes));
    const QJsonArray items = batch.value(QStringLiteral("lines")).toArray();
    if (items.isEmpty())
        return refuse(Status::BadRequest, QStringLiteral("\"lines\" must be a list of lines"));
    if (items.size() > MaxBatchLines)
        return refuse(Status::PayloadTooLarge,
            QStringLiteral("%1 lines, at most %2 a batch").arg(items.size()).arg(MaxBatchLines));

    QList<NumberedLine> lines;
    lines.reserve(items.size());
    qint64 previous = 0;
    for (const QJsonValue &item : items) {
        const QJsonValue number = item.toObject().value(QStringLiteral("n"));
        const QJsonValue text = item.toObject().value(QStringLiteral("line"));
        // Whole numbers only, and in the range a double holds exactly.
        const double n = number.toDouble(-1);
        if (!number.isDouble() || n != double(qint64(n)) || n < 1 || n > 9007199254740991.0)
            return refuse(Status::BadRequest,
                QStringLiteral("each line needs \"n\", its line number from 1"));
        if (qint64(n) <= previous)
            return refuse(Status::BadRequest,
                QStringLiteral("line %1 after line %2: a batch is in order")
                    .arg(qint64(n))
                    .arg(previous));
        previous = qint64(n);
        if (!text.isString())
            return refuse(
                Status::BadRequest, QStringLiteral("line %1 has no \"line\" text").arg(previous));
        QString reason;
        NumberedLine line { previous, RecordLine::fields(text.toString().toUtf8(), &reason) };
        if (line.fields.isEmpty())
            return refuse(
                Status::BadRequest, QStringLiteral("line %1: %2").arg(previous).arg(reason));
        lines.append(line);
    }

    const LineStore::Added added = store->add(runId, lines);
    if (!added.ok)
        return refuse(Status::ServiceUnavailable,
            QStringLiteral("the database refused the batch: %1").arg(added.error));
    return answer(
        QJsonObject { { QStringLiteral("run"), runId }, { QStringLiteral("stored"), added.stored },
            { QStringLiteral("duplicates"), added.duplicates },
            { QStringLiteral("last"), previous } },
        Status::Ok);
}
