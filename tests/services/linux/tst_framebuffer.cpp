// The panel's description from the frame buffer and the configuration, and the calibration's
// XOR crosses drawn into a fake frame buffer.
#include "fakes.h"
#include "services/linux/boardconfig.h"
#include "tests/support/testsupport.h"

#include <QtTest>

class tst_Framebuffer : public QObject {
    Q_OBJECT
private slots:
    void describe_data();
    void describe();
    void noFramebufferGivesTheDefaults();
    void aCrossDrawnTwiceIsGone_data();
    void aCrossDrawnTwiceIsGone();
    void theCrossHasItsArms();
    void aCrossAtTheCornerIsClipped();
    void aPlainColourSetsThePixels();
    void aFileThatIsNoFramebufferFails();
};

void tst_Framebuffer::describe_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("rotate");
    QTest::addColumn<int>("configModel");
    QTest::addColumn<int>("configOrientation");
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("orientation");
    QTest::newRow("800x480") << 800 << 480 << 0 << -1 << -1 << 7 << 0;
    QTest::newRow("480x272 is model 4") << 480 << 272 << 0 << -1 << -1 << 4 << 0;
    QTest::newRow("rotated") << 800 << 600 << 1 << -1 << -1 << 7 << 1;
    QTest::newRow("configured model") << 1024 << 768 << 0 << 12 << -1 << 12 << 0;
    QTest::newRow("configured upright") << 800 << 480 << 3 << -1 << 0 << 7 << 0;
    QTest::newRow("configured rotated") << 480 << 272 << 0 << -1 << 1 << 4 << 1;
}

void tst_Framebuffer::describe()
{
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, rotate);
    QFETCH(int, configModel);
    QFETCH(int, configOrientation);
    QFETCH(int, model);
    QFETCH(int, orientation);
    FakeFramebuffer fb(width, height, 16, rotate);
    BoardConfig config;
    config.model = configModel;
    config.orientation = configOrientation;
    TestSupport::StderrCapture err;
    const PanelInfo panel = Panel::describe(config, &fb);
    QCOMPARE(panel.model, model);
    QCOMPARE(panel.width, width);
    QCOMPARE(panel.height, height);
    QCOMPARE(panel.orientation, orientation);
    QCOMPARE(err.text(), QByteArray());
}

void tst_Framebuffer::noFramebufferGivesTheDefaults()
{
    FakeFramebuffer fb(480, 272, 16);
    fb.fail = true;
    BoardConfig config;
    config.framebuffer = QStringLiteral("/nonexistent/fb7");
    TestSupport::StderrCapture err;
    const PanelInfo panel = Panel::describe(config, &fb);
    QCOMPARE(panel.model, 7);
    QCOMPARE(panel.width, 800);
    QCOMPARE(panel.height, 480);
    QCOMPARE(panel.orientation, 0);
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: /nonexistent/fb7: cannot be opened (fake); taking a 800x480 "
                   "panel, model 7, upright\n"));
}

void tst_Framebuffer::aCrossDrawnTwiceIsGone_data()
{
    QTest::addColumn<int>("bits");
    QTest::newRow("8 bit") << 8;
    QTest::newRow("16 bit") << 16;
    QTest::newRow("24 bit") << 24;
    QTest::newRow("32 bit") << 32;
}

void tst_Framebuffer::aCrossDrawnTwiceIsGone()
{
    QFETCH(int, bits);
    FakeFramebuffer fb(64, 48, bits);
    for (int i = 0; i < fb.memory.size(); ++i)
        fb.memory[i] = char(i * 31);
    const QByteArray before = fb.memory;
    std::size_t length = 0;
    unsigned char *pixels = fb.pixels(&length);
    Panel::drawCross(pixels, length, fb.shape, 30, 20, 0x80000002);
    QVERIFY(fb.memory != before);
    Panel::drawCross(pixels, length, fb.shape, 30, 20, 0x80000002);
    QCOMPARE(fb.memory, before);
}

void tst_Framebuffer::theCrossHasItsArms()
{
    FakeFramebuffer fb(64, 48, 8);
    std::size_t length = 0;
    unsigned char *pixels = fb.pixels(&length);
    Panel::drawCross(pixels, length, fb.shape, 30, 20, 0x80000002);
    const auto at = [&](int x, int y) { return int(quint8(fb.memory.at(y * 64 + x))); };
    // Palette index 2, XOR-drawn over black.
    QCOMPARE(at(30, 20), 2);
    QCOMPARE(at(20, 20), 2);
    QCOMPARE(at(40, 20), 2);
    QCOMPARE(at(30, 10), 2);
    QCOMPARE(at(30, 30), 2);
    QCOMPARE(at(19, 20), 0);
    QCOMPARE(at(41, 20), 0);
    QCOMPARE(at(30, 9), 0);
    QCOMPARE(at(31, 21), 0);
    QCOMPARE(fb.memory.count(char(2)), 41);
}

void tst_Framebuffer::aCrossAtTheCornerIsClipped()
{
    FakeFramebuffer fb(16, 12, 32);
    // A guard past the end of the pixels: drawing must never reach it.
    fb.memory.append(QByteArray(64, '\x5a'));
    std::size_t length = std::size_t(16 * 12 * 4);
    unsigned char *pixels = reinterpret_cast<unsigned char *>(fb.memory.data());
    Panel::drawCross(pixels, length, fb.shape, 15, 11, 0x80000002);
    Panel::drawCross(pixels, length, fb.shape, 0, 0, 0x80000002);
    Panel::drawCross(pixels, length, fb.shape, -50, 400, 0x80000002);
    QCOMPARE(fb.memory.right(64), QByteArray(64, '\x5a'));
    quint32 corner = 0;
    memcpy(&corner, fb.memory.constData() + (11 * 16 + 15) * 4, 4);
    QCOMPARE(corner, quint32(0x00FFFFFF));
}

void tst_Framebuffer::aPlainColourSetsThePixels()
{
    FakeFramebuffer fb(32, 32, 16);
    std::size_t length = 0;
    unsigned char *pixels = fb.pixels(&length);
    Panel::drawCross(pixels, length, fb.shape, 16, 16, 2);
    Panel::drawCross(pixels, length, fb.shape, 16, 16, 2);
    quint16 centre = 0;
    memcpy(&centre, fb.memory.constData() + (16 * 32 + 16) * 2, 2);
    QCOMPARE(centre, quint16(0xFFFF));
}

void tst_Framebuffer::aFileThatIsNoFramebufferFails()
{
    QTemporaryDir dir(scratchBase());
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("fb0"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, '\0'));
    file.close();
    KernelFramebuffer fb(path);
    FramebufferGeometry g;
    QVERIFY(!fb.geometry(&g));
    QCOMPARE(
        fb.problem(), QStringLiteral("is not a frame buffer (Inappropriate ioctl for device)"));
    std::size_t length = 0;
    QVERIFY(!fb.pixels(&length));

    KernelFramebuffer missing(QStringLiteral("/nonexistent/fb0"));
    QVERIFY(!missing.geometry(&g));
    QCOMPARE(missing.problem(), QStringLiteral("cannot be opened (No such file or directory)"));
}

QTEST_GUILESS_MAIN(tst_Framebuffer)
#include "tst_framebuffer.moc"
