#include "tslibpointer.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QList>
#include <QMouseEvent>
#include <QPointer>
#include <QSocketNotifier>
#include <QWindow>

#include <tslib.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

// Calibrated samples from ts_read become mouse events of the window under the touch. Our own
// handler on both Qt versions: Qt 5 on Debian has no tslib plugin, and Qt 6's plugin makes its
// first read only when a touch arrives, so a line that flushes on first read loses that touch
// after every reopen.
class TslibPointer : public QObject {
public:
    explicit TslibPointer(tsdev *dev) : dev(dev), notifier(ts_fd(dev), QSocketNotifier::Read, this)
    {
        connect(&notifier, &QSocketNotifier::activated, this, [this] { readSamples(); });
    }
    ~TslibPointer() override { ts_close(dev); }

private:
    void readSamples()
    {
        // Everything waiting is read first: a receiver of the events may close this pointer.
        QList<ts_sample> samples;
        ts_sample sample;
        while (ts_read(dev, &sample, 1) == 1)
            samples << sample;
        QPointer<TslibPointer> alive(this);
        for (const ts_sample &s : samples) {
            if (!alive)
                return;
            const bool down = s.pressure > 0;
            // A release has no place of its own on a panel read through the kernel's input
            // layer (tslib's input module gives 0, 0): the finger leaves where it last was.
            const QPoint pos = down || !pressed ? QPoint(s.x, s.y) : last;
            if (down)
                last = pos;
            QEvent::Type type = QEvent::MouseMove;
            if (down && !pressed)
                type = QEvent::MouseButtonPress;
            else if (!down && pressed)
                type = QEvent::MouseButtonRelease;
            else if (!down)
                continue;
            pressed = down;
            deliver(type, pos, down);
        }
    }

    void deliver(QEvent::Type type, const QPoint &pos, bool down)
    {
        QWindow *window = grabbed ? grabbed.data() : QGuiApplication::topLevelAt(pos);
        if (!window)
            return;
        grabbed = down ? window : nullptr;
        const QPointF local = window->mapFromGlobal(pos);
        const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, local, local, QPointF(pos), button,
            down ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &event);
    }

    tsdev *dev;
    QSocketNotifier notifier;
    QPointer<QWindow> grabbed;
    bool pressed = false;
    QPoint last;
};

} // namespace

QObject *createTslibPointer(QByteArray *reason)
{
    const char *variable = getenv("TSLIB_TSDEVICE");
    const QByteArray device = variable ? variable : "/dev/input/event0";
    tsdev *dev = ts_open(device.constData(), 1);
    if (!dev) {
        const int error = errno;
        if (reason)
            *reason = "cannot open " + device + " (" + QByteArray(strerror(error)) + ")";
        return nullptr;
    }
    if (ts_config(dev)) {
        ts_close(dev);
        if (reason) {
            const char *conf = getenv("TSLIB_CONFFILE");
            *reason = "tslib cannot set up " + device + " (configuration "
                + QByteArray(conf ? conf : "tslib's default ts.conf") + ")";
        }
        return nullptr;
    }
    // The first read sets the line up and flushes it; done now, no later touch is lost.
    ts_sample sample;
    ts_read(dev, &sample, 1);
    return new TslibPointer(dev);
}
