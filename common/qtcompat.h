// The few places where Qt 5.15 and Qt 6 differ, kept in one spot.
#pragma once

#include <QLabel>
#include <QPixmap>
#include <QRect>
#include <QSignalMapper>
#include <QtGlobal>

// Geometry of the default screen (the whole panel).
QRect screenGeometry();

// QSignalMapper's typed signals. Qt 5.15 has both spellings, Qt 6 only mappedInt and
// mappedString, and our Qt 5 build disables the deprecated mapped() overloads.
template <typename Receiver, typename Slot>
void connectMappedInt(QSignalMapper *mapper, const Receiver *receiver, Slot slot)
{
    QObject::connect(mapper, &QSignalMapper::mappedInt, receiver, slot);
}

template <typename Receiver, typename Slot>
void connectMappedString(QSignalMapper *mapper, const Receiver *receiver, Slot slot)
{
    QObject::connect(mapper, &QSignalMapper::mappedString, receiver, slot);
}

// A label's picture: Qt 5.15 hands out a pointer (or a copy on request), Qt 6 a copy.
inline QPixmap labelPixmap(const QLabel *label)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return label->pixmap();
#else
    return label->pixmap(Qt::ReturnByValue);
#endif
}
