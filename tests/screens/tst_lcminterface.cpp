// The LCD colour check: sixteen bars, then sixteen bands, laid one pixel in from the far edge;
// each "Continue" clicks, and a screen shown again starts on the bands.
#include "common/functionbutton.h"
#include "common/qtcompat.h"
#include "screens/lcminterface.h"
#include "tests/support/testsupport.h"

#include <QBoxLayout>
#include <QPainter>
#include <QSignalSpy>
#include <QSpacerItem>
#include <QTest>

using namespace TestSupport;

namespace {
// Never one of the sixteen colours: marks pixels the screen left alone.
const QColor Untouched(1, 2, 3);

QImage renderPage(LcmInterface &screen)
{
    QImage image(screen.size(), QImage::Format_RGB32);
    image.fill(Untouched);
    screen.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

} // namespace

class TestLcmInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void colours();
    void verticalBars_data();
    void verticalBars();
    void horizontalBands_data();
    void horizontalBands();
    void barsFollowTheFormula();
    void nullRectangles_data();
    void nullRectangles();
    void nullRectanglePaintsNothing();
    void paintsBarsThenBands();
    void layout();
    void continueSequence();
    void repeatedRunStartsOnBands();
    void setColorDirection();
    void foreignRectIndexInHorizontal();
};

void TestLcmInterface::init()
{
    clearEvents();
}

void TestLcmInterface::colours()
{
    LcmInterface screen;
    const QList<QColor> expected { QColor(Qt::white), QColor(Qt::yellow), QColor(255, 0, 255, 255),
        QColor(Qt::red), QColor(0, 255, 255, 255), QColor(Qt::green), QColor(Qt::blue),
        QColor(Qt::gray), QColor(Qt::white).darker(200), QColor(Qt::yellow).darker(200),
        QColor(255, 0, 255).darker(200), QColor(Qt::red).darker(200),
        QColor(0, 255, 255).darker(200), QColor(Qt::green).darker(200),
        QColor(Qt::blue).darker(200), QColor(Qt::black) };
    QCOMPARE(screen.colors(), expected);
    // Half the brightness, and gray has no darker shade.
    QVERIFY(qAbs(screen.colors().at(8).red() - 128) <= 1);
    QCOMPARE(screen.colors().at(8).red(), screen.colors().at(8).blue());
    QVERIFY(qAbs(screen.colors().at(14).blue() - 128) <= 1);
    QCOMPARE(screen.colors().at(14).red(), 0);
    QVERIFY(!screen.colors().contains(QColor(Qt::gray).darker(200)));
}

// Rows carry the panel they describe; rows for another panel are skipped.
void TestLcmInterface::verticalBars_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("index");
    QTest::addColumn<QRect>("bar");
    const QSize large(800, 480), small(480, 272);
    QTest::newRow("800x480 white") << large << 0 << QRect(QPoint(749, 0), QPoint(798, 479));
    QTest::newRow("800x480 yellow") << large << 1 << QRect(QPoint(699, 0), QPoint(748, 479));
    QTest::newRow("800x480 gray") << large << 7 << QRect(QPoint(399, 0), QPoint(448, 479));
    QTest::newRow("800x480 dark blue") << large << 14 << QRect(QPoint(49, 0), QPoint(98, 479));
    QTest::newRow("800x480 black") << large << 15 << QRect(QPoint(-1, 0), QPoint(48, 479));
    QTest::newRow("480x272 white") << small << 0 << QRect(QPoint(449, 0), QPoint(478, 271));
    QTest::newRow("480x272 black") << small << 15 << QRect(QPoint(-1, 0), QPoint(28, 271));
}

void TestLcmInterface::verticalBars()
{
    QFETCH(QSize, screen);
    QFETCH(int, index);
    QFETCH(QRect, bar);
    if (screenGeometry().size() != screen)
        QSKIP("row for another panel size");
    LcmInterface lcm;
    QCOMPARE(lcm.colorDirection(), LcmInterface::Vertical);
    QCOMPARE(lcm.currentColorRects(index), bar);
}

void TestLcmInterface::horizontalBands_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("index");
    QTest::addColumn<QRect>("band");
    const QSize large(800, 480), small(480, 272);
    QTest::newRow("800x480 white") << large << 0 << QRect(QPoint(0, 449), QPoint(799, 478));
    QTest::newRow("800x480 yellow") << large << 1 << QRect(QPoint(0, 419), QPoint(799, 448));
    QTest::newRow("800x480 black") << large << 15 << QRect(QPoint(0, -1), QPoint(799, 28));
    QTest::newRow("480x272 white") << small << 0 << QRect(QPoint(0, 254), QPoint(479, 270));
    QTest::newRow("480x272 black") << small << 15 << QRect(QPoint(0, -1), QPoint(479, 15));
}

void TestLcmInterface::horizontalBands()
{
    QFETCH(QSize, screen);
    QFETCH(int, index);
    QFETCH(QRect, band);
    if (screenGeometry().size() != screen)
        QSKIP("row for another panel size");
    LcmInterface lcm;
    lcm.setColorDirection(LcmInterface::Horizontal);
    QCOMPARE(lcm.currentColorRects(index), band);
}

void TestLcmInterface::barsFollowTheFormula()
{
    const QRect geometry = screenGeometry();
    const int W = geometry.width(), H = geometry.height();
    LcmInterface lcm;
    for (int i = 0; i < 16; ++i) {
        const int left = (W - 1) - (i + 1) * (W / 16);
        QCOMPARE(
            lcm.currentColorRects(i), QRect(QPoint(left, 0), QPoint(left + W / 16 - 1, H - 1)));
    }
    lcm.setColorDirection(LcmInterface::Horizontal);
    for (int i = 0; i < 16; ++i) {
        const int top = (H - 1) - (i + 1) * (H / 16);
        QCOMPARE(lcm.currentColorRects(i), QRect(QPoint(0, top), QPoint(W - 1, top + H / 16 - 1)));
    }
}

void TestLcmInterface::nullRectangles_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<int>("index");
    QTest::newRow("vertical 16") << int(LcmInterface::Vertical) << 16;
    QTest::newRow("vertical -1") << int(LcmInterface::Vertical) << -1;
    QTest::newRow("vertical 1000") << int(LcmInterface::Vertical) << 1000;
    QTest::newRow("horizontal 16") << int(LcmInterface::Horizontal) << 16;
    QTest::newRow("horizontal -1") << int(LcmInterface::Horizontal) << -1;
}

void TestLcmInterface::nullRectangles()
{
    QFETCH(int, direction);
    QFETCH(int, index);
    LcmInterface lcm;
    lcm.setColorDirection(LcmInterface::ColorDirection(direction));
    QVERIFY(lcm.currentColorRects(index).isNull());
    QCOMPARE(lcm.currentColorRects(index), QRect());
}

void TestLcmInterface::nullRectanglePaintsNothing()
{
    LcmInterface lcm;
    QImage image(64, 64, QImage::Format_RGB32);
    image.fill(Untouched);
    const QImage before = image;
    QPainter painter(&image);
    painter.fillRect(lcm.currentColorRects(16), Qt::white);
    painter.fillRect(lcm.currentColorRects(-1), Qt::white);
    painter.end();
    QCOMPARE(image, before);
}

void TestLcmInterface::paintsBarsThenBands()
{
    const QRect geometry = screenGeometry();
    LcmInterface lcm;
    lcm.setGeometry(geometry);
    lcm.show();
    QVERIFY(QTest::qWaitForWindowExposed(&lcm));
    const QRect button = lcm.findChild<FunctionButton *>()->geometry();
    for (const auto direction : { LcmInterface::Vertical, LcmInterface::Horizontal }) {
        lcm.setColorDirection(direction);
        const QImage image = renderPage(lcm);
        // The expected page: every colour in its rectangle, nothing else.
        QImage expected(lcm.size(), QImage::Format_RGB32);
        expected.fill(Untouched);
        QPainter painter(&expected);
        for (int i = 0; i < 16; ++i)
            painter.fillRect(lcm.currentColorRects(i), lcm.colors().at(i));
        painter.end();
        int differences = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (!button.contains(x, y) && image.pixel(x, y) != expected.pixel(x, y))
                    ++differences;
            }
        }
        QCOMPARE(differences, 0);
        const int W = geometry.width(), H = geometry.height();
        if (direction == LcmInterface::Vertical) {
            // The right-most column is never painted; black reaches the left edge.
            QCOMPARE(image.pixelColor(W - 1, 5), Untouched);
            QCOMPARE(image.pixelColor(W - 2, 5), QColor(Qt::white));
            QCOMPARE(image.pixelColor(0, 5), QColor(Qt::black));
        } else {
            QCOMPARE(image.pixelColor(5, H - 1), Untouched);
            QCOMPARE(image.pixelColor(5, H - 2), QColor(Qt::white));
            QCOMPARE(image.pixelColor(5, 0), QColor(Qt::black));
        }
    }
}

void TestLcmInterface::layout()
{
    const int constructionHeight = QWidget().height();
    LcmInterface lcm;
    auto *button = lcm.findChild<FunctionButton *>();
    QVERIFY(button);
    QCOMPARE(button->text(), QStringLiteral("Continue"));
    auto *column = qobject_cast<QVBoxLayout *>(lcm.layout());
    QVERIFY(column);
    QCOMPARE(column->spacing(), 0);
    QCOMPARE(column->contentsMargins(), QMargins());
    QCOMPARE(column->count(), 3);
    QCOMPARE(column->itemAt(0)->spacerItem()->sizeHint(), QSize(100, constructionHeight / 2));
    QCOMPARE(
        column->itemAt(0)->spacerItem()->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(column->itemAt(0)->spacerItem()->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(column->itemAt(2)->spacerItem()->sizeHint(), QSize(100, constructionHeight / 8));
    auto *row = qobject_cast<QHBoxLayout *>(column->itemAt(1)->layout());
    QVERIFY(row);
    QCOMPARE(row->count(), 3);
    QCOMPARE(row->itemAt(1)->widget(), button);

    // On the full screen the button floats centred, just below the middle.
    lcm.setGeometry(screenGeometry());
    lcm.show();
    QVERIFY(QTest::qWaitForWindowExposed(&lcm));
    QVERIFY(qAbs(button->geometry().center().x() - lcm.rect().center().x()) <= 1);
    QVERIFY(button->geometry().top() >= lcm.height() / 2 - 1);
}

void TestLcmInterface::continueSequence()
{
    LcmInterface lcm;
    lcm.setGeometry(screenGeometry());
    lcm.show();
    QVERIFY(QTest::qWaitForWindowExposed(&lcm));
    QSignalSpy exits(&lcm, &LcmInterface::exitSignal);
    QVERIFY(exits.isValid());
    auto *button = lcm.findChild<FunctionButton *>();
    PaintCounter paints(&lcm);

    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(sounds(), QStringList { QStringLiteral("sound 2") });
    QCOMPARE(lcm.colorDirection(), LcmInterface::Horizontal);
    QCOMPARE(exits.count(), 0);
    QTRY_VERIFY(paints.count > 0);
    // A page on its own keeps the height its spacers ask for; the bands follow the screen.
    const QImage bands = lcm.grab().toImage();
    QCOMPARE(bands.pixelColor(5, screenGeometry().height() - 2), QColor(Qt::white));
    QCOMPARE(bands.pixelColor(5, 0), QColor(Qt::black));

    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(sounds(), (QStringList { QStringLiteral("sound 2"), QStringLiteral("sound 2") }));
    QCOMPARE(exits.count(), 1);
    QCOMPARE(lcm.colorDirection(), LcmInterface::Horizontal);
}

void TestLcmInterface::repeatedRunStartsOnBands()
{
    LcmInterface lcm;
    QSignalSpy exits(&lcm, &LcmInterface::exitSignal);
    lcm.continueButtonClicked();
    lcm.continueButtonClicked();
    QCOMPARE(exits.count(), 1);
    // Shown again: nothing turned it back, so one press ends it.
    QCOMPARE(lcm.colorDirection(), LcmInterface::Horizontal);
    lcm.continueButtonClicked();
    QCOMPARE(exits.count(), 2);
    lcm.continueButtonClicked();
    QCOMPARE(exits.count(), 3);
    QCOMPARE(sounds().size(), 4);
    QCOMPARE(sounds().filter(QStringLiteral("sound 2")).size(), 4);
}

void TestLcmInterface::setColorDirection()
{
    LcmInterface lcm;
    lcm.setGeometry(screenGeometry());
    lcm.show();
    QVERIFY(QTest::qWaitForWindowExposed(&lcm));
    PaintCounter paints(&lcm);
    lcm.update();
    QTRY_VERIFY(paints.count > 0);
    settleWindows();
    paints.count = 0;
    lcm.setColorDirection(LcmInterface::Vertical);
    // Asserts that no paint comes: whatever was asked of the window system is done by now.
    settleWindows();
    QCOMPARE(paints.count, 0);
    lcm.setColorDirection(LcmInterface::Horizontal);
    QTRY_VERIFY(paints.count > 0);
    QCOMPARE(lcm.colorDirection(), LcmInterface::Horizontal);
    // Setting the direction makes no sound and does not leave.
    QVERIFY(sounds().isEmpty());
}

void TestLcmInterface::foreignRectIndexInHorizontal()
{
    // An unknown direction value reads the bands, like Horizontal.
    LcmInterface lcm;
    const QRect bar = lcm.currentColorRects(3);
    lcm.setColorDirection(LcmInterface::ColorDirection(7));
    QVERIFY(lcm.currentColorRects(3) != bar);
    lcm.setColorDirection(LcmInterface::Horizontal);
    const QRect band = lcm.currentColorRects(3);
    lcm.setColorDirection(LcmInterface::ColorDirection(7));
    QCOMPARE(lcm.currentColorRects(3), band);
}

QTEST_MAIN(TestLcmInterface)
#include "tst_lcminterface.moc"
