// Checks the compiled-in image collection: every path the screens use resolves and decodes,
// and the collection holds nothing else.
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QSet>
#include <QSize>
#include <QStringList>
#include <QtTest>

namespace {

const QStringList ImageNames = {
    QStringLiteral("dip_on_icon.png"),
    QStringLiteral("quorvan.jpg"),
    QStringLiteral("input-ok.png"),
    QStringLiteral("plain button1.png"),
    QStringLiteral("input-right.png"),
    QStringLiteral("plain button.png"),
    QStringLiteral("input-left.png"),
    QStringLiteral("dip_panel.png"),
    QStringLiteral("input-right1.png"),
    QStringLiteral("inputpanelBG.png"),
    QStringLiteral("input-label.png"),
    QStringLiteral("inputBtn1.png"),
    QStringLiteral("input-ok1.png"),
    QStringLiteral("dipIcon0.png"),
    QStringLiteral("dipIcon1.png"),
    QStringLiteral("input-left1.png"),
    QStringLiteral("inputBtn.png"),
};

QImage load(const QString &name)
{
    return QImage(QStringLiteral(":/img/") + name);
}

} // namespace

class tst_Resources : public QObject {
    Q_OBJECT

private slots:
    void imageLoads_data();
    void imageLoads();
    void collectionHoldsExactlyTheImages();
    void pairsShareTheirSize_data();
    void pairsShareTheirSize();
    void pressedFacesAreDarker_data();
    void pressedFacesAreDarker();
    void dipPartsFitTheScreenLayout();
    void dipSwitchPositionsDiffer();
    void logoIsJpeg();
};

void tst_Resources::imageLoads_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QSize>("minimum");
    QTest::addColumn<QSize>("maximum");

    // Faces are stretched by style sheets; they are drawn near the size they are shown at.
    const QSize keyMin(40, 40), keyMax(160, 160);
    QTest::newRow("plain button") << "plain button.png" << QSize(100, 30) << QSize(300, 60);
    QTest::newRow("plain button1") << "plain button1.png" << QSize(100, 30) << QSize(300, 60);
    QTest::newRow("inputBtn") << "inputBtn.png" << keyMin << keyMax;
    QTest::newRow("inputBtn1") << "inputBtn1.png" << keyMin << keyMax;
    QTest::newRow("input-left") << "input-left.png" << keyMin << keyMax;
    QTest::newRow("input-left1") << "input-left1.png" << keyMin << keyMax;
    QTest::newRow("input-right") << "input-right.png" << keyMin << keyMax;
    QTest::newRow("input-right1") << "input-right1.png" << keyMin << keyMax;
    QTest::newRow("input-ok") << "input-ok.png" << keyMin << keyMax;
    QTest::newRow("input-ok1") << "input-ok1.png" << keyMin << keyMax;
    QTest::newRow("input-label") << "input-label.png" << QSize(150, 30) << QSize(400, 100);
    QTest::newRow("inputpanelBG") << "inputpanelBG.png" << QSize(150, 200) << QSize(400, 480);
    // The DIP panel must fit a 480 x 272 screen with a 25-pixel hint band below it.
    QTest::newRow("dip_panel") << "dip_panel.png" << QSize(100, 80) << QSize(480, 222);
    QTest::newRow("dipIcon0") << "dipIcon0.png" << QSize(10, 20) << QSize(60, 120);
    QTest::newRow("dipIcon1") << "dipIcon1.png" << QSize(10, 20) << QSize(60, 120);
    QTest::newRow("dip_on_icon") << "dip_on_icon.png" << QSize(8, 8) << QSize(60, 32);
    // The logo sits above three rows of a fixed 480 x 272 form.
    QTest::newRow("quorvan") << "quorvan.jpg" << QSize(100, 30) << QSize(458, 130);
}

void tst_Resources::imageLoads()
{
    QFETCH(QString, name);
    QFETCH(QSize, minimum);
    QFETCH(QSize, maximum);

    const QString path = QStringLiteral(":/img/") + name;
    QVERIFY2(QFile::exists(path), qPrintable(path));
    QImageReader reader(path);
    const QImage image = reader.read();
    QVERIFY2(!image.isNull(), qPrintable(path + QStringLiteral(": ") + reader.errorString()));
    QVERIFY2(image.width() >= minimum.width() && image.height() >= minimum.height(),
        qPrintable(
            QStringLiteral("%1 is only %2x%3").arg(path).arg(image.width()).arg(image.height())));
    QVERIFY2(image.width() <= maximum.width() && image.height() <= maximum.height(),
        qPrintable(QStringLiteral("%1 is %2x%3").arg(path).arg(image.width()).arg(image.height())));
}

void tst_Resources::collectionHoldsExactlyTheImages()
{
    QSet<QString> found;
    QDirIterator it(QStringLiteral(":/img"), QDir::AllEntries | QDir::NoDotAndDotDot,
        QDirIterator::Subdirectories);
    while (it.hasNext())
        found.insert(it.next());

    QSet<QString> expected;
    for (const QString &name : ImageNames)
        expected.insert(QStringLiteral(":/img/") + name);
    QCOMPARE(ImageNames.size(), 17);
    QCOMPARE(found, expected);
}

// The normal and pressed faces of every key and button.
static void addFacePairs()
{
    QTest::addColumn<QString>("normal");
    QTest::addColumn<QString>("pressed");
    QTest::newRow("plain button") << "plain button.png"
                                  << "plain button1.png";
    QTest::newRow("inputBtn") << "inputBtn.png"
                              << "inputBtn1.png";
    QTest::newRow("input-left") << "input-left.png"
                                << "input-left1.png";
    QTest::newRow("input-right") << "input-right.png"
                                 << "input-right1.png";
    QTest::newRow("input-ok") << "input-ok.png"
                              << "input-ok1.png";
}

void tst_Resources::pairsShareTheirSize_data()
{
    addFacePairs();
    QTest::newRow("dipIcon") << "dipIcon0.png"
                             << "dipIcon1.png";
}

// A button must not change shape when it is pressed.
void tst_Resources::pairsShareTheirSize()
{
    QFETCH(QString, normal);
    QFETCH(QString, pressed);
    QCOMPARE(load(normal).size(), load(pressed).size());
}

void tst_Resources::pressedFacesAreDarker_data()
{
    addFacePairs();
}

// Light text sits on the faces, and a pressed face must look pushed in: both faces are dark,
// the pressed one darker on average.
void tst_Resources::pressedFacesAreDarker()
{
    QFETCH(QString, normal);
    QFETCH(QString, pressed);
    const auto meanLightness = [](const QImage &source) {
        const QImage image = source.convertToFormat(QImage::Format_ARGB32);
        qint64 sum = 0, count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) < 255)
                    continue;
                sum += qGray(pixel);
                ++count;
            }
        }
        return count ? double(sum) / count : -1.0;
    };
    const double up = meanLightness(load(normal));
    const double down = meanLightness(load(pressed));
    QVERIFY2(up > 0 && down > 0, "faces have no opaque pixels");
    QVERIFY2(down < up, qPrintable(QStringLiteral("pressed %1, normal %2").arg(down).arg(up)));
    QVERIFY2(
        up < 128, qPrintable(QStringLiteral("normal face too light for light text: %1").arg(up)));
}

// The DIP screen puts the first switch 18 x 37 into the panel, 19 pixels between switches,
// the labels 16 pixels under them and the ON marker 32 pixels above the last one: all of
// that must land on the panel.
void tst_Resources::dipPartsFitTheScreenLayout()
{
    const QImage panel = load(QStringLiteral("dip_panel.png"));
    const QImage sw = load(QStringLiteral("dipIcon0.png"));
    const QImage on = load(QStringLiteral("dip_on_icon.png"));
    const int lastSwitchX = 18 + 3 * (sw.width() + 19);
    QVERIFY(lastSwitchX + sw.width() < panel.width());
    QVERIFY(37 + sw.height() + 16 < panel.height());
    QVERIFY(lastSwitchX - 3 + on.width() <= panel.width());
    QVERIFY(on.height() <= 32);
}

void tst_Resources::dipSwitchPositionsDiffer()
{
    QVERIFY(load(QStringLiteral("dipIcon0.png")) != load(QStringLiteral("dipIcon1.png")));
}

void tst_Resources::logoIsJpeg()
{
    QImageReader reader(QStringLiteral(":/img/quorvan.jpg"));
    QCOMPARE(reader.format(), QByteArray("jpeg"));
}

QTEST_GUILESS_MAIN(tst_Resources)
#include "tst_resources.moc"
