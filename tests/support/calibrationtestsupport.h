// Helpers of the calibration tests: standard output captured around a call, the calibration
// files of the unit, and a touch feed that presses each target once its cross is drawn.
#pragma once

#include "tests/support/stdoutcapture.h"
#include "tests/support/testsupport.h"

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPoint>
#include <QStringList>
#include <QTemporaryFile>

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

#include <unistd.h>

namespace CalibrationTest {

using TestSupport::StdoutCapture;

inline QString configPath(const QString &name)
{
    return QStringLiteral("/brimdale/configs/") + name;
}

inline QByteArray readConfig(const QString &name)
{
    QFile file(configPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

inline void writeConfig(const QString &name, const QByteArray &text)
{
    QFile file(configPath(name));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(text);
}

inline void feed(const QByteArray &lines)
{
    // The unit's touch panel, wherever a test has moved its state files to.
    QFile pipe(QStringLiteral("/sim/touch-feed"));
    if (pipe.open(QIODevice::WriteOnly))
        pipe.write(lines);
}

inline QByteArray press(int x, int y)
{
    const QByteArray p = QByteArray::number(x) + ' ' + QByteArray::number(y);
    return p + " 1\n" + p + " 1\n" + p + " 1\n" + p + " 0\n";
}

inline int countLines(const QString &line)
{
    return int(TestSupport::events().count(line));
}

// True while the thread sleeps waiting for input (a terminal read or a poll). getxy() waits for
// the touch only in or after its first read of the line, and that first read flushes the line
// (tslib's touchkit module): a press fed before it is lost, one fed while the thread sleeps
// there never is, however late a loaded machine runs the thread.
inline bool waitsForInput(pid_t thread)
{
    QFile wchan(QStringLiteral("/proc/self/task/%1/wchan").arg(thread));
    if (!wchan.open(QIODevice::ReadOnly))
        return false;
    const QByteArray where = wchan.readAll();
    return where.contains("wait_woken") || where.contains("poll");
}

// Presses raw[i] once the i-th target's cross ("cross X Y" at centres[i]) is on the screen,
// from its own thread: the page holds the GUI thread while it waits for the touch.
class TargetPresser {
public:
    // Made in the GUI thread, whose waits for the touch it watches.
    TargetPresser(const QList<QPoint> &centres, const QList<QPoint> &raw)
    {
        const pid_t gui = gettid();
        worker = std::thread([this, centres, raw, gui] {
            QElapsedTimer clock;
            clock.start();
            QList<int> seen;
            for (const QPoint &c : centres)
                seen << countLines(QStringLiteral("cross %1 %2 0x80000002").arg(c.x()).arg(c.y()));
            for (int i = 0; i < centres.size() && !stop; ++i) {
                const QString line = QStringLiteral("cross %1 %2 0x80000002")
                                         .arg(centres[i].x())
                                         .arg(centres[i].y());
                // Drawn once before the wait and once after: an odd count means it is waiting.
                while (!stop && clock.elapsed() < 60000) {
                    const int now = countLines(line);
                    if (now > seen[i] && (now - seen[i]) % 2 == 1)
                        break;
                    usleep(2000);
                }
                while (!stop && clock.elapsed() < 60000 && !waitsForInput(gui))
                    usleep(2000);
                // Counted before it is fed: the page may be done with this press, and the test
                // reading the count, before this thread runs again.
                ++pressed;
                feed(press(raw[i].x(), raw[i].y()));
                while (!stop && clock.elapsed() < 60000 && (countLines(line) - seen[i]) % 2 == 1)
                    usleep(2000);
            }
        });
    }
    ~TargetPresser()
    {
        stop = true;
        worker.join();
    }
    std::atomic<int> pressed { 0 };

private:
    std::atomic<bool> stop { false };
    std::thread worker;
};

// Touches every calibration cross the program waits on, for as long as it lives: a cross that
// is the last line of events.log for 30 ms while the GUI thread waits for input means getxy is
// waiting. The raw point is twice the screen point, so the fit is never degenerate.
class AutoToucher {
public:
    // Made in the GUI thread, whose waits for the touch it watches.
    AutoToucher()
    {
        const pid_t gui = gettid();
        worker = std::thread([this, gui] {
            QString last;
            int stableFor = 0;
            bool pressedThis = false;
            while (!stop) {
                usleep(5000);
                const QStringList log = TestSupport::events();
                const QString now = log.isEmpty() ? QString() : log.last();
                if (now != last) {
                    last = now;
                    stableFor = 0;
                    pressedThis = false;
                    continue;
                }
                stableFor += 5;
                const QStringList f = now.split(QLatin1Char(' '));
                if (pressedThis || stableFor < 30 || f.size() != 4 || f[0] != QLatin1String("cross")
                    || !waitsForInput(gui))
                    continue;
                feed(press(f[1].toInt() * 2, f[2].toInt() * 2));
                pressedThis = true;
            }
        });
    }
    ~AutoToucher()
    {
        stop = true;
        worker.join();
    }

private:
    std::atomic<bool> stop { false };
    std::thread worker;
};

} // namespace CalibrationTest
