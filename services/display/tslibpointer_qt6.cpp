#include "tslibpointer.h"

#include <QGenericPluginFactory>
#include <QString>

// Qt 6 ships the tslib input plugin: the pointer is that plugin's handler.
QObject *createTslibPointer()
{
    return QGenericPluginFactory::create(QStringLiteral("tslib"), QString());
}
