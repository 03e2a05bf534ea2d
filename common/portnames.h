// Serial device paths (letter O, not zero) and the slave tester's TCP end point.
#pragma once

#include <QString>

static const QString COMPORT1 = QStringLiteral("/dev/ttyO0");
static const QString COMPORT2 = QStringLiteral("/dev/ttyO1");
static const QString COMPORT3 = QStringLiteral("/dev/ttyO2");
static const QString IPANDPORT = QStringLiteral("192.168.90.89 36888");
static const QString USBHOST = QStringLiteral("usb_host");
static const QString USBDEVICE = QStringLiteral("usb_device");
