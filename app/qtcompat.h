// The few places where Qt 5.15 and Qt 6 differ, kept in one spot.
#pragma once

#include <QRect>
#include <QSignalMapper>
#include <QtGlobal>

// Geometry of the default screen (the whole panel).
QRect screenGeometry();

// QSignalMapper's typed signals: mappedInt/mappedString from Qt 5.15 on (the deprecated
// mapped(int)/mapped(QString) are compiled out here), mapped() before.
template <typename Receiver, typename Slot>
void connectMappedInt(QSignalMapper *mapper, const Receiver *receiver, Slot slot)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
    QObject::connect(mapper, &QSignalMapper::mappedInt, receiver, slot);
#else
    QObject::connect(mapper, QOverload<int>::of(&QSignalMapper::mapped), receiver, slot);
#endif
}

template <typename Receiver, typename Slot>
void connectMappedString(QSignalMapper *mapper, const Receiver *receiver, Slot slot)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
    QObject::connect(mapper, &QSignalMapper::mappedString, receiver, slot);
#else
    QObject::connect(mapper, QOverload<const QString &>::of(&QSignalMapper::mapped), receiver, slot);
#endif
}
