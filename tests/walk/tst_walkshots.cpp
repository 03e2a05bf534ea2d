// A walk's screenshots against their screen texts: the picture of a stage shows that stage's
// last screen. Every push button the text lists must show, at its place in the picture, the
// program's button artwork; a picture taken after the walk has moved on shows another page
// there.
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTest>

namespace {

struct Button {
    QRect rect;
    QString text;
};

// The buttons of one screen text (KIND CLASS OBJECTNAME X Y WIDTH HEIGHT TEXT, tab-separated).
QList<Button> buttonsOf(const QString &textFile)
{
    QList<Button> buttons;
    QFile file(textFile);
    if (!file.open(QIODevice::ReadOnly))
        return buttons;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QStringList f = line.split(QLatin1Char('\t'));
        if (f.size() < 8 || f[0] != QLatin1String("button")
            || f[1] != QLatin1String("FunctionButton"))
            continue;
        buttons << Button { QRect(f[3].toInt(), f[4].toInt(), f[5].toInt(), f[6].toInt()), f[7] };
    }
    return buttons;
}

// The button artwork as the style sheet draws it: the whole image stretched over the button.
QImage artwork(const QString &name, const QSize &size)
{
    QImage out(size, QImage::Format_ARGB32);
    out.fill(Qt::transparent);
    QPainter painter(&out);
    painter.drawImage(QRect(QPoint(0, 0), size), QImage(name));
    return out;
}

// Mean difference per colour channel (0..255) between the picture and the artwork over the
// button's opaque rim: its text in the middle and its see-through corners are left out.
double rimDifference(const QImage &picture, const QRect &rect, const QImage &art)
{
    const QRect text(rect.width() / 6, rect.height() / 4, rect.width() * 2 / 3, rect.height() / 2);
    double sum = 0;
    int count = 0;
    for (int y = 0; y < rect.height(); ++y) {
        for (int x = 0; x < rect.width(); ++x) {
            const QRgb a = art.pixel(x, y);
            if (text.contains(x, y) || qAlpha(a) < 250)
                continue;
            const QRgb p = picture.pixel(rect.x() + x, rect.y() + y);
            sum += qAbs(qRed(p) - qRed(a)) + qAbs(qGreen(p) - qGreen(a))
                + qAbs(qBlue(p) - qBlue(a));
            count += 3;
        }
    }
    return count ? sum / count : 255;
}

} // namespace

class TestWalkShots : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void buttonsShow_data();
    void buttonsShow();
};

void TestWalkShots::buttonsShow_data()
{
    QTest::addColumn<QString>("shots");
    QTest::addColumn<QString>("stage");
    // Beside the build's walks (walk_good_model7, walk_good_model4 run first). The calibration's
    // last screen has Again and Next; the next stage's page has no button there.
    const QString walks = QCoreApplication::applicationDirPath() + QStringLiteral("/walks/");
    for (const char *walk : { "good_model7", "good_model4" })
        QTest::newRow(walk) << walks + QLatin1String(walk) + QStringLiteral("/shots")
                            << QStringLiteral("02-calibration");
}

void TestWalkShots::buttonsShow()
{
    QFETCH(QString, shots);
    QFETCH(QString, stage);
    const QDir dir(shots);
    const QStringList pictures
        = dir.entryList({ QStringLiteral("*.png") }, QDir::Files, QDir::Name);
    QVERIFY2(pictures.contains(stage + QStringLiteral(".png")),
        qPrintable(QStringLiteral("no %1.png in %2").arg(stage, shots)));

    int checked = 0;
    QStringList wrong;
    for (const QString &name : pictures) {
        const QString base = dir.filePath(name.chopped(4));
        const QImage picture
            = QImage(base + QStringLiteral(".png")).convertToFormat(QImage::Format_RGB32);
        QVERIFY2(!picture.isNull(), qPrintable(base + QStringLiteral(".png is not a picture")));
        const QList<Button> buttons = buttonsOf(base + QStringLiteral(".txt"));
        if (name.startsWith(stage))
            QVERIFY2(
                buttons.size() >= 2, qPrintable(base + QStringLiteral(".txt lists no buttons")));
        for (const Button &button : buttons) {
            if (!picture.rect().contains(button.rect))
                continue;
            // Released or held down: both looks are the button's.
            const double released = rimDifference(picture, button.rect,
                artwork(QStringLiteral(":/img/plain button.png"), button.rect.size()));
            const double pressed = rimDifference(picture, button.rect,
                artwork(QStringLiteral(":/img/plain button1.png"), button.rect.size()));
            const double difference = qMin(released, pressed);
            qDebug("%s \"%s\": %.1f", qPrintable(name), qPrintable(button.text), difference);
            ++checked;
            if (difference > 24)
                wrong << QStringLiteral("%1: \"%2\" at %3,%4 differs by %5")
                             .arg(name, button.text)
                             .arg(button.rect.x())
                             .arg(button.rect.y())
                             .arg(difference, 0, 'f', 1);
        }
    }
    QVERIFY2(checked >= 10, qPrintable(QStringLiteral("only %1 buttons to compare").arg(checked)));
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

QTEST_GUILESS_MAIN(TestWalkShots)
#include "tst_walkshots.moc"
