// The buzzer: a distinct pattern per sound number, played off the caller's thread, written as
// the input subsystem's sound events.
#include "fakes.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>
#include <QtTest>

#include <linux/input.h>

class tst_Beeper : public QObject {
    Q_OBJECT
private slots:
    void eachSoundHasItsOwnPattern();
    void patternsAreShort();
    void playingNeverWaitsForTheBuzzer();
    void aSoundIsPlayedAndEndsSilent();
    void aNewSoundCutsTheOldOneShort();
    void toneEventsAreWrittenToTheDevice();
    void theBeeperIsFoundByName();
    void aMissingBeeperIsNamedOnce();
    void noBeeperFoundIsSaidOnce();
};

namespace {
QVector<int> tonesOf(const QVector<Tone> &pattern)
{
    QVector<int> out;
    for (const Tone &t : pattern)
        out.append(t.hz);
    return out;
}

QVector<int> recorded(RecordingTone::Shared &shared)
{
    QMutexLocker lock(&shared.mutex);
    return shared.tones;
}
} // namespace

void tst_Beeper::eachSoundHasItsOwnPattern()
{
    const int sounds[] = { 1, 2, 5, 10 };
    for (int a : sounds) {
        QVERIFY(!BeepPatterns::forSound(a).isEmpty());
        for (int b : sounds) {
            if (a == b)
                continue;
            const QVector<Tone> pa = BeepPatterns::forSound(a);
            const QVector<Tone> pb = BeepPatterns::forSound(b);
            bool same = pa.size() == pb.size();
            for (int i = 0; same && i < pa.size(); ++i)
                same = pa[i].hz == pb[i].hz && pa[i].ms == pb[i].ms;
            QVERIFY2(!same, qPrintable(QStringLiteral("sounds %1 and %2").arg(a).arg(b)));
        }
    }
    QCOMPARE(tonesOf(BeepPatterns::forSound(3)), tonesOf(BeepPatterns::forSound(99)));
}

void tst_Beeper::patternsAreShort()
{
    // A click must be over before the next 50 ms brightness step.
    for (int sound : { 1, 2 }) {
        int total = 0;
        for (const Tone &t : BeepPatterns::forSound(sound))
            total += t.ms;
        QVERIFY2(total <= 50, qPrintable(QString::number(sound)));
    }
    for (int sound : { 5, 10, 0, 7 }) {
        int total = 0;
        for (const Tone &t : BeepPatterns::forSound(sound)) {
            QVERIFY(t.ms > 0);
            QVERIFY(t.hz >= 0 && t.hz < 20000);
            total += t.ms;
        }
        QVERIFY(total <= 500);
    }
}

void tst_Beeper::playingNeverWaitsForTheBuzzer()
{
    RecordingTone::Shared shared;
    shared.hold = true;
    {
        BeepPlayer player(std::make_unique<RecordingTone>(&shared));
        QElapsedTimer timer;
        timer.start();
        player.play(10);
        // The buzzer is stuck in its first tone, and the caller is not.
        QVERIFY(shared.entered.tryAcquire(1, 5000));
        for (int i = 0; i < 20; ++i)
            player.play(2);
        QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(player.busy());
        QCOMPARE(recorded(shared), QVector<int> { 2000 });
        shared.hold = false;
        shared.release.release(100);
        QTRY_VERIFY(!player.busy());
    }
    // The stuck sound was cut short by the clicks, and only the last click was played.
    const QVector<int> tones = recorded(shared);
    QCOMPARE(tones, (QVector<int> { 2000, 0, 3000, 0 }));
}

void tst_Beeper::aSoundIsPlayedAndEndsSilent()
{
    RecordingTone::Shared shared;
    BeepPlayer player(std::make_unique<RecordingTone>(&shared));
    player.play(5);
    QTRY_VERIFY(!player.busy());
    QVector<int> expected = tonesOf(BeepPatterns::forSound(5));
    expected.append(0);
    QCOMPARE(recorded(shared), expected);
}

void tst_Beeper::aNewSoundCutsTheOldOneShort()
{
    RecordingTone::Shared shared;
    BeepPlayer player(std::make_unique<RecordingTone>(&shared));
    player.play(5);
    QVERIFY(shared.entered.tryAcquire(1, 5000));
    player.play(1);
    QTRY_VERIFY(!player.busy());
    const QVector<int> tones = recorded(shared);
    // However far sound 5 got, it stopped and sound 1 followed in full.
    QVERIFY(tones.size() >= 4);
    QCOMPARE(tones.mid(tones.size() - 3), (QVector<int> { 0, 2000, 0 }));
    QCOMPARE(tones.first(), 1000);
}

void tst_Beeper::toneEventsAreWrittenToTheDevice()
{
    QTemporaryDir dir(scratchBase());
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("event3"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    {
        EvdevToneOutput output(path);
        QVERIFY(output.tone(3000));
        QVERIFY(output.tone(0));
    }
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    // Two tones and the silence on closing, each a sound event and a report.
    QCOMPARE(bytes.size(), int(6 * sizeof(input_event)));
    const auto *events = reinterpret_cast<const input_event *>(bytes.constData());
    const int values[] = { 3000, 0, 0 };
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(int(events[2 * i].type), int(EV_SND));
        QCOMPARE(int(events[2 * i].code), int(SND_TONE));
        QCOMPARE(events[2 * i].value, values[i]);
        QCOMPARE(int(events[2 * i + 1].type), int(EV_SYN));
        QCOMPARE(int(events[2 * i + 1].code), int(SYN_REPORT));
    }
}

void tst_Beeper::theBeeperIsFoundByName()
{
    QTemporaryDir dir(scratchBase());
    QVERIFY(dir.isValid());
    const auto device = [&](const QString &event, const QByteArray &name) {
        const QString d
            = dir.path() + QStringLiteral("/class/input/") + event + QStringLiteral("/device");
        QVERIFY(QDir().mkpath(d));
        QFile f(d + QStringLiteral("/name"));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(name);
    };
    QCOMPARE(EvdevToneOutput::find(dir.path()), QString());
    device(QStringLiteral("event0"), "gpio-keys\n");
    device(QStringLiteral("event1"), "ADS7846 Touchscreen\n");
    QCOMPARE(EvdevToneOutput::find(dir.path()), QString());
    device(QStringLiteral("event2"), "pwm-Beeper\n");
    device(QStringLiteral("event4"), "PC Speaker spkr\n");
    QCOMPARE(EvdevToneOutput::find(dir.path()), QStringLiteral("/dev/input/event2"));
}

void tst_Beeper::aMissingBeeperIsNamedOnce()
{
    TestSupport::StderrCapture err;
    EvdevToneOutput output(QStringLiteral("/nonexistent/beeper"));
    QVERIFY(!output.tone(2000));
    QVERIFY(!output.tone(0));
    EvdevToneOutput again(QStringLiteral("/nonexistent/beeper"));
    QVERIFY(!again.tone(2000));
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: /nonexistent/beeper: cannot be opened (No such file or "
                   "directory); sounds are not played\n"));
}

void tst_Beeper::noBeeperFoundIsSaidOnce()
{
    TestSupport::StderrCapture err;
    EvdevToneOutput output { QString() };
    QVERIFY(!output.tone(2000));
    QVERIFY(!output.tone(0));
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: beeper: no input device named like a beeper (beep, spkr) "
                   "was found; sounds are not played\n"));
}

QTEST_GUILESS_MAIN(tst_Beeper)
#include "tst_beeper.moc"
