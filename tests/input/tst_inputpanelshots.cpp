// Pictures of the three keyboards on the screens they are made for (7-inch 800x480, 4-inch
// 480x272), saved as PNG for a person to look at, plus the size checks that keep the keys and
// the label usable: the panel fits the screen, each key holds its character, the label holds
// the longest field it shows.
#include "input/inputpanelinterface.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFontMetrics>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

class TestInputPanelShots : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void shot_data();
    void shot();

private:
    QTemporaryDir simDir;
    QByteArray originalModel;
    QString outputDir;
};

void TestInputPanelShots::initTestCase()
{
    TestSupport::installQuietPlatform();
    if (qEnvironmentVariableIsEmpty("BENCHTEST_SIM_DIR")) {
        QVERIFY(simDir.isValid());
        qputenv("BENCHTEST_SIM_DIR", simDir.path().toLocal8Bit());
    }
    originalModel = TestSupport::readSimFile(QStringLiteral("model"));
    outputDir = qEnvironmentVariable("BENCHTEST_SHOTS");
    // The unit's own writable directory: the source and build trees are read-only in a unit.
    if (outputDir.isEmpty())
        outputDir = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
    if (outputDir.isEmpty())
        outputDir = QDir::currentPath();
    QVERIFY(QDir().mkpath(outputDir));
}

void TestInputPanelShots::cleanupTestCase()
{
    if (originalModel.isEmpty())
        QFile::remove(TestSupport::simPath(QStringLiteral("model")));
    else
        TestSupport::writeSimFile(QStringLiteral("model"), originalModel);
}

void TestInputPanelShots::shot_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QString>("initial");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("mustFit");
    QTest::addColumn<QString>("file");

    const QStringList fields { "2018/10/01", "12:34:56", "255.255.255.255" };
    QTest::newRow("7-inch decimal")
        << 7 << false << QSize(800, 480) << "2018/10/1"
        << "YMD" << (QStringList(fields) << "02:A7:3C:00:00:01") << "inputpanel-7inch-800x480.png";
    QTest::newRow("4-inch decimal") << 4 << false << QSize(480, 272) << "12:34:56"
                                    << "time" << fields << "inputpanel-4inch-480x272.png";
    QTest::newRow("4-inch hexadecimal") << 4 << true << QSize(480, 272) << "02:A7:3C:00:00:01"
                                        << "MAC" << (QStringList(fields) << "02:A7:3C:00:00:01")
                                        << "inputpanel-hex-4inch-480x272.png";
}

void TestInputPanelShots::shot()
{
    QFETCH(int, model);
    QFETCH(bool, hex);
    QFETCH(QSize, screen);
    QFETCH(QString, initial);
    QFETCH(QString, type);
    QFETCH(QStringList, mustFit);
    QFETCH(QString, file);

    QVERIFY(TestSupport::setSimModel(model));

    // A black client screen of the panel's size with the keyboard over it, as the clock and
    // MAC screens use it.
    QWidget client;
    client.setFixedSize(screen);
    client.setAutoFillBackground(true);
    QPalette palette = client.palette();
    palette.setColor(QPalette::Window, Qt::black);
    client.setPalette(palette);
    InputPanelInterface panel(
        hex ? InputPanelInterface::Hexadecimal : InputPanelInterface::Decimal, &client);
    panel.move((screen.width() - panel.width()) / 2, (screen.height() - panel.height()) / 2);
    panel.execEv(initial, type);
    client.show();
    QVERIFY(QTest::qWaitForWindowExposed(&client));

    QVERIFY2(QRect(QPoint(0, 0), screen).contains(panel.geometry()),
        qPrintable(QStringLiteral("panel %1x%2 does not fit the screen")
                       .arg(panel.width())
                       .arg(panel.height())));

    const QList<QPushButton *> keys = panel.findChildren<QPushButton *>();
    QCOMPARE(keys.size(), hex ? 19 : 13);
    for (QPushButton *key : keys) {
        const QRect onPanel(key->mapTo(&panel, QPoint(0, 0)), key->size());
        QVERIFY2(panel.rect().contains(onPanel), qPrintable(key->objectName()));
        // Big enough for a finger.
        QVERIFY2(key->width() >= 56 && key->height() >= 40,
            qPrintable(QStringLiteral("%1 is %2x%3")
                           .arg(key->objectName())
                           .arg(key->width())
                           .arg(key->height())));
        if (!key->text().isEmpty()) {
            QCOMPARE(key->font().pointSize(), 24);
            const QFontMetrics metrics(key->font());
            QVERIFY2(metrics.height() <= key->height()
                    && metrics.horizontalAdvance(key->text()) <= key->width(),
                qPrintable(key->objectName()));
        }
    }

    auto *label = panel.findChild<QLabel *>(QStringLiteral("textLabel"));
    QVERIFY(label);
    QCOMPARE(label->font().pointSize(), 28);
    const QFontMetrics metrics(label->font());
    QVERIFY2(metrics.height() <= label->height(), qPrintable(QString::number(label->height())));
    for (const QString &text : mustFit) {
        QVERIFY2(metrics.horizontalAdvance(text) <= label->width(),
            qPrintable(QStringLiteral("\"%1\" needs %2 pixels, the label has %3")
                           .arg(text)
                           .arg(metrics.horizontalAdvance(text))
                           .arg(label->width())));
    }

    const QPixmap picture = client.grab();
    QCOMPARE(picture.size(), screen);
    const QString path = QDir(outputDir).filePath(file);
    QVERIFY2(picture.save(path), qPrintable(path));
    qInfo("%s", qPrintable(path));
}

QTEST_MAIN(TestInputPanelShots)
#include "tst_inputpanelshots.moc"
