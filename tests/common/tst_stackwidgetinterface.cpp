// The base of the "Continue" screens: its layout is sized once, at construction.
#include "common/functionbutton.h"
#include "common/stackwidgetinterface.h"

#include <QBoxLayout>
#include <QSignalSpy>
#include <QSpacerItem>
#include <QTest>

class TestStackWidgetInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void spacersUseConstructionHeight();
    void continueEmitsExitOnce();
    void paintsBlack();
};

void TestStackWidgetInterface::spacersUseConstructionHeight()
{
    // A parentless widget starts with QWidget's default geometry.
    const int constructionHeight = QWidget().height();
    StackWidgetInterface screen;
    QCOMPARE(screen.font().pixelSize(), 16);
    auto *column = qobject_cast<QVBoxLayout *>(screen.layout());
    QVERIFY(column);
    QCOMPARE(column->spacing(), 0);
    QCOMPARE(column->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(column->count(), 3);
    QSpacerItem *top = column->itemAt(0)->spacerItem();
    QSpacerItem *bottom = column->itemAt(2)->spacerItem();
    QVERIFY(top && bottom);
    QCOMPARE(top->sizeHint(), QSize(100, constructionHeight / 2));
    QCOMPARE(bottom->sizeHint(), QSize(100, constructionHeight / 8));
    QCOMPARE(top->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(top->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

    // Growing to full screen later does not resize the spacers.
    screen.resize(800, 480);
    QCOMPARE(top->sizeHint(), QSize(100, constructionHeight / 2));

    auto *row = qobject_cast<QHBoxLayout *>(column->itemAt(1)->layout());
    QVERIFY(row);
    QCOMPARE(row->count(), 3);
    auto *button = qobject_cast<FunctionButton *>(row->itemAt(1)->widget());
    QVERIFY(button);
    QCOMPARE(button->text(), QStringLiteral("Continue"));
}

void TestStackWidgetInterface::continueEmitsExitOnce()
{
    StackWidgetInterface screen;
    QSignalSpy exits(&screen, &StackWidgetInterface::exitSignal);
    QVERIFY(exits.isValid());
    auto *button = screen.findChild<FunctionButton *>();
    QVERIFY(button);
    screen.resize(800, 480);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(exits.count(), 1);
}

void TestStackWidgetInterface::paintsBlack()
{
    StackWidgetInterface screen;
    screen.resize(320, 240);
    const QImage image = screen.grab().toImage();
    QCOMPARE(image.pixelColor(5, 5), QColor(Qt::black));
    QCOMPARE(image.pixelColor(314, 234), QColor(Qt::black));
}

QTEST_MAIN(TestStackWidgetInterface)
#include "tst_stackwidgetinterface.moc"
