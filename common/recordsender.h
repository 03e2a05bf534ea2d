// Store and forward of the unit's record: its whole lines go, in order and in batches, to the
// line's station, from a thread of their own, and how far the station confirmed is kept synced
// beside the record. The record itself is written first and stays the truth; the screens never
// wait for the station and never hear of it.
#pragma once

#include <QAtomicInt>
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

class QThread;

class RecordSender : public QObject {
    Q_OBJECT
public:
    static constexpr int BatchLines = 200;
    static constexpr quint16 DefaultPort = 36890;

    explicit RecordSender(QObject *parent = nullptr);
    ~RecordSender() override;

    // Delivery runs from here on in its own thread, until the sender is destroyed.
    void start();

    // Back-off after a failed batch: FIRST ms, doubled up to LAST ms, and a station that has not
    // answered within TIMEOUT ms has failed. Set before start().
    void setTiming(int firstRetryMs, int lastRetryMs, int answerTimeoutMs);

    // Lines the station reported as new, and as already stored, since start().
    int storedLines() const { return stored.loadAcquire(); }
    int duplicateLines() const { return duplicates.loadAcquire(); }

    // Where the station is: BENCHTEST_STATION ("HOST PORT", for tests) when set, else the first
    // line of configPath() that is not a comment, else 192.168.90.1 36890, the bench network's
    // gateway. A file that says something else is reported and the default is used.
    struct Station {
        QString host;
        quint16 port = 0;
    };
    static Station station();
    static QString configPath() { return QStringLiteral("/brimdale/configs/station.conf"); }
    // "KEY COUNT": the record's key and how many of its lines the station confirmed.
    static QString sentPath();

    // The lines of RECORD after those SENT confirms, whole lines only and at most MAXLINES, with
    // the key they are stored under and the number of the first.
    struct Batch {
        QString key;
        qint64 first = 1;
        QList<QByteArray> lines;
    };
    static Batch pending(const QByteArray &record, const QByteArray &sent, int maxLines);
    static QByteArray body(const Batch &batch);
    // True when ANSWER, the station's reply to BATCH, says every line of it is stored; the new
    // and the already stored lines are then added to *stored and *duplicates.
    static bool confirms(
        const QByteArray &answer, const Batch &batch, int *stored, int *duplicates);
    static QByteArray confirmation(const Batch &batch);

    // The request that carries BATCH's body to the station at HOST:PORT (one connection per
    // request: nothing is left open between batches that a station restart could break).
    static QByteArray request(const Station &station, const QByteArray &body);
    // The station's HTTP/1.x answer as far as it came: Complete with *status and *body,
    // Incomplete while more must come (ENDED: the station closed the connection, so what came
    // is all there is), or Bad.
    enum class Answer { Incomplete, Complete, Bad };
    static constexpr int MaxAnswerBytes = 64 * 1024;
    static Answer readAnswer(const QByteArray &bytes, bool ended, int *status, QByteArray *body);

Q_SIGNALS:
    // After a confirmed batch, with the record's lines confirmed in all; after a failed attempt,
    // with the reason. Emitted in the sender's own thread (handed over from the delivery thread),
    // so that a direct connection, such as a test's signal spy, never runs beside its owner.
    void confirmed(qint64 lines);
    void failed(const QString &reason);

private:
    friend class RecordDelivery;

    QThread *thread = nullptr;
    int firstRetry = 1000;
    int lastRetry = 60000;
    int answerTimeout = 10000;
    QAtomicInt stored;
    QAtomicInt duplicates;
};
