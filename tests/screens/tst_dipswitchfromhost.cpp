// The DIP switch check fed from outside the unit, as the bench fixture's switches are: this
// side runs the screen and asks for each switch setting in /sim/dip-request ("STEP VALUE");
// the host side (dip-from-host) writes that value into the unit's dip file while the screen
// polls it.
#include "common/qtcompat.h"
#include "screens/dipswitchinterface.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace TestSupport;

namespace {
const QString AllOnHint = QStringLiteral("Set all dip switches ON");
const QString AllOffHint = QStringLiteral("Set all dip switches OFF");

int dipSounds()
{
    return events().count(QStringLiteral("sound 10"));
}
} // namespace

class TestDipSwitchFromHost : public QObject {
    Q_OBJECT

private slots:
    void allOnThenPartlyThenOffFromOutside();

private:
    // Asks the host for the next switch setting; the screen is what tells that it came.
    void request(unsigned int value);
    int step = 0;
};

void TestDipSwitchFromHost::request(unsigned int value)
{
    ++step;
    QVERIFY(replaceSim(
        QStringLiteral("dip-request"), QStringLiteral("%1 0x%2\n").arg(step).arg(value, 0, 16)));
}

void TestDipSwitchFromHost::allOnThenPartlyThenOffFromOutside()
{
    QCOMPARE(
        QString::fromLatin1(readSimFile(QStringLiteral("dip")).trimmed()), QStringLiteral("0"));
    clearEvents();
    DipSwitchInterface page;
    page.setGeometry(screenGeometry());
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    PaintCounter paints(&page);
    QSignalSpy exits(&page, &DipSwitchInterface::exitSignal);
    QVERIFY(exits.isValid());
    page.run();
    QCOMPARE(page.hintText(), AllOnHint);

    request(0x1111);
    QTRY_COMPARE_WITH_TIMEOUT(dipSounds(), 1, 20000);
    QCOMPARE(page.hintText(), AllOffHint);

    const int before = paints.count;
    request(0x0110);
    QTRY_COMPARE_WITH_TIMEOUT(QString::fromLatin1(readSimFile(QStringLiteral("dip")).trimmed()),
        QStringLiteral("0x110"), 20000);
    QTRY_VERIFY(paints.count > before);
    QCOMPARE(dipSounds(), 1);
    QCOMPARE(exits.count(), 0);

    request(0);
    QTRY_COMPARE_WITH_TIMEOUT(dipSounds(), 2, 20000);
    QTRY_COMPARE(exits.count(), 1);
    QCOMPARE(events().filter(QStringLiteral("sound")),
        (QStringList { QStringLiteral("sound 10"), QStringLiteral("sound 10") }));
    QVERIFY(replaceSim(QStringLiteral("dip-request"), QStringLiteral("done\n")));
}

QTEST_MAIN(TestDipSwitchFromHost)
#include "tst_dipswitchfromhost.moc"
