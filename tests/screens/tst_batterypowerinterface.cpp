// The battery page is an empty page with no way back of its own.
#include "screens/batterypowerinterface.h"

#include <QPushButton>
#include <QTest>

class TestBatteryPowerInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void emptyPage();
};

void TestBatteryPowerInterface::emptyPage()
{
    BatteryPowerInterface page;
    QVERIFY(page.findChildren<QWidget *>().isEmpty());
    QVERIFY(!page.layout());
    // No signals or slots beyond QWidget's.
    QCOMPARE(page.metaObject()->methodCount(), QWidget::staticMetaObject.methodCount());
    QCOMPARE(QString::fromLatin1(page.metaObject()->className()),
        QStringLiteral("BatteryPowerInterface"));
    QCOMPARE(page.metaObject()->indexOfSignal("exitSignal()"), -1);
}

QTEST_MAIN(TestBatteryPowerInterface)
#include "tst_batterypowerinterface.moc"
