#include "common/recordsender.h"

#include "common/recordkey.h"
#include "common/unitrecord.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QThread>
#include <QTimer>
#include <QUrl>

namespace {

// While everything is confirmed the record is looked at this often for new lines.
constexpr int WatchMs = 1000;

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
// the same again after a back-off when it is not.
class RecordDelivery : public QObject {
public:
    explicit RecordDelivery(RecordSender *sender) : sender(sender), retryMs(sender->firstRetry) { }

    void begin()
    {
        network = new QNetworkAccessManager(this);
        // The bench network is reached directly, whatever proxy the environment names.
        network->setProxy(QNetworkProxy::NoProxy);
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
        const RecordSender::Station station = RecordSender::station();
        QUrl url;
        url.setScheme(QStringLiteral("http"));
        url.setHost(station.host);
        url.setPort(station.port);
        url.setPath(QStringLiteral("/api/lines"));
        QNetworkRequest request(url);
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        request.setTransferTimeout(sender->answerTimeout);
        QNetworkReply *reply = network->post(request, RecordSender::body(batch));
        connect(reply, &QNetworkReply::finished, this, [this, reply] { answered(reply); });
    }

    void answered(QNetworkReply *reply)
    {
        reply->deleteLater();
        const QByteArray answer = reply->isOpen() ? reply->readAll() : QByteArray();
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        int stored = 0;
        int duplicates = 0;
        QString reason;
        if (reply->error() != QNetworkReply::NoError && status == 0)
            reason = reply->errorString();
        else if (status != 200)
            reason = QStringLiteral("the station answered %1: %2")
                         .arg(status)
                         .arg(QString::fromUtf8(answer.left(200)));
        else if (!RecordSender::confirms(answer, batch, &stored, &duplicates))
            reason = QStringLiteral("the station's answer does not confirm lines %1 to %2")
                         .arg(batch.first)
                         .arg(batch.first + batch.lines.size() - 1);
        else if (!UnitRecord::replaceFile(
                     RecordSender::sentPath(), RecordSender::confirmation(batch), &reason))
            reason = QStringLiteral("cannot keep the confirmation: ") + reason;
        if (!reason.isEmpty()) {
            qWarning("record delivery: %s; next try in %d ms", qPrintable(reason), retryMs);
            QMetaObject::invokeMethod(
                sender, [s = sender, reason] { emit s->failed(reason); }, Qt::QueuedConnection);
            timer->start(retryMs);
            retryMs = qMin(retryMs * 2, sender->lastRetry);
            return;
        }
        sender->stored.fetchAndAddOrdered(stored);
        sender->duplicates.fetchAndAddOrdered(duplicates);
        retryMs = sender->firstRetry;
        const qint64 lines = batch.first + batch.lines.size() - 1;
        QMetaObject::invokeMethod(
            sender, [s = sender, lines] { emit s->confirmed(lines); }, Qt::QueuedConnection);
        next();
    }

    RecordSender *sender = nullptr;
    QNetworkAccessManager *network = nullptr;
    QTimer *timer = nullptr;
    RecordSender::Batch batch;
    int retryMs = 0;
    bool idle = false;
    qint64 idleSize = -1;
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
