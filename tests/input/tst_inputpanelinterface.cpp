// The keyboard widget on its three layouts: which layout a unit gets, the forms' object trees
// and style sheets, the key click, OK, the highlighted label, placement and retranslation.
#include "input/inputpanelinterface.h"
#include "services/fram.h"
#include "tests/support/testsupport.h"
#include "ui_inputpanelinterface.h"
#include "ui_inputpanelinterface_4.h"
#include "ui_inputpanelinterface_hex_4.h"

#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using TestSupport::sounds;

namespace {

enum Layout { SevenInch, FourInchDecimal, FourInchHex };

const QString keyStyle = QStringLiteral(
    "QPushButton{\n border-image: url(:/img/inputBtn.png) 0 0 0 0 stretch stretch; font: 75 24pt "
    "\"Microsoft JhengHei\";}\nQPushButton:Pressed {\n border-image: url(:/img/inputBtn1.png) 0 0 "
    "0 0 stretch stretch;\n font: 75 24pt \"Microsoft JhengHei\";}\n");
const QString forwardStyle
    = QStringLiteral("QPushButton{\n border-image: url(:/img/input-left.png) 0 0 0 0 stretch "
                     "stretch;\n }\n QPushButton:Pressed {\n border-image: "
                     "url(:/img/input-left1.png) 0 0 0 0 stretch stretch;\n }");
const QString backwardStyle
    = QStringLiteral("QPushButton{\n border-image: url(:/img/input-right.png) 0 0 0 0 stretch "
                     "stretch;\n }\n QPushButton:Pressed {\n border-image: "
                     "url(:/img/input-right1.png) 0 0 0 0 stretch stretch;\n }");
const QString okStyle = QStringLiteral(
    "QPushButton{\n border-image: url(:/img/input-ok.png) 0 0 0 0 stretch stretch;\n }\n "
    "QPushButton:Pressed {\n border-image: url(:/img/input-ok1.png) 0 0 0 0 stretch stretch;\n }");
const QString labelStyle = QStringLiteral(
    "QLabel{ border-radius: 8px; \n\t\tfont: 28pt \"Aharoni\"; \n\t border-image: "
    "url(:/img/input-label.png) 0 0 0 0 stretch stretch;\n\t\tcolor: rgb(255, 255, 255); \n\t}");
const QString backgroundStyle
    = QStringLiteral("background-image: url(:/img/inputpanelBG.png) 0 0 0 0 stretch stretch;");

const QString openTag = QStringLiteral("<span style=\" color:#000000;\">");
const QString closeTag = QStringLiteral("</span>");

QString highlighted(const QString &text, int pos)
{
    return text.left(pos) + openTag + text.mid(pos, 1) + closeTag + text.mid(pos + 1);
}

QString layoutTree(QLayout *layout)
{
    QStringList items;
    if (auto *grid = qobject_cast<QGridLayout *>(layout)) {
        QStringList rows;
        for (int r = 0; r < grid->rowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c < grid->columnCount(); ++c) {
                QLayoutItem *item = grid->itemAtPosition(r, c);
                cells.append(
                    item && item->widget() ? item->widget()->objectName() : QStringLiteral("-"));
            }
            rows.append(cells.join(QLatin1Char(',')));
        }
        return layout->objectName() + QLatin1Char('[') + rows.join(QLatin1Char('/'))
            + QLatin1Char(']');
    }
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem *item = layout->itemAt(i);
        if (item->widget())
            items.append(item->widget()->objectName());
        else if (item->layout())
            items.append(layoutTree(item->layout()));
        else
            items.append(QStringLiteral("spacer"));
    }
    return layout->objectName() + QLatin1Char('(') + items.join(QLatin1Char(','))
        + QLatin1Char(')');
}

// The form's object tree: its layout, or (for a form without one) its child widgets by name,
// each with its own layout.
QString formTree(QWidget *form)
{
    if (form->layout())
        return layoutTree(form->layout());
    QStringList children;
    const QList<QWidget *> widgets
        = form->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    for (QWidget *child : widgets) {
        QString entry = child->objectName();
        if (child->layout())
            entry += QLatin1Char('{') + layoutTree(child->layout()) + QLatin1Char('}');
        children.append(entry);
    }
    children.sort();
    return children.join(QLatin1Char(';'));
}

const QString sevenInchTree
    = QStringLiteral("textLabel;verticalLayoutWidget_2{verticalLayout_2("
                     "horizontalLayout(numberBtn_1,numberBtn_2,numberBtn_3),"
                     "horizontalLayout_6(numberBtn_4,numberBtn_5,numberBtn_6),"
                     "horizontalLayout_4(numberBtn_7,numberBtn_8,numberBtn_9),"
                     "horizontalLayout_3(forwardBtn,numberBtn_0,backwardBtn),"
                     "horizontalLayout_2(OKBtn))}");
const QString fourInchTree = QStringLiteral(
    "verticalLayout_11(textLabel,horizontalLayout(verticalLayout_15("
    "horizontalLayout_6(numberBtn_1,numberBtn_2,numberBtn_3),"
    "horizontalLayout_4(numberBtn_4,numberBtn_5,numberBtn_6),"
    "horizontalLayout_3(numberBtn_7,numberBtn_8,numberBtn_9),"
    "horizontalLayout_2(horizontalLayout_13(numberBtn_0),horizontalLayout_12(backwardBtn))),"
    "verticalLayout_2(verticalLayout_16(forwardBtn),verticalLayout_17(OKBtn))))");
const QString hexTree = QStringLiteral("verticalLayout(textLabel,horizontalLayout(gridLayout["
                                       "numberBtn_1,numberBtn_2,numberBtn_3,numberBtn_4/"
                                       "numberBtn_5,numberBtn_6,numberBtn_7,numberBtn_8/"
                                       "numberBtn_9,numberBtn_0,numberBtn_A,numberBtn_B/"
                                       "numberBtn_C,numberBtn_D,numberBtn_E,numberBtn_F],"
                                       "verticalLayout_2(forwardBtn,OKBtn,backwardBtn)))");

QStringList decimalKeys()
{
    QStringList keys;
    for (int i = 0; i < 10; ++i)
        keys.append(QStringLiteral("numberBtn_%1").arg(i));
    return keys;
}

QStringList allKeys(Layout layout)
{
    QStringList keys = decimalKeys();
    if (layout == FourInchHex) {
        for (const char *letter : { "A", "B", "C", "D", "E", "F" })
            keys.append(QStringLiteral("numberBtn_") + QLatin1String(letter));
    }
    keys << QStringLiteral("forwardBtn") << QStringLiteral("backwardBtn")
         << QStringLiteral("OKBtn");
    return keys;
}

const char *layoutName(Layout layout)
{
    switch (layout) {
    case SevenInch:
        return "7-inch";
    case FourInchDecimal:
        return "4-inch decimal";
    case FourInchHex:
        return "4-inch hex";
    }
    return "?";
}

} // namespace

Q_DECLARE_METATYPE(Layout)

class TestInputPanelInterface : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void layoutChoice_data();
    void layoutChoice();
    void layoutOfUnitModel();
    void objectTree_data();
    void objectTree();
    void formsFromDesigner();
    void textsAndStyles_data();
    void textsAndStyles();
    void windowFlagsAndCentre_data();
    void windowFlagsAndCentre();
    void execEvDoesNotShow();
    void labelHighlight_data();
    void labelHighlight();
    void everyKeyClicks_data();
    void everyKeyClicks();
    void otherEventsSilent();
    void typing_data();
    void typing();
    void okRefused_data();
    void okRefused();
    void lastCharacterHighlight_data();
    void lastCharacterHighlight();
    void languageChange();
    void destruction_data();
    void destruction();

private:
    std::unique_ptr<InputPanelInterface> makePanel(Layout layout, bool show = true);
    static int modelOf(Layout layout) { return layout == SevenInch ? 7 : 4; }
    static void addLayoutRows();

    QTemporaryDir simDir;
    QByteArray originalModel;
};

void TestInputPanelInterface::initTestCase()
{
    TestSupport::installQuietPlatform();
    if (qEnvironmentVariableIsEmpty("BENCHTEST_SIM_DIR")) {
        QVERIFY(simDir.isValid());
        qputenv("BENCHTEST_SIM_DIR", simDir.path().toLocal8Bit());
    }
    originalModel = TestSupport::readSimFile(QStringLiteral("model"));
    Fram::getInstance()->setBuzzerEnable(true);
}

void TestInputPanelInterface::init()
{
    TestSupport::clearEvents();
}

void TestInputPanelInterface::cleanupTestCase()
{
    if (originalModel.isEmpty())
        QFile::remove(TestSupport::simPath(QStringLiteral("model")));
    else
        TestSupport::writeSimFile(QStringLiteral("model"), originalModel);
}

std::unique_ptr<InputPanelInterface> TestInputPanelInterface::makePanel(Layout layout, bool show)
{
    if (!TestSupport::setSimModel(modelOf(layout)))
        return nullptr;
    auto panel = std::make_unique<InputPanelInterface>(
        layout == FourInchHex ? InputPanelInterface::Hexadecimal : InputPanelInterface::Decimal);
    if (show) {
        panel->show();
        if (!QTest::qWaitForWindowExposed(panel.get()))
            return nullptr;
    }
    return panel;
}

void TestInputPanelInterface::addLayoutRows()
{
    QTest::addColumn<Layout>("layout");
    for (const Layout layout : { SevenInch, FourInchDecimal, FourInchHex })
        QTest::newRow(layoutName(layout)) << layout;
}

// ---- layout choice and forms ----------------------------------------------------------------

void TestInputPanelInterface::layoutChoice_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("base"); // -1: the one-argument constructor
    QTest::addColumn<QString>("form");

    QTest::newRow("4 default") << 4 << -1 << "inputpanelinterface_4";
    QTest::newRow("4 decimal") << 4 << 0 << "inputpanelinterface_4";
    QTest::newRow("4 hex") << 4 << 1 << "inputpanelinterface_hex_4";
    for (const int model : { 0, 3, 5, 7, 10, 12, 15 }) {
        for (const int base : { -1, 0, 1 })
            QTest::addRow("%d base %d", model, base) << model << base << "InputPanelInterface";
    }
}

void TestInputPanelInterface::layoutChoice()
{
    QFETCH(int, model);
    QFETCH(int, base);
    QFETCH(QString, form);

    QVERIFY(TestSupport::setSimModel(model));
    QCOMPARE(Fram::getInstance()->getMonitorModel(), model);
    std::unique_ptr<InputPanelInterface> panel;
    if (base < 0)
        panel = std::make_unique<InputPanelInterface>();
    else
        panel = std::make_unique<InputPanelInterface>(InputPanelInterface::BaseSystem(base));

    QCOMPARE(panel->objectName(), form);
    const bool hex = form == QLatin1String("inputpanelinterface_hex_4");
    QCOMPARE(panel->findChildren<QPushButton *>().size(), hex ? 19 : 13);
    for (const char *letter : { "A", "B", "C", "D", "E", "F" }) {
        QCOMPARE(
            panel->findChild<QPushButton *>(QStringLiteral("numberBtn_") + QLatin1String(letter))
                != nullptr,
            hex);
    }
    // Exactly one layout object was set up.
    QCOMPARE(panel->findChildren<QLabel *>().size(), 1);
    QCOMPARE(panel->findChild<QWidget *>(QStringLiteral("verticalLayoutWidget_2")) != nullptr,
        form == QLatin1String("InputPanelInterface"));
    QCOMPARE(panel->findChild<QLayout *>(QStringLiteral("verticalLayout_11")) != nullptr,
        form == QLatin1String("inputpanelinterface_4"));
    QCOMPARE(panel->findChild<QLayout *>(QStringLiteral("gridLayout")) != nullptr, hex);
    if (hex) {
        auto *grid = panel->findChild<QGridLayout *>(QStringLiteral("gridLayout"));
        QVERIFY(grid);
        QCOMPARE(grid->rowCount(), 4);
        QCOMPARE(grid->columnCount(), 4);
        QCOMPARE(grid->count(), 16);
    }
}

void TestInputPanelInterface::layoutOfUnitModel()
{
    // Whatever model the unit was started with (virtual-unit --model N).
    const int model = Fram::getInstance()->getMonitorModel();
    qInfo("unit model %d", model);
    InputPanelInterface decimal;
    InputPanelInterface hex(InputPanelInterface::Hexadecimal);
    if (model == 4) {
        QCOMPARE(decimal.objectName(), QStringLiteral("inputpanelinterface_4"));
        QCOMPARE(hex.objectName(), QStringLiteral("inputpanelinterface_hex_4"));
        QVERIFY(hex.findChild<QPushButton *>(QStringLiteral("numberBtn_F")));
    } else {
        QCOMPARE(decimal.objectName(), QStringLiteral("InputPanelInterface"));
        QCOMPARE(hex.objectName(), QStringLiteral("InputPanelInterface"));
        QVERIFY(!hex.findChild<QPushButton *>(QStringLiteral("numberBtn_F")));
    }
}

void TestInputPanelInterface::objectTree_data()
{
    addLayoutRows();
}

void TestInputPanelInterface::objectTree()
{
    QFETCH(Layout, layout);
    auto panel = makePanel(layout, false);
    QVERIFY(panel);
    const QString expected[] = { sevenInchTree, fourInchTree, hexTree };
    QCOMPARE(formTree(panel.get()), expected[layout]);

    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    QVERIFY(label);
    if (layout == SevenInch) {
        // The label sits on the form itself, beside the key container.
        QCOMPARE(label->parentWidget(), panel.get());
        auto *container = panel->findChild<QWidget *>(QStringLiteral("verticalLayoutWidget_2"));
        QVERIFY(container);
        QVERIFY(!container->isAncestorOf(label));
    }
}

void TestInputPanelInterface::formsFromDesigner()
{
    // The generated classes as such: names, title and, for the 7-inch form, its background
    // (which the panel then replaces with the key style).
    QWidget seven;
    Ui_InputPanelInterface sevenUi;
    sevenUi.setupUi(&seven);
    QCOMPARE(seven.objectName(), QStringLiteral("InputPanelInterface"));
    QCOMPARE(seven.windowTitle(), QStringLiteral("Form"));
    QCOMPARE(seven.styleSheet(), backgroundStyle);
    QCOMPARE(formTree(&seven), sevenInchTree);

    QWidget four;
    Ui_inputpanelinterface_4 fourUi;
    fourUi.setupUi(&four);
    QCOMPARE(four.objectName(), QStringLiteral("inputpanelinterface_4"));
    QCOMPARE(four.windowTitle(), QStringLiteral("Form"));
    QCOMPARE(formTree(&four), fourInchTree);

    QWidget hex;
    Ui_inputpanelinterface_hex_4 hexUi;
    hexUi.setupUi(&hex);
    QCOMPARE(hex.objectName(), QStringLiteral("inputpanelinterface_hex_4"));
    QCOMPARE(hex.windowTitle(), QStringLiteral("Form"));
    QCOMPARE(formTree(&hex), hexTree);

    for (QLabel *label : { sevenUi.textLabel, fourUi.textLabel, hexUi.textLabel })
        QCOMPARE(label->text(), QStringLiteral("TextLabel"));
}

void TestInputPanelInterface::textsAndStyles_data()
{
    addLayoutRows();
}

void TestInputPanelInterface::textsAndStyles()
{
    QFETCH(Layout, layout);
    auto panel = makePanel(layout);
    QVERIFY(panel);

    QCOMPARE(panel->windowTitle(), QStringLiteral("Form"));
    QCOMPARE(panel->styleSheet(), keyStyle);

    const QStringList keys = allKeys(layout);
    for (const QString &name : keys) {
        auto *key = panel->findChild<QPushButton *>(name);
        QVERIFY2(key, qPrintable(name));
        if (name == QLatin1String("forwardBtn")) {
            QCOMPARE(key->styleSheet(), forwardStyle);
            QCOMPARE(key->text(), QString());
        } else if (name == QLatin1String("backwardBtn")) {
            QCOMPARE(key->styleSheet(), backwardStyle);
            QCOMPARE(key->text(), QString());
        } else if (name == QLatin1String("OKBtn")) {
            QCOMPARE(key->styleSheet(), okStyle);
            QCOMPARE(key->text(), QString());
        } else {
            QCOMPARE(key->styleSheet(), QString());
            QCOMPARE(key->text(), name.mid(10));
        }
        // The panel's key style reaches every key.
        QVERIFY2(key->font().pointSize() == 24, qPrintable(name));
    }

    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    QVERIFY(label);
    QCOMPARE(label->styleSheet(), labelStyle);
    QCOMPARE(label->textFormat(), Qt::RichText);
    QCOMPARE(label->font().pointSize(), 28);
    // The placeholder is replaced by the first entry.
    QCOMPARE(label->text(), QStringLiteral("TextLabel"));
    panel->execEv(QStringLiteral("1"), QStringLiteral("port"));
    QCOMPARE(label->text(), highlighted(QStringLiteral("1"), 0));
}

void TestInputPanelInterface::windowFlagsAndCentre_data()
{
    addLayoutRows();
}

void TestInputPanelInterface::windowFlagsAndCentre()
{
    QFETCH(Layout, layout);
    auto panel = makePanel(layout, false);
    QVERIFY(panel);

    QVERIFY(panel->windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(panel->windowFlags() & Qt::WindowStaysOnTopHint);
    QVERIFY(panel->isWindow());

    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    qInfo("%s screen %dx%d", qPrintable(QGuiApplication::platformName()), screen.width(),
        screen.height());
    QCOMPARE(panel->pos(),
        QPoint((screen.width() - panel->width()) / 2, (screen.height() - panel->height()) / 2));

    // As a client's child (the way the screens use it) it lies over the client, at the same
    // place.
    QWidget client;
    client.resize(screen.size());
    InputPanelInterface child(
        layout == FourInchHex ? InputPanelInterface::Hexadecimal : InputPanelInterface::Decimal,
        &client);
    QCOMPARE(child.parentWidget(), &client);
    QCOMPARE(child.pos(), panel->pos());
    QVERIFY(child.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(child.windowFlags() & Qt::WindowStaysOnTopHint);
    // The key style reaches the keys there too.
    client.show();
    QVERIFY(QTest::qWaitForWindowExposed(&client));
    QCOMPARE(child.findChild<QPushButton *>(QStringLiteral("numberBtn_1"))->font().pointSize(), 24);
}

void TestInputPanelInterface::execEvDoesNotShow()
{
    auto panel = makePanel(SevenInch, false);
    QVERIFY(panel);
    QVERIFY(!panel->isVisible());
    QVERIFY(panel->execEv(QStringLiteral("12:00:00"), QStringLiteral("time")));
    QVERIFY(!panel->isVisible());
    TestSupport::DebugCapture quiet(TestSupport::DebugCapture::AllMessages);
    QVERIFY(panel->execEv(QStringLiteral("x"), QStringLiteral("no such type")));
    QVERIFY(!panel->isVisible());
    QCOMPARE(quiet.take(), QStringList { "setType FUCKKK!!!!" });
}

void TestInputPanelInterface::labelHighlight_data()
{
    QTest::addColumn<QString>("initial");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("label");

    QTest::newRow("date") << "2018/10/01"
                          << "YMD"
                          << "2018/<span style=\" color:#000000;\">1</span>0/01";
    QTest::newRow("date padded") << "2018/10/1"
                                 << "YMD"
                                 << "2018/<span style=\" color:#000000;\">1</span>0/01";
    QTest::newRow("MDY on the slash") << "10/1/2018"
                                      << "MDY"
                                      << "10/01<span style=\" color:#000000;\">/</span>2018";
    QTest::newRow("IP") << "192.168.1.10"
                        << "IP"
                        << "<span style=\" color:#000000;\">1</span>92.168.001.010";
    QTest::newRow("MAC") << "02:A7:3C:00:00:01"
                         << "MAC"
                         << "02:A7:3C:<span style=\" color:#000000;\">0</span>0:00:01";
    QTest::newRow("time") << "8:30:00"
                          << "time"
                          << "<span style=\" color:#000000;\">0</span>8:30:00";
    QTest::newRow("number") << "15"
                            << "backlight"
                            << "<span style=\" color:#000000;\">1</span>5";
    // An empty field still shows the highlight, on a blank.
    QTest::newRow("empty number") << ""
                                  << "port"
                                  << "<span style=\" color:#000000;\"> </span>";
}

void TestInputPanelInterface::labelHighlight()
{
    QFETCH(QString, initial);
    QFETCH(QString, type);
    QFETCH(QString, label);

    for (const Layout layout : { SevenInch, FourInchDecimal, FourInchHex }) {
        auto panel = makePanel(layout, false);
        QVERIFY(panel);
        QVERIFY(panel->execEv(initial, type));
        QCOMPARE(panel->findChild<QLabel *>(QStringLiteral("textLabel"))->text(), label);
    }
}

// ---- keys -----------------------------------------------------------------------------------

void TestInputPanelInterface::everyKeyClicks_data()
{
    QTest::addColumn<Layout>("layout");
    QTest::addColumn<QString>("key");
    for (const Layout layout : { SevenInch, FourInchDecimal, FourInchHex }) {
        const QStringList keys = allKeys(layout);
        for (const QString &key : keys)
            QTest::addRow("%s %s", layoutName(layout), qPrintable(key)) << layout << key;
    }
}

void TestInputPanelInterface::everyKeyClicks()
{
    QFETCH(Layout, layout);
    QFETCH(QString, key);

    auto panel = makePanel(layout);
    QVERIFY(panel);
    QSignalSpy proceedSpy(panel.get(), &InputPanelInterface::proceed);
    QVERIFY(proceedSpy.isValid());
    panel->execEv(QStringLiteral("02:A7:3C:00:00:01"), QStringLiteral("MAC"));
    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    const QString before = label->text();
    TestSupport::clearEvents();

    auto *button = panel->findChild<QPushButton *>(key);
    QVERIFY(button);
    QTest::mousePress(button, Qt::LeftButton);
    // The click sounds on the press, before the key does anything.
    QCOMPARE(sounds(), QStringList { "sound 2" });
    QCOMPARE(label->text(), before);
    QTest::mouseRelease(button, Qt::LeftButton);

    // The filter does not swallow the press: the key did its work.
    QCOMPARE(sounds(), QStringList { "sound 2" });
    if (key == QLatin1String("OKBtn")) {
        QCOMPARE(proceedSpy.count(), 1);
        QCOMPARE(label->text(), before);
    } else {
        QCOMPARE(proceedSpy.count(), 0);
        QVERIFY(label->text() != before);
    }
}

void TestInputPanelInterface::otherEventsSilent()
{
    auto panel = makePanel(FourInchHex);
    QVERIFY(panel);
    panel->execEv(QStringLiteral("02:A7:3C:00:00:01"), QStringLiteral("MAC"));
    auto *key = panel->findChild<QPushButton *>(QStringLiteral("numberBtn_A"));
    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    QVERIFY(key);
    QVERIFY(label);
    TestSupport::clearEvents();

    QTest::mouseRelease(key, Qt::LeftButton);
    QTest::mouseMove(key);
    QTest::keyClick(key, Qt::Key_1);
    QTest::mouseDClick(label, Qt::LeftButton);
    QTest::mouseClick(label, Qt::LeftButton);
    QTest::mouseDClick(key, Qt::LeftButton);
    // Only a press (event type 2) on a key clicks; a double-click event is not a press.
    QCOMPARE(sounds(), QStringList());
    QTest::mousePress(key, Qt::LeftButton);
    QCOMPARE(sounds(), QStringList { "sound 2" });
}

void TestInputPanelInterface::typing_data()
{
    QTest::addColumn<Layout>("layout");
    QTest::addColumn<QString>("initial");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pos");
    QTest::addColumn<QStringList>("proceeded");
    QTest::addColumn<int>("errors");

    const QStringList digits { "numberBtn_1", "numberBtn_2", "numberBtn_3", "numberBtn_4",
        "numberBtn_5", "numberBtn_6", "numberBtn_7", "numberBtn_8", "numberBtn_9", "numberBtn_0" };
    for (const Layout layout : { SevenInch, FourInchDecimal, FourInchHex }) {
        const char *name = layoutName(layout);
        QTest::addRow("%s time", name)
            << layout << "12:34:56"
            << "time"
            << QStringList { "forwardBtn", "numberBtn_5", "numberBtn_9", "backwardBtn", "OKBtn" }
            << "12:59:56" << 3 << QStringList { "12:59:56" } << 0;
        QTest::addRow("%s all digits", name)
            << layout << "02:A7:3C:00:00:01"
            << "MAC" << (QStringList(digits) << "OKBtn") << "02:A7:3C:12:34:50" << 16
            << QStringList { "02:A7:3C:12:34:50" } << 0;
        QTest::addRow("%s address", name)
            << layout << "192.168.1.10"
            << "IP"
            << QStringList { "numberBtn_1", "numberBtn_0", "numberBtn_0", "forwardBtn",
                   "forwardBtn", "numberBtn_2", "numberBtn_5", "numberBtn_4", "OKBtn" }
            << "100.168.001.254" << 14 << QStringList { "100.168.001.254" } << 0;
        QTest::addRow("%s backlight", name)
            << layout << "5"
            << "backlight"
            << QStringList { "numberBtn_1", "numberBtn_5", "numberBtn_0", "OKBtn", "backwardBtn",
                   "numberBtn_7", "OKBtn" }
            << "7" << 0 << QStringList { "15", "7" } << 1;
        QTest::addRow("%s wraps and stops", name)
            << layout << "2018/10/1"
            << "YMD"
            << QStringList { "forwardBtn", "forwardBtn", "backwardBtn", "backwardBtn",
                   "backwardBtn", "numberBtn_2", "numberBtn_0", "numberBtn_2", "numberBtn_4",
                   "OKBtn" }
            << "2024/10/01" << 5 << QStringList { "2024/10/01" } << 0;
    }
    QTest::newRow("4-inch hex letters")
        << FourInchHex << "02:A7:3C:00:00:01"
        << "MAC"
        << QStringList { "numberBtn_A", "numberBtn_B", "numberBtn_C", "numberBtn_D", "numberBtn_E",
               "numberBtn_F", "OKBtn" }
        << "02:A7:3C:AB:CD:EF" << 16 << QStringList { "02:A7:3C:AB:CD:EF" } << 0;
    QTest::newRow("4-inch hex from the start")
        << FourInchHex << "02:A7:3C:00:00:01"
        << "MAC"
        << QStringList { "forwardBtn", "forwardBtn", "forwardBtn", "numberBtn_F", "numberBtn_0",
               "numberBtn_E", "OKBtn" }
        << "F0:E7:3C:00:00:01" << 4 << QStringList { "F0:E7:3C:00:00:01" } << 0;
}

void TestInputPanelInterface::typing()
{
    QFETCH(Layout, layout);
    QFETCH(QString, initial);
    QFETCH(QString, type);
    QFETCH(QStringList, keys);
    QFETCH(QString, text);
    QFETCH(int, pos);
    QFETCH(QStringList, proceeded);
    QFETCH(int, errors);

    auto panel = makePanel(layout);
    QVERIFY(panel);
    QSignalSpy proceedSpy(panel.get(), &InputPanelInterface::proceed);
    QVERIFY(proceedSpy.isValid());
    panel->execEv(initial, type);
    TestSupport::clearEvents();

    for (const QString &name : keys) {
        auto *key = panel->findChild<QPushButton *>(name);
        QVERIFY2(key, qPrintable(name));
        QTest::mouseClick(key, Qt::LeftButton);
    }

    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    QCOMPARE(label->text(), highlighted(text, pos));
    QStringList emitted;
    for (const QList<QVariant> &arguments : std::as_const(proceedSpy))
        emitted.append(arguments.at(0).toString());
    QCOMPARE(emitted, proceeded);
    const QStringList sounds = TestSupport::sounds();
    QCOMPARE(sounds.count(QStringLiteral("sound 2")), keys.size());
    QCOMPARE(sounds.count(QStringLiteral("sound 5")), errors);
    QCOMPARE(sounds.size(), keys.size() + errors);
    // The panel never hides itself.
    QVERIFY(panel->isVisible());
}

void TestInputPanelInterface::okRefused_data()
{
    QTest::addColumn<Layout>("layout");
    QTest::addColumn<QString>("initial");
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("pos");

    for (const Layout layout : { SevenInch, FourInchDecimal, FourInchHex }) {
        const char *name = layoutName(layout);
        QTest::addRow("%s address", name) << layout << "10.300.0.1"
                                          << "gateway" << 4;
        QTest::addRow("%s date", name) << layout << "2100/01/01"
                                       << "YMD" << 0;
        QTest::addRow("%s time", name) << layout << "24:00:00"
                                       << "time" << 0;
        QTest::addRow("%s number", name) << layout << "61"
                                         << "screensaver" << 0;
    }
}

void TestInputPanelInterface::okRefused()
{
    QFETCH(Layout, layout);
    QFETCH(QString, initial);
    QFETCH(QString, type);
    QFETCH(int, pos);

    auto panel = makePanel(layout);
    QVERIFY(panel);
    QSignalSpy proceedSpy(panel.get(), &InputPanelInterface::proceed);
    QVERIFY(proceedSpy.isValid());
    panel->execEv(initial, type);
    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    const QString text = label->text().remove(openTag).remove(closeTag);
    // Step off the starting place so that the cursor visibly moves back.
    QTest::mouseClick(
        panel->findChild<QPushButton *>(QStringLiteral("forwardBtn")), Qt::LeftButton);
    TestSupport::clearEvents();

    QTest::mouseClick(panel->findChild<QPushButton *>(QStringLiteral("OKBtn")), Qt::LeftButton);
    QCOMPARE(proceedSpy.count(), 0);
    QCOMPARE(sounds(), (QStringList { "sound 2", "sound 5" }));
    QCOMPARE(label->text(), highlighted(text, pos));
    QVERIFY(panel->isVisible());
}

void TestInputPanelInterface::lastCharacterHighlight_data()
{
    addLayoutRows();
}

void TestInputPanelInterface::lastCharacterHighlight()
{
    QFETCH(Layout, layout);
    auto panel = makePanel(layout);
    QVERIFY(panel);
    panel->execEv(QStringLiteral("12:34:56"), QStringLiteral("time"));
    auto *forward = panel->findChild<QPushButton *>(QStringLiteral("forwardBtn"));
    QTest::mouseClick(forward, Qt::LeftButton);
    QTest::mouseClick(forward, Qt::LeftButton);
    auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
    QCOMPARE(label->text(), highlighted(QStringLiteral("12:34:56"), 6));

    const QString expected[] = { "12:34:16", "12:34:12", "12:34:13", "12:34:14" };
    for (int i = 0; i < 4; ++i) {
        QTest::mouseClick(
            panel->findChild<QPushButton *>(QStringLiteral("numberBtn_%1").arg(i + 1)),
            Qt::LeftButton);
        QCOMPARE(label->text(), highlighted(expected[i], 7));
    }
    QVERIFY(label->text().endsWith(openTag + QLatin1Char('4') + closeTag));
}

void TestInputPanelInterface::languageChange()
{
    for (const Layout layout : { SevenInch, FourInchDecimal, FourInchHex }) {
        auto panel = makePanel(layout, false);
        QVERIFY(panel);
        panel->execEv(QStringLiteral("2018/10/01"), QStringLiteral("YMD"));
        auto *one = panel->findChild<QPushButton *>(QStringLiteral("numberBtn_1"));
        auto *label = panel->findChild<QLabel *>(QStringLiteral("textLabel"));
        const QString shown = label->text();

        // Another kind of change leaves the texts alone.
        one->setText(QStringLiteral("x"));
        panel->setWindowTitle(QStringLiteral("y"));
        QEvent fontChange(QEvent::FontChange);
        QCoreApplication::sendEvent(panel.get(), &fontChange);
        QCOMPARE(one->text(), QStringLiteral("x"));

        QEvent languageChange(QEvent::LanguageChange);
        QCOMPARE(int(languageChange.type()), 89);
        QCoreApplication::sendEvent(panel.get(), &languageChange);
        QCOMPARE(one->text(), QStringLiteral("1"));
        QCOMPARE(panel->windowTitle(), QStringLiteral("Form"));
        QCOMPARE(label->text(), shown);
        QCOMPARE(panel->styleSheet(), keyStyle);
    }
}

void TestInputPanelInterface::destruction_data()
{
    addLayoutRows();
}

void TestInputPanelInterface::destruction()
{
    QFETCH(Layout, layout);
    QVERIFY(TestSupport::setSimModel(modelOf(layout)));
    const auto base
        = layout == FourInchHex ? InputPanelInterface::Hexadecimal : InputPanelInterface::Decimal;
    {
        InputPanelInterface panel(base);
        panel.execEv(QStringLiteral("1.2.3.4"), QStringLiteral("IP"));
        QTest::mouseClick(
            panel.findChild<QPushButton *>(QStringLiteral("numberBtn_1")), Qt::LeftButton);
    }
    // Owned by a client screen and deleted with it.
    auto *client = new QWidget;
    QPointer<InputPanelInterface> child = new InputPanelInterface(base, client);
    child->execEv(QStringLiteral("12:00:00"), QStringLiteral("time"));
    delete client;
    QVERIFY(child.isNull());
}

QTEST_MAIN(TestInputPanelInterface)
#include "tst_inputpanelinterface.moc"
