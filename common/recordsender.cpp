#include "common/recordsender.h"

#include "common/recordkey.h"
#include "common/unitrecord.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkProxy>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

namespace {

// The record is looked at this often for new lines: the lines of a few seconds go in one batch
// (a walk's stages end seconds apart), and a batch costs a connection and two syncs on the unit.
constexpr int WatchMs = 3000;

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool parseStation(const QString &text, RecordSender::Station *station)
{
    const QStringList parts = text.simplified().split(QLatin1Char(' '));
    bool ok = false;
    const uint port = parts.value(1).toUInt(&ok);
    if (parts.size() != 2 || parts.first().isEmpty() || !ok || port == 0 || port > 65535)
        return false;
    *station = { parts.first(), quint16(port) };
    return true;
}

} // namespace

// Lives in the sender's thread: one batch on the way at a time, the next when it is confirmed,
// the same again after a back-off when it is not. HTTP is spoken over a plain socket: a batch
// costs a connection, a write and a read, and no thread or request machinery beside them.
class RecordDelivery : public QObject {
public:
    explicit RecordDelivery(RecordSender *sender) : sender(sender), retryMs(sender->firstRetry) { }

    void begin()
    {
        socket = new QTcpSocket(this);
        // The bench network is reached directly, whatever proxy the environment names.
        socket->setProxy(QNetworkProxy::NoProxy);
        connect(socket, &QTcpSocket::connected, this, [this] { socket->write(request); });
        connect(socket, &QTcpSocket::readyRead, this, [this] { received(false); });
        connect(socket, &QTcpSocket::disconnected, this, [this] { received(true); });
        connect(socket, &QAbstractSocket::errorOccurred, this,
            [this](QAbstractSocket::SocketError error) {
                // The station closing the connection is how an answer without a length ends.
                if (error != QAbstractSocket::RemoteHostClosedError)
                    done(socket->errorString());
            });
        deadline = new QTimer(this);
        deadline->setSingleShot(true);
        connect(deadline, &QTimer::timeout, this, [this] {
            done(QStringLiteral("the station did not answer within %1 ms")
                     .arg(sender->answerTimeout));
        });
        timer = new QTimer(this);
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, this, [this] { next(); });
        next();
    }

private:
    void next()
    {
        const QString recordPath = UnitRecord::path();
        const qint64 size = QFileInfo(recordPath).size();
        if (idle && size == idleSize) {
            timer->start(WatchMs);
            return;
        }
        batch = RecordSender::pending(
            readAll(recordPath), readAll(RecordSender::sentPath()), RecordSender::BatchLines);
        if (batch.lines.isEmpty()) {
            idle = true;
            idleSize = size;
            timer->start(WatchMs);
            return;
        }
        idle = false;
        batchSize = size;
        const RecordSender::Station station = RecordSender::station();
        request = RecordSender::request(station, RecordSender::body(batch));
        answer.clear();
        waiting = true;
        deadline->start(sender->answerTimeout);
        socket->abort();
        socket->connectToHost(station.host, station.port);
    }

    void received(bool ended)
    {
        if (!waiting)
            return;
        answer += socket->readAll();
        int status = 0;
        QByteArray body;
        switch (RecordSender::readAnswer(answer, ended, &status, &body)) {
        case RecordSender::Answer::Incomplete:
            return;
        case RecordSender::Answer::Bad:
            done(answer.isEmpty()
                    ? QStringLiteral("the station closed the connection without an answer")
                    : QStringLiteral("the station's answer is not HTTP: %1")
                          .arg(QString::fromUtf8(answer.left(80)).simplified()));
            return;
        case RecordSender::Answer::Complete:
            break;
        }
        int stored = 0;
        int duplicates = 0;
        QString reason;
        if (status != 200)
            reason = QStringLiteral("the station answered %1: %2")
                         .arg(status)
                         .arg(QString::fromUtf8(body.left(200)));
        else if (!RecordSender::confirms(body, batch, &stored, &duplicates))
            reason = QStringLiteral("the station's answer does not confirm lines %1 to %2")
                         .arg(batch.first)
                         .arg(batch.first + batch.lines.size() - 1);
        else if (!UnitRecord::replaceFile(
                     RecordSender::sentPath(), RecordSender::confirmation(batch), &reason))
            reason = QStringLiteral("cannot keep the confirmation: ") + reason;
        if (reason.isEmpty()) {
            sender->stored.fetchAndAddOrdered(stored);
            sender->duplicates.fetchAndAddOrdered(duplicates);
        }
        done(reason);
    }

    // The batch on the way is confirmed (REASON empty) or has failed for REASON.
    void done(const QString &reason)
    {
        if (!waiting)
            return;
        waiting = false;
        deadline->stop();
        socket->abort();
        if (!reason.isEmpty()) {
            qWarning("record delivery: %s; next try in %d ms", qPrintable(reason), retryMs);
            QMetaObject::invokeMethod(
                sender, [s = sender, reason] { emit s->failed(reason); }, Qt::QueuedConnection);
            timer->start(retryMs);
            retryMs = qMin(retryMs * 2, sender->lastRetry);
            return;
        }
        retryMs = sender->firstRetry;
        const qint64 lines = batch.first + batch.lines.size() - 1;
        QMetaObject::invokeMethod(
            sender, [s = sender, lines] { emit s->confirmed(lines); }, Qt::QueuedConnection);
        // A full batch has more behind it; after any other the record held nothing more.
        if (batch.lines.size() >= RecordSender::BatchLines) {
            next();
            return;
        }
        idle = true;
        idleSize = batchSize;
        timer->start(WatchMs);
    }

    RecordSender *sender = nullptr;
    QTcpSocket *socket = nullptr;
    QTimer *deadline = nullptr;
    QTimer *timer = nullptr;
    RecordSender::Batch batch;
    QByteArray request;
    QByteArray answer;
    bool waiting = false;
    int retryMs = 0;
    bool idle = false;
    qint64 idleSize = -1;
    qint64 batchSize = -1; // the record's size when the batch on the way was read
};

RecordSender::RecordSender(QObject *parent) : QObject(parent) { }

RecordSender::~RecordSender()
{
    if (thread) {
        thread->quit();
        thread->wait();
    }
}

void RecordSender::setTiming(int firstRetryMs, int lastRetryMs, int answerTimeoutMs)
{
    firstRetry = firstRetryMs;
    lastRetry = lastRetryMs;
    answerTimeout = answerTimeoutMs;
}

void RecordSender::start()
{
    if (thread)
        return;
    thread = new QThread(this);
    thread->setObjectName(QStringLiteral("record delivery"));
    auto *delivery = new RecordDelivery(this);
    delivery->moveToThread(thread);
    connect(thread, &QThread::started, delivery, [delivery] { delivery->begin(); });
    connect(thread, &QThread::finished, delivery, &QObject::deleteLater);
    thread->start(QThread::LowPriority);
}

RecordSender::Station RecordSender::station()
{
    Station station { QStringLiteral("192.168.90.1"), DefaultPort };
    const QString set = qEnvironmentVariable("BENCHTEST_STATION");
    if (!set.isEmpty()) {
        if (!parseStation(set, &station))
            qWarning(
                "record delivery: BENCHTEST_STATION \"%s\" is not \"HOST PORT\"", qPrintable(set));
        return station;
    }
    QFile file(configPath());
    if (!file.open(QIODevice::ReadOnly))
        return station;
    const QList<QByteArray> lines = file.read(4096).split('\n');
    for (const QByteArray &line : lines) {
        const QString text = QString::fromUtf8(line).trimmed();
        if (text.isEmpty() || text.startsWith(QLatin1Char('#')))
            continue;
        if (!parseStation(text, &station))
            qWarning("record delivery: %s says \"%s\", not \"HOST PORT\"; the station is at %s %u",
                qPrintable(configPath()), qPrintable(text), qPrintable(station.host), station.port);
        break;
    }
    return station;
}

QString RecordSender::sentPath()
{
    return UnitRecord::path() + QStringLiteral(".sent");
}

RecordSender::Batch RecordSender::pending(
    const QByteArray &record, const QByteArray &sent, int maxLines)
{
    Batch batch;
    // A power cut can leave half a line at the end: it waits until it is whole.
    const qsizetype whole = record.lastIndexOf('\n') + 1;
    if (whole == 0)
        return batch;
    batch.key = RecordKey::forFirstLine(record.left(record.indexOf('\n')));
    // A confirmation of another record (the file was replaced) or one that cannot be read
    // starts from the first line: the station stores a line it has once.
    const QList<QByteArray> said = sent.trimmed().split(' ');
    bool ok = false;
    const qint64 confirmed = said.value(1).toLongLong(&ok);
    qint64 skip = said.size() == 2 && said.first() == batch.key.toLatin1() && ok && confirmed > 0
        ? confirmed
        : 0;
    qsizetype at = 0;
    qint64 passed = 0;
    while (passed < skip && at < whole) {
        at = record.indexOf('\n', at) + 1;
        ++passed;
    }
    if (passed < skip) {
        // More confirmed than there are lines: not this record's count after all.
        skip = 0;
        at = 0;
    }
    batch.first = skip + 1;
    while (at < whole && batch.lines.size() < maxLines) {
        const qsizetype end = record.indexOf('\n', at);
        batch.lines.append(record.mid(at, end - at));
        at = end + 1;
    }
    return batch;
}

QByteArray RecordSender::body(const Batch &batch)
{
    QJsonArray lines;
    qint64 n = batch.first;
    for (const QByteArray &line : batch.lines)
        lines.append(QJsonObject { { QStringLiteral("n"), double(n++) },
            { QStringLiteral("line"), QString::fromUtf8(line) } });
    return QJsonDocument(
        QJsonObject { { QStringLiteral("run"), batch.key }, { QStringLiteral("lines"), lines } })
        .toJson(QJsonDocument::Compact);
}

bool RecordSender::confirms(
    const QByteArray &answer, const Batch &batch, int *stored, int *duplicates)
{
    const QJsonObject object = QJsonDocument::fromJson(answer).object();
    const QJsonValue newLines = object.value(QStringLiteral("stored"));
    const QJsonValue oldLines = object.value(QStringLiteral("duplicates"));
    if (object.value(QStringLiteral("run")).toString() != batch.key
        || object.value(QStringLiteral("last")).toDouble(-1)
            != double(batch.first + batch.lines.size() - 1)
        || !newLines.isDouble() || !oldLines.isDouble()
        || newLines.toInt(-1) + oldLines.toInt(-1) != batch.lines.size() || newLines.toInt(-1) < 0
        || oldLines.toInt(-1) < 0)
        return false;
    *stored += newLines.toInt();
    *duplicates += oldLines.toInt();
    return true;
}

QByteArray RecordSender::confirmation(const Batch &batch)
{
    return batch.key.toLatin1() + ' ' + QByteArray::number(batch.first + batch.lines.size() - 1)
        + '\n';
}

QByteArray RecordSender::request(const Station &station, const QByteArray &body)
{
    return "POST /api/lines HTTP/1.1\r\nHost: " + station.host.toUtf8() + ':'
        + QByteArray::number(station.port)
        + "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

RecordSender::Answer RecordSender::readAnswer(
    const QByteArray &bytes, bool ended, int *status, QByteArray *body)
{
    const Answer notYet = ended ? Answer::Bad : Answer::Incomplete;
    if (bytes.size() > MaxAnswerBytes)
        return Answer::Bad;
    const qsizetype headEnd = bytes.indexOf("\r\n\r\n");
    if (headEnd < 0)
        return notYet;
    const QList<QByteArray> head = bytes.left(headEnd).split('\n');
    const QList<QByteArray> words = head.first().trimmed().split(' ');
    bool ok = false;
    const int code = words.value(1).toInt(&ok);
    if (!words.first().startsWith("HTTP/1.") || !ok || code < 200 || code > 599)
        return Answer::Bad;
    qint64 length = -1;
    bool chunked = false;
    for (qsizetype i = 1; i < head.size(); ++i) {
        const QByteArray line = head.at(i).trimmed();
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            return Answer::Bad;
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed().toLower();
        if (name == "content-length") {
            length = value.toLongLong(&ok);
            if (!ok || length < 0 || length > MaxAnswerBytes)
                return Answer::Bad;
        } else if (name == "transfer-encoding") {
            chunked = value == "chunked";
            if (!chunked && value != "identity")
                return Answer::Bad;
        }
    }
    const QByteArray rest = bytes.mid(headEnd + 4);
    *status = code;
    if (chunked) {
        QByteArray decoded;
        qsizetype at = 0;
        for (;;) {
            const qsizetype sizeEnd = rest.indexOf("\r\n", at);
            if (sizeEnd < 0)
                return notYet;
            const qint64 size
                = rest.mid(at, sizeEnd - at).split(';').first().trimmed().toLongLong(&ok, 16);
            if (!ok || size < 0 || size > MaxAnswerBytes)
                return Answer::Bad;
            at = sizeEnd + 2;
            if (size == 0) {
                // The last chunk, then trailers (not used) up to an empty line.
                if (!rest.mid(at).startsWith("\r\n") && !rest.mid(at).contains("\r\n\r\n"))
                    return notYet;
                *body = decoded;
                return Answer::Complete;
            }
            if (rest.size() < at + size + 2)
                return notYet;
            if (rest.mid(at + size, 2) != "\r\n")
                return Answer::Bad;
            decoded += rest.mid(at, size);
            at += size + 2;
        }
    }
    if (length >= 0) {
        if (rest.size() < length)
            return notYet;
        *body = rest.left(length);
        return Answer::Complete;
    }
    if (code == 204 || code == 304) {
        body->clear();
        return Answer::Complete;
    }
    // Neither length nor chunks: the body is everything up to the end of the connection.
    if (!ended)
        return Answer::Incomplete;
    *body = rest;
    return Answer::Complete;
}
