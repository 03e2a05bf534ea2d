// The function test menu: which buttons each panel lists and shows, paging, and the keys its
// buttons emit. Each layout case is run on a unit with that screen and model.
#include "common/functionbutton.h"
#include "common/qtcompat.h"
#include "menu/functiontestinterface.h"
#include "services/fram.h"

#include <QGridLayout>
#include <QLabel>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>

class TestFunctionTestInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void texts_data();
    void texts();
    void clicksEmitKeys();
    void pagedSmallPanel();
    void gridLargePanel();
    void pagedLargeModelOnSmallScreen();
    void noExitShown();
    void pageButtonsFitTheSmallScreen();

private:
    static QList<QPushButton *> shownButtons(FunctionTestInterface &menu);
};

QList<QPushButton *> TestFunctionTestInterface::shownButtons(FunctionTestInterface &menu)
{
    QList<QPushButton *> shown;
    for (QPushButton *button : menu.findChildren<QPushButton *>()) {
        if (qobject_cast<FunctionButton *>(button))
            shown << button;
    }
    return shown;
}

void TestFunctionTestInterface::texts_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::newRow("touch panel") << "touch panel"
                                 << "Touch panel";
    QTest::newRow("brightness") << "brightness"
                                << "Brightness";
    QTest::newRow("date and time") << "date and time"
                                   << "Date and Time";
    QTest::newRow("battery power") << "battery power"
                                   << "Battery power";
    QTest::newRow("backlight") << "backlight"
                               << "Backlight";
    QTest::newRow("lcm") << "lcm"
                         << "LCM";
    QTest::newRow("key and led") << "key and led"
                                 << "Key and LED";
    QTest::newRow("dip switches") << "dip switches"
                                  << "Dip switches";
    QTest::newRow("ethernet") << "ethernet"
                              << "Ethernet";
    QTest::newRow("com1 rs232") << "com1 rs232"
                                << "COM1 RS232";
    QTest::newRow("com1 rs422") << "com1 rs422"
                                << "COM1 RS422";
    QTest::newRow("com1 rs485") << "com1 rs485"
                                << "COM1 RS485";
    QTest::newRow("com2 rs232") << "com2 rs232"
                                << "COM2 RS232";
    QTest::newRow("com2 rs422") << "com2 rs422"
                                << "COM2 RS422";
    QTest::newRow("com2 rs485") << "com2 rs485"
                                << "COM2 RS485";
    QTest::newRow("com3 rs232") << "com3 rs232"
                                << "COM3 RS232";
    QTest::newRow("com3 rs485") << "com3 rs485"
                                << "COM3 RS485";
    QTest::newRow("white screen") << "white screen"
                                  << "White Screen";
    QTest::newRow("usb host") << "usb host"
                              << "USB host";
    QTest::newRow("usb device") << "usb device"
                                << "USB device";
    QTest::newRow("exit") << "exit"
                          << "Exit";
    QTest::newRow("mac") << "mac"
                         << "MAC";
}

void TestFunctionTestInterface::texts()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    FunctionTestInterface menu;
    // Every button exists with its key as object name, listed or not.
    QPushButton *button = nullptr;
    for (QPushButton *candidate : menu.buttons()) {
        if (candidate->objectName() == key)
            button = candidate;
    }
    const int model = Fram::getInstance()->getMonitorModel();
    const bool listed = model <= 4
        ? key != QLatin1String("key and led") && !key.startsWith(QLatin1String("com2"))
            && !key.startsWith(QLatin1String("com3")) && key != QLatin1String("white screen")
        : key != QLatin1String("mac");
    QCOMPARE(button != nullptr, listed);
    if (button)
        QCOMPARE(button->text(), text);
}

void TestFunctionTestInterface::clicksEmitKeys()
{
    FunctionTestInterface menu;
    menu.resize(screenGeometry().size());
    menu.show();
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    QSignalSpy clicked(&menu, &FunctionTestInterface::functionButtonClicked);
    QVERIFY(clicked.isValid());
    const QList<QPushButton *> list = menu.buttons();
    // The first button of each page is reachable without paging.
    QTest::mouseClick(list.at(0), Qt::LeftButton);
    QTest::mouseClick(list.at(2), Qt::LeftButton);
    QCOMPARE(clicked.count(), 2);
    QCOMPARE(clicked.at(0).at(0).toString(), QStringLiteral("touch panel"));
    QCOMPARE(clicked.at(1).at(0).toString(), QStringLiteral("date and time"));
}

void TestFunctionTestInterface::pagedSmallPanel()
{
    QCOMPARE(screenGeometry().size(), QSize(480, 272));
    QCOMPARE(Fram::getInstance()->getMonitorModel(), 4);
    FunctionTestInterface menu;
    const QList<QPushButton *> list = menu.buttons();
    QCOMPARE(list.size(), 15);
    QCOMPARE(list.last()->objectName(), QStringLiteral("exit"));
    QCOMPARE(list.at(13)->objectName(), QStringLiteral("mac"));

    auto *stack = menu.findChild<QStackedWidget *>();
    QVERIFY(stack);
    QCOMPARE(stack->count(), 2);
    auto buttonsOn = [&](int page) {
        int n = 0;
        for (QPushButton *b : stack->widget(page)->findChildren<QPushButton *>())
            n += b->parentWidget() == stack->widget(page) ? 1 : 0;
        return n;
    };
    QList<QLabel *> blanks;
    auto blanksOn = [&](int page) {
        int n = 0;
        for (QLabel *l : stack->widget(page)->findChildren<QLabel *>()) {
            if (l->text().isEmpty()) {
                ++n;
                blanks << l;
            }
        }
        return n;
    };
    QCOMPARE(buttonsOn(0), 9);
    QCOMPARE(blanksOn(0), 0);
    QCOMPARE(buttonsOn(1), 5);
    QCOMPARE(blanksOn(1), 4);
    // A short last page keeps its grid: the blanks are as large as the first button.
    for (QLabel *blank : blanks)
        QCOMPARE(blank->size(), QSize(145, 42));
    for (int page = 0; page < 2; ++page) {
        auto *grid = qobject_cast<QGridLayout *>(stack->widget(page)->layout());
        QVERIFY(grid);
        QCOMPARE(grid->rowCount(), 3);
        QCOMPARE(grid->columnCount(), 3);
    }
    // Row by row: the second button sits in the first row, second column.
    auto *grid = qobject_cast<QGridLayout *>(stack->widget(0)->layout());
    QCOMPARE(grid->itemAtPosition(0, 1)->widget()->objectName(), QStringLiteral("brightness"));
    QCOMPARE(grid->itemAtPosition(1, 0)->widget()->objectName(), QStringLiteral("battery power"));

    QLabel *label = nullptr;
    for (QLabel *l : menu.findChildren<QLabel *>()) {
        if (!l->text().isEmpty())
            label = l;
    }
    QVERIFY(label);
    QCOMPARE(label->text(), QStringLiteral("<font color='white'> 1/2 </font>"));
    QCOMPARE(label->font().pixelSize(), 14);
    QCOMPARE(label->minimumWidth(), 50);
    QCOMPARE(label->alignment(), Qt::AlignCenter);

    auto *prev = menu.findChild<QPushButton *>(QStringLiteral("prev"));
    auto *next = menu.findChild<QPushButton *>(QStringLiteral("next"));
    QVERIFY(prev && next);
    QCOMPARE(prev->text(), QStringLiteral("Prev"));
    QCOMPARE(next->text(), QStringLiteral("Next"));
    QCOMPARE(prev->minimumHeight(), 30);
    menu.resize(480, 272);
    menu.show();
    QVERIFY(QTest::qWaitForWindowExposed(&menu));

    QTest::mouseClick(prev, Qt::LeftButton);
    QCOMPARE(label->text(), QStringLiteral("<font color='white'> 1/2 </font>"));
    QCOMPARE(stack->currentIndex(), 0);
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(label->text(), QStringLiteral("<font color='white'> 2/2 </font>"));
    QCOMPARE(stack->currentIndex(), 1);
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(label->text(), QStringLiteral("<font color='white'> 2/2 </font>"));
    QCOMPARE(stack->currentIndex(), 1);
    QTest::mouseClick(prev, Qt::LeftButton);
    QCOMPARE(label->text(), QStringLiteral("<font color='white'> 1/2 </font>"));
}

void TestFunctionTestInterface::gridLargePanel()
{
    QCOMPARE(screenGeometry().size(), QSize(800, 480));
    QCOMPARE(Fram::getInstance()->getMonitorModel(), 6);
    FunctionTestInterface menu;
    const QList<QPushButton *> list = menu.buttons();
    QCOMPARE(list.size(), 21);
    QCOMPARE(list.last()->objectName(), QStringLiteral("exit"));
    QCOMPARE(list.at(17)->objectName(), QStringLiteral("white screen"));
    QVERIFY(!menu.findChild<QStackedWidget *>());
    QVERIFY(!menu.findChild<QPushButton *>(QStringLiteral("prev")));
    QVERIFY(!menu.findChild<QPushButton *>(QStringLiteral("next")));

    auto *grid = qobject_cast<QGridLayout *>(menu.layout());
    QVERIFY(grid);
    QCOMPARE(grid->count(), 20);
    QCOMPARE(grid->rowCount(), 7);
    QVERIFY(grid->itemAtPosition(6, 0) && grid->itemAtPosition(6, 1));
    QVERIFY(!grid->itemAtPosition(6, 2));
    QCOMPARE(grid->itemAtPosition(6, 1)->widget()->objectName(), QStringLiteral("usb device"));
    for (int i = 0; i < 20; ++i)
        QCOMPARE(list.at(i)->size(), QSize(224, 42));
}

void TestFunctionTestInterface::pagedLargeModelOnSmallScreen()
{
    QCOMPARE(screenGeometry().size(), QSize(320, 240));
    FunctionTestInterface menu;
    auto *stack = menu.findChild<QStackedWidget *>();
    QVERIFY(stack);
    // 21 listed buttons: three pages, the last holding two buttons and the blank cells.
    QCOMPARE(stack->count(), 3);
    QLabel *label = nullptr;
    for (QLabel *l : menu.findChildren<QLabel *>()) {
        if (!l->text().isEmpty())
            label = l;
    }
    QVERIFY(label);
    QCOMPARE(label->text(), QStringLiteral("<font color='white'> 1/3 </font>"));
    QCOMPARE(menu.buttons().first()->size(), QSize(100, 42));
}

void TestFunctionTestInterface::noExitShown()
{
    FunctionTestInterface menu;
    const QList<QPushButton *> shown = shownButtons(menu);
    QCOMPARE(shown.size(), menu.buttons().size() - 1);
    for (QPushButton *button : shown)
        QVERIFY(button->objectName() != QLatin1String("exit"));
    menu.resize(screenGeometry().size());
    menu.show();
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    auto *stack = menu.findChild<QStackedWidget *>();
    const int pages = stack ? stack->count() : 1;
    for (int page = 0; page < pages; ++page) {
        if (stack)
            stack->setCurrentIndex(page);
        for (QPushButton *button : menu.findChildren<QPushButton *>())
            QVERIFY(button->objectName() != QLatin1String("exit") || !button->isVisible());
    }
}

void TestFunctionTestInterface::pageButtonsFitTheSmallScreen()
{
    QCOMPARE(screenGeometry().size(), QSize(480, 272));
    FunctionTestInterface menu;
    menu.resize(480, 272);
    menu.show();
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    for (const char *name : { "prev", "next" }) {
        auto *button = menu.findChild<QPushButton *>(QLatin1String(name));
        QVERIFY(button);
        const QRect onMenu(button->mapTo(&menu, QPoint(0, 0)), button->size());
        // The whole button on the screen, and room on both sides of its word.
        QVERIFY2(menu.rect().contains(onMenu), name);
        QVERIFY2(onMenu.bottom() <= 272 - 4, name);
        QVERIFY2(
            button->width() >= button->fontMetrics().horizontalAdvance(button->text()) + 30, name);
        QVERIFY(button->height() >= 30);
    }
}

QTEST_MAIN(TestFunctionTestInterface)
#include "tst_functiontestinterface.moc"
