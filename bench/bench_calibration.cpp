// Calibration timing on a virtual unit with a touch panel (sim/virtual-unit --touch): the time
// from the fifth touch to the accuracy prompt, and what a sampling run costs beyond waiting for
// the touches. The floor is the animation: ten 1 ms steps for every animated target.
#include "calibration/calibration.h"
#include "calibration/caliinterface.h"

#include <QApplication>
#include <QFile>
#include <QStringList>

#include <tslib.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using Clock = std::chrono::steady_clock;

namespace {

QString simPath(const QString &name)
{
    const QString dir = qEnvironmentVariable("BENCHTEST_SIM_DIR", QStringLiteral("/sim"));
    return dir + QLatin1Char('/') + name;
}

int crossCount(const QString &line)
{
    QFile file(simPath(QStringLiteral("events.log")));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return int(QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')).count(line));
}

void feed(const QByteArray &lines)
{
    QFile pipe(simPath(QStringLiteral("touch-feed")));
    if (pipe.open(QIODevice::WriteOnly))
        pipe.write(lines);
}

double ms(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int runs = argc > 1 ? atoi(argv[1]) : 10;
    if (!qEnvironmentVariableIsSet("TSLIB_TSDEVICE")) {
        fprintf(stderr, "bench_calibration: run in sim/virtual-unit --touch\n");
        return 2;
    }
    open_ts();
    const int flags = fcntl(ts_fd(ts), F_GETFL);
    fcntl(ts_fd(ts), F_SETFL, flags | O_NONBLOCK);
    ts_sample sample;
    ts_read_raw(ts, &sample, 1);
    fcntl(ts_fd(ts), F_SETFL, flags);

    caliInterface page;
    page.setGeometry(0, 0, xres, yres);
    page.show();
    const QList<QPoint> corners = page.targetPositions();

    double toPrompt = 0, overhead = 0, floor = 0;
    for (int run = 0; run < runs; ++run) {
        std::atomic<double> waited { 0 };
        Clock::time_point fifth;
        std::thread presser([&] {
            for (int i = 0; i < 5; ++i) {
                const QPoint c = corners[i] + QPoint(10, 10);
                const QString line = QStringLiteral("cross %1 %2 0x80000002").arg(c.x()).arg(c.y());
                const int before = crossCount(line);
                // Odd count: drawn and not yet erased, so getxy is waiting for this touch.
                while ((crossCount(line) - before) % 2 == 0)
                    usleep(200);
                const auto shown = Clock::now();
                const QByteArray p
                    = QByteArray::number(100 + 800 * (i == 1 || i == 2) + 400 * (i == 4)) + ' '
                    + QByteArray::number(100 + 800 * (i == 2 || i == 3) + 400 * (i == 4));
                if (i == 4)
                    fifth = Clock::now();
                feed(p + " 1\n" + p + " 0\n");
                // The time until the cross was up is the program's; from there it is the touch's.
                waited = waited + ms(Clock::now() - shown);
                while ((crossCount(line) - before) % 2 == 1)
                    usleep(200);
            }
        });
        const auto begin = Clock::now();
        page.exec();
        const auto end = Clock::now();
        presser.join();
        toPrompt += ms(end - fifth);
        overhead += ms(end - begin) - waited;
        floor += (run == 0 ? 4 : 5) * 10 * 1.0;
        page.hideTheWeak();
    }
    printf("calibration runs: %d\n", runs);
    printf("fifth touch to accuracy prompt: %.2f ms per run\n", toPrompt / runs);
    printf("sampling overhead beyond the touches: %.2f ms per run\n", overhead / runs);
    printf("animation floor (ten 1 ms steps per animated target): %.2f ms per run\n", floor / runs);
    printf("overhead / floor: %.2f\n", overhead / floor);
    return 0;
}
