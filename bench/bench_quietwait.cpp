// CPU the communication screens cost when there is nobody to talk to: the burn-in test on a
// port that will not open and the Ethernet test without a partner, each against an idle event
// loop measured in the same process just before.
#include "comm/burnintestinterface.h"
#include "comm/communicationtest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>

#include <cstdio>

#include <sys/resource.h>

namespace {

double cpuMs()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec * 1e3 + usage.ru_utime.tv_usec / 1e3 + usage.ru_stime.tv_sec * 1e3
        + usage.ru_stime.tv_usec / 1e3;
}

// Percent of one core used while the event loop runs for ms.
double percentOfCore(int ms)
{
    const double cpu0 = cpuMs();
    QElapsedTimer wall;
    wall.start();
    QTest::qWait(ms);
    return 100.0 * (cpuMs() - cpu0) / double(wall.elapsed());
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int ms = argc > 1 ? QByteArray(argv[1]).toInt() * 1000 : 5000;

    std::printf("idle_percent %.2f\n", percentOfCore(ms));
    {
        BurninTestInterface burnin(QStringLiteral("/nonexistent/ttyO0"));
        burnin.run();
        std::printf("burnin_no_port_percent %.2f\n", percentOfCore(ms));
    }
    {
        // Port 9 on the unit's own loopback: nobody listens, the connection is refused.
        CommunicationTest ethernet;
        ethernet.createInterface(QStringLiteral("127.0.0.1 9"), Ethernet);
        ethernet.run();
        std::printf("ethernet_no_partner_percent %.2f\n", percentOfCore(ms));
    }
    return 0;
}
