#include "services/displayserver.h"

#include "services/eventlog.h"
#include "tslibpointer.h"

#include <QByteArray>
#include <QCursor>
#include <QGuiApplication>
#include <QPointer>

#include <cstdio>

namespace {

QPointer<QObject> &pointer()
{
    static QPointer<QObject> handler;
    return handler;
}

int &currentTransformation()
{
    static int value = 0;
    return value;
}

// On a board the kernel hands every touch to every reader of the device. A unit whose touch
// line has one reader per device names the pointer's own in BENCHTEST_POINTER_TSDEVICE.
QObject *openPointer(QByteArray *reason = nullptr)
{
    const QByteArray own = qgetenv("BENCHTEST_POINTER_TSDEVICE");
    if (own.isEmpty())
        return createTslibPointer(reason);
    const QByteArray shared = qgetenv("TSLIB_TSDEVICE");
    const bool hadShared = qEnvironmentVariableIsSet("TSLIB_TSDEVICE");
    qputenv("TSLIB_TSDEVICE", own);
    QObject *handler = createTslibPointer(reason);
    if (hadShared)
        qputenv("TSLIB_TSDEVICE", shared);
    else
        qunsetenv("TSLIB_TSDEVICE");
    return handler;
}

} // namespace

namespace DisplayServer {

void closeMouse()
{
    delete pointer().data();
}

void openMouse()
{
    closeMouse();
    pointer() = openPointer();
    if (!pointer())
        fprintf(stderr, "display server: no touch pointer (tslib could not open the device)\n");
    recordHardwareEvent(QStringLiteral("pointer-reload"));
}

bool startMouse()
{
    closeMouse();
    QByteArray reason;
    pointer() = openPointer(&reason);
    if (!pointer()) {
        fprintf(stderr, "benchtest: touch panel: %s; going on without a touch pointer\n",
            reason.constData());
    }
    recordHardwareEvent(
        pointer() ? QStringLiteral("pointer-open") : QStringLiteral("pointer-open-failed"));
    return mouseOpen();
}

void reloadMouse()
{
    closeMouse();
    openMouse();
}

bool mouseOpen()
{
    return !pointer().isNull();
}

void hideCursor()
{
    // One blank override is enough; stacking more would need as many restores.
    const QCursor *cursor = QGuiApplication::overrideCursor();
    if (!cursor || cursor->shape() != Qt::BlankCursor)
        QGuiApplication::setOverrideCursor(QCursor(Qt::BlankCursor));
    recordHardwareEvent(QStringLiteral("cursor-hide"));
}

void setTransformation(int transformation)
{
    currentTransformation() = transformation;
    recordHardwareEvent(QStringLiteral("transform %1").arg(transformation));
}

int transformation()
{
    return currentTransformation();
}

} // namespace DisplayServer
