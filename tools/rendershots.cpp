// Renders the program's screens to PNG files so that a person can look at them without a
// unit: rendershots OUTDIR. Run it in a virtual unit with the screen size and model wanted;
// it shows the real BenchTest for the DIP value of the unit, then each page in turn.
#include "app/benchtest.h"
#include "common/functionbutton.h"
#include "screens/brightnessinterface.h"
#include "screens/dipswitchinterface.h"
#include "screens/keyandledinterface.h"
#include "screens/lcminterface.h"
#include "screens/rtcinterface.h"
#include "services/klcd.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QScreen>
#include <QStackedWidget>
#include <QTest>

namespace {
QString simFile(const QString &name)
{
    const QString dir = qEnvironmentVariable("BENCHTEST_SIM_DIR");
    return (dir.isEmpty() ? QStringLiteral("/sim") : dir) + QLatin1Char('/') + name;
}

// Flips the unit's switches in one step, as the DIP screen polls them.
void setDip(const QByteArray &text)
{
    const QString path = simFile(QStringLiteral("dip"));
    QFile file(path + QStringLiteral(".new"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    file.write(text);
    file.close();
    QFile::remove(path);
    file.rename(path);
}

void shoot(const QString &prefix, const QString &name)
{
    QTest::qWait(250);
    QGuiApplication::primaryScreen()->grabWindow(0).save(prefix + name + QStringLiteral(".png"));
}

// The states of the device check screens that the page walk does not show.
void shootScreenStates(QStackedWidget *stack, const QString &prefix)
{
    if (auto *lcm = stack->findChild<LcmInterface *>()) {
        stack->setCurrentWidget(lcm);
        lcm->setColorDirection(LcmInterface::Vertical);
        shoot(prefix, QStringLiteral("lcm-vertical"));
        lcm->setColorDirection(LcmInterface::Horizontal);
        shoot(prefix, QStringLiteral("lcm-horizontal"));
        lcm->setColorDirection(LcmInterface::Vertical);
    }
    if (auto *brightness = stack->findChild<BrightnessInterface *>()) {
        stack->setCurrentWidget(brightness);
        for (int level : { 0, 7, 20 }) {
            KLcd::getInstance()->setLcdBrightness(level, true);
            brightness->update();
            shoot(prefix, QStringLiteral("brightness-%1").arg(level));
        }
    }
    if (auto *dip = stack->findChild<DipSwitchInterface *>()) {
        QFile file(simFile(QStringLiteral("dip")));
        const QByteArray saved
            = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("0\n");
        file.close();
        setDip("0x0\n");
        stack->setCurrentWidget(dip);
        dip->run();
        shoot(prefix, QStringLiteral("dip-0000-on-hint"));
        setDip("0x1010\n");
        shoot(prefix, QStringLiteral("dip-1010-on-hint"));
        setDip("0x1111\n");
        shoot(prefix, QStringLiteral("dip-1111-off-hint"));
        setDip("0x0101\n");
        shoot(prefix, QStringLiteral("dip-0101-off-hint"));
        // Back to the switches the unit started with, before all OFF can end the page.
        setDip(saved);
        dip->exit();
    }
}
} // namespace

int main(int argc, char *argv[])
{
    // As the program does (app/main.cpp).
    if (!qEnvironmentVariableIsSet("QT_FONT_DPI"))
        qputenv("QT_FONT_DPI", "72");
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(out);
    const QSize size = QGuiApplication::primaryScreen()->geometry().size();
    const QString prefix
        = QStringLiteral("%1/%2x%3-").arg(out).arg(size.width()).arg(size.height());

    BenchTest bench;
    bench.setGeometry(QGuiApplication::primaryScreen()->geometry());
    bench.showFullScreen();
    if (!QTest::qWaitForWindowExposed(&bench))
        return 1;
    QTest::qWait(300);
    auto *stack = bench.findChild<QStackedWidget *>();
    for (int i = 0; stack && i < stack->count(); ++i) {
        QWidget *page = stack->widget(i);
        const QString name = QString::fromLatin1(page->metaObject()->className());
        const QString file
            = QStringLiteral("%1page%2-%3").arg(prefix).arg(i, 2, 10, QLatin1Char('0')).arg(name);
        auto shoot = [&](const QString &state) {
            QTest::qWait(100);
            QGuiApplication::primaryScreen()->grabWindow(0).save(
                file + state + QStringLiteral(".png"));
        };
        auto *rtc = qobject_cast<RtcInterface *>(page);
        // The clock screen as it is started: the date field.
        if (rtc)
            rtc->run();
        stack->setCurrentIndex(i);
        shoot(QString());
        if (auto *key = qobject_cast<KeyAndLedInterface *>(page)) {
            KeyAndLedInterface::input_event press = {};
            press.type = 1;
            press.code = 30;
            press.value = 1;
            for (int n = 0; n < 3; ++n)
                key->processHomekey(&press);
            shoot(QStringLiteral("-pressed3"));
            key->reset();
        }
        if (rtc) {
            rtc->editFinish(QStringLiteral("2024/02/29"));
            shoot(QStringLiteral("-time"));
            rtc->editFinish(QStringLiteral("23:59:59"));
            shoot(QStringLiteral("-result"));
        }
    }
    if (stack)
        shootScreenStates(stack, prefix);
    // The popup buttons over the communication page, as the worker sees them after a test.
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (auto *b = qobject_cast<FunctionButton *>(w)) {
            if (b->text() == QLatin1String("Start") || b->text() == QLatin1String("Again")
                || b->text() == QLatin1String("Next")) {
                b->show();
                b->raise();
            }
        }
    }
    QTest::qWait(200);
    QGuiApplication::primaryScreen()->grabWindow(0).save(prefix + QStringLiteral("popups.png"));
    return 0;
}
