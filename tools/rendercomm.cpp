// Renders the communication screens to PNG files so that a person can look at them:
// rendercomm OUTDIR. Run it in a virtual unit with the screen size wanted; each screen is
// shown full screen in a state with traffic on it.
#include "comm/burnintestinterface.h"
#include "comm/communicationtest.h"
#include "comm/errordevicelistinterface.h"
#include "comm/testerinterface.h"
#include "tests/support/commtestsupport.h"

#include <QApplication>
#include <QDir>
#include <QScreen>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

namespace {
QString prefix;

// Full screen before any traffic: the panes empty themselves when their scroll range
// changes, which a later resize would do too.
bool present(QWidget *screen)
{
    screen->setGeometry(QGuiApplication::primaryScreen()->geometry());
    screen->show();
    return QTest::qWaitForWindowExposed(screen);
}

bool shoot(QWidget *screen, const QString &name)
{
    QTest::qWait(100);
    return screen->grab().save(prefix + name + QStringLiteral(".png"));
}
} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(out);
    const QSize size = QGuiApplication::primaryScreen()->geometry().size();
    prefix = QStringLiteral("%1/%2x%3-").arg(out).arg(size.width()).arg(size.height());
    SimDir sim;
    bool ok = true;

    {
        PtyPartner partner(PtyPartner::Echo);
        CommunicationTest test;
        QSignalSpy stop(&test, &CommunicationTest::transferStop);
        ok &= present(&test);
        test.setTransferLimit(3744);
        test.createInterface(partner.path(), RS232);
        test.run();
        stop.wait(20000);
        ok &= shoot(&test, QStringLiteral("communication-ok"));
        partner.setMode(PtyPartner::Short);
        test.run();
        stop.wait(20000);
        ok &= shoot(&test, QStringLiteral("communication-fail"));
    }

    for (int model : { 7, 4 }) {
        sim.setModel(model);
        PtyPartner com1(PtyPartner::Drain), com2(PtyPartner::Drain), com3(PtyPartner::Drain);
        TesterInterface tester({ com1.path(), com2.path(), com3.path() });
        ok &= present(&tester);
        tester.run();
        QTest::qWait(100);
        com1.send(printableRun(64));
        com2.send(printableRun(64, 96));
        com3.send(printableRun(64, 64));
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, TesterInterface::TcpPort);
        client.waitForConnected(2000);
        client.write(printableRun(64, 40));
        QTest::qWait(300);
        ok &= shoot(&tester, QStringLiteral("tester-model%1").arg(model));
    }

    {
        PtyPartner partner(PtyPartner::Echo);
        BurninTestInterface burnin(partner.path());
        ok &= present(&burnin);
        burnin.run();
        QTest::qWait(150);
        ok &= shoot(&burnin, QStringLiteral("burnin"));
    }

    {
        ErrorDeviceListInterface list;
        ok &= present(&list);
        list.updateDeviceStatus(QStringLiteral("COM port 1 RS232 test"), QStringLiteral("ok!"));
        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("fail!"));
        list.updateDeviceStatus(QStringLiteral("COM port 2 RS485 test"), QStringLiteral("fail!"));
        ok &= shoot(&list, QStringLiteral("errorlist-two-failures"));
        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("ok!"));
        list.updateDeviceStatus(QStringLiteral("COM port 2 RS485 test"), QStringLiteral("ok!"));
        ok &= shoot(&list, QStringLiteral("errorlist-all-passed"));
    }
    return ok ? 0 : 1;
}
