// Times faultless 59-block serial stages of the communication test against the slave tester
// on the virtual bench, and, in the same process, the floor such a stage cannot beat: 59 times
// one 1 ms timer tick followed by the tester's 1 ms echo delay.
#include "comm/communicationtest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Blocks = 59;

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    const int n = int(values.size());
    return n % 2 ? values.at(n / 2) : (values.at(n / 2 - 1) + values.at(n / 2)) / 2;
}

// One block's worth of unavoidable waiting, done the way the stage does it: a 1 ms timer
// tick on the event loop, then 1 ms asleep as the tester sleeps before echoing.
double floorMs()
{
    QEventLoop loop;
    QTimer tick;
    tick.setInterval(1);
    tick.setSingleShot(true);
    int left = Blocks;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        QThread::msleep(1);
        if (--left == 0)
            loop.quit();
        else
            tick.start();
    });
    QElapsedTimer clock;
    clock.start();
    tick.start();
    loop.exec();
    return clock.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runs = args.size() > 1 ? args.at(1).toInt() : 10;
    const QString port = args.size() > 2 ? args.at(2) : QStringLiteral("/dev/ttyO1");
    if (runs < 1) {
        std::fprintf(stderr, "usage: bench_comstage [RUNS] [PORT]\n");
        return 2;
    }

    CommunicationTest comm;
    comm.setTransferLimit(0x0EA0);
    QString result;
    QEventLoop loop;
    QObject::connect(&comm, &CommunicationTest::errorMessage,
        [&](const QString &, const QString &r) { result = r; });
    QObject::connect(&comm, &CommunicationTest::transferStop, &loop, &QEventLoop::quit);
    // A stage that never ends is a failure, not a figure.
    QTimer guard;
    guard.setSingleShot(true);
    QObject::connect(&guard, &QTimer::timeout, &loop, &QEventLoop::quit);

    QList<double> stages;
    QList<double> floors;
    for (int i = 0; i < runs; ++i) {
        floors.append(floorMs());
        comm.createInterface(port, RS232);
        result.clear();
        QElapsedTimer clock;
        clock.start();
        guard.start(30000);
        comm.run();
        loop.exec();
        const double ms = clock.nsecsElapsed() / 1e6;
        guard.stop();
        if (result != QLatin1String("ok!")) {
            std::fprintf(stderr, "bench_comstage: stage %d on %s ended with '%s'\n", i + 1,
                qPrintable(port), qPrintable(result));
            return 1;
        }
        stages.append(ms);
    }
    const double stage = median(stages);
    const double floor = median(floors);
    std::printf("runs %d\n", runs);
    std::printf("stage_ms_median %.1f\n", stage);
    std::printf("stage_ms_min %.1f\n", *std::min_element(stages.cbegin(), stages.cend()));
    std::printf("floor_ms_median %.1f\n", floor);
    std::printf("floor_ms_nominal %.1f\n", Blocks * 2.0);
    std::printf("ratio_stage_to_floor %.2f\n", stage / floor);
    return 0;
}
