// The popup buttons over the black pages: outside their rounded frame they show what is under
// them, not the white of a window.
#include "app/benchtest.h"
#include "common/functionbutton.h"
#include "tests/support/testsupport.h"

#include <QApplication>
#include <QImage>
#include <QTest>

class tst_PopupButtons : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cornersAreSeeThrough_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<QString>("text");
        QTest::newRow("Start") << int(BenchTest::Popup::Start) << QStringLiteral("Start");
        QTest::newRow("Again") << int(BenchTest::Popup::Again) << QStringLiteral("Again");
        QTest::newRow("Next") << int(BenchTest::Popup::Next) << QStringLiteral("Next");
    }

    void cornersAreSeeThrough()
    {
        QFETCH(int, which);
        QFETCH(QString, text);
        TestSupport::writeSim(QStringLiteral("dip"), QStringLiteral("0"));
        BenchTest bench;
        FunctionButton *button = bench.popup(BenchTest::Popup(which));
        QVERIFY(button);
        QCOMPARE(button->text().trimmed(), text);
        QVERIFY(button->isWindow());
        QVERIFY(button->testAttribute(Qt::WA_TranslucentBackground));
        // Drawn on its own, the corner outside the rounded image stays fully transparent.
        QImage image(button->size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        button->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(image.pixel(image.width() - 1, image.height() - 1)), 0);
        // ... while its middle is drawn.
        QVERIFY(qAlpha(image.pixel(image.width() / 2, image.height() / 2)) > 0);
    }
};

QTEST_MAIN(tst_PopupButtons)
#include "tst_popupbuttons.moc"
