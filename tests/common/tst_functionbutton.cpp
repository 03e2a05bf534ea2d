// The common button: its application-wide style and its size on each panel.
#include "common/functionbutton.h"
#include "common/qtcompat.h"
#include "tests/support/testsupport.h"

#include <QApplication>
#include <QTest>

class TestFunctionButton : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void styleSheet();
    void secondButton();
    void secondButtonKeepsOthersPolished();
    void size800x480();
    void size480x272();
    void size320x240();
    void size1024x600();

private:
    static bool onScreen(int width, int height);
};

static const char ExpectedStyle[]
    = "QPushButton{\n\tfont: 16pt \"Microsoft JhengHei\";\n\tcolor: rgb(215, 215, 215);\n"
      "    border-image: url(:/img/plain button.png) 0 0 0 0 stretch stretch;    outline: 0;\n"
      "}QPushButton:Pressed{\n\tfont: 16pt \"Microsoft JhengHei\";\n\tcolor: rgb(255, 255, 255);\n"
      "    border-image: url(:/img/plain button1.png) 0 0 0 0 stretch stretch;    outline: 0;\n}\n";

void TestFunctionButton::styleSheet()
{
    qApp->setStyleSheet(QString());
    FunctionButton button(QStringLiteral("Continue"));
    QCOMPARE(qApp->styleSheet().toUtf8(), QByteArray(ExpectedStyle));
    QCOMPARE(button.styleSheet(), QString());
    QCOMPARE(button.text(), QStringLiteral("Continue"));
}

void TestFunctionButton::secondButton()
{
    FunctionButton first;
    qApp->setStyleSheet(QStringLiteral("QPushButton{}"));
    FunctionButton second;
    QCOMPARE(qApp->styleSheet().toUtf8(), QByteArray(ExpectedStyle));
    FunctionButton third;
    QCOMPARE(qApp->styleSheet().toUtf8(), QByteArray(ExpectedStyle));
}

void TestFunctionButton::secondButtonKeepsOthersPolished()
{
    FunctionButton first;
    QPushButton other;
    other.ensurePolished();
    // A new application sheet re-polishes every widget, each told so by a style change.
    TestSupport::EventCounter changes(&other, QEvent::StyleChange);
    FunctionButton second;
    FunctionButton third;
    // The sheet in place is the button sheet: nothing else is re-polished.
    QCOMPARE(changes.count, 0);
    QCOMPARE(qApp->styleSheet().toUtf8(), QByteArray(ExpectedStyle));
    // Another sheet in between: the next button sets its own again, and the others follow.
    qApp->setStyleSheet(QStringLiteral("QPushButton{}"));
    const int afterOther = changes.count;
    QVERIFY(afterOther > 0);
    FunctionButton fourth;
    QCOMPARE(qApp->styleSheet().toUtf8(), QByteArray(ExpectedStyle));
    QVERIFY(changes.count > afterOther);
}

// Each size is run on a screen of that size (see CMakeLists.txt); on any other screen it fails.
bool TestFunctionButton::onScreen(int width, int height)
{
    return screenGeometry().size() == QSize(width, height);
}

void TestFunctionButton::size800x480()
{
    QVERIFY2(onScreen(800, 480), "needs a 800x480 screen");
    FunctionButton button(QStringLiteral("Start"));
    QCOMPARE(button.size(), QSize(224, 42));
    QCOMPARE(button.minimumSize(), button.maximumSize());
}

void TestFunctionButton::size480x272()
{
    QVERIFY2(onScreen(480, 272), "needs a 480x272 screen");
    FunctionButton button(QStringLiteral("Start"));
    QCOMPARE(button.size(), QSize(145, 42));
    QCOMPARE(button.minimumSize(), button.maximumSize());
}

void TestFunctionButton::size320x240()
{
    QVERIFY2(onScreen(320, 240), "needs a 320x240 screen");
    FunctionButton button(QStringLiteral("Start"));
    QCOMPARE(button.size(), QSize(100, 42));
    QCOMPARE(button.minimumSize(), button.maximumSize());
}

void TestFunctionButton::size1024x600()
{
    QVERIFY2(onScreen(1024, 600), "needs a 1024x600 screen");
    FunctionButton button(QStringLiteral("Start"));
    // No fixed size on panels the bench does not know.
    QCOMPARE(button.minimumSize(), QSize(0, 0));
    QCOMPARE(button.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

QTEST_MAIN(TestFunctionButton)
#include "tst_functionbutton.moc"
