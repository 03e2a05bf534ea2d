#include "common/qtcompat.h"

#include <QGuiApplication>
#include <QScreen>

QRect screenGeometry()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry() : QRect();
}
