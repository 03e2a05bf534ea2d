// The names of the tests. The sequence, the menu and the dispatcher compare these texts byte
// for byte, so they are never built by hand anywhere else.
#pragma once

#include <QString>

static const QString TouchPanelFunction = QStringLiteral("touch panel");
static const QString BrightnessFunction = QStringLiteral("brightness");
static const QString DateTimeFunction = QStringLiteral("date and time");
static const QString BatteryPowerFunction = QStringLiteral("battery power");
static const QString BacklightFunction = QStringLiteral("backlight");
static const QString LcmFunction = QStringLiteral("lcm");
static const QString KeyAndLedFunction = QStringLiteral("key and led");
static const QString DipSwitchesFunction = QStringLiteral("dip switches");
static const QString EthernetFunction = QStringLiteral("ethernet");
static const QString Com1RS232Function = QStringLiteral("com1 rs232");
static const QString Com1RS422Function = QStringLiteral("com1 rs422");
static const QString Com1RS485Function = QStringLiteral("com1 rs485");
static const QString Com2RS232Function = QStringLiteral("com2 rs232");
static const QString Com2RS422Function = QStringLiteral("com2 rs422");
static const QString Com2RS485Function = QStringLiteral("com2 rs485");
static const QString Com3RS232Function = QStringLiteral("com3 rs232");
static const QString Com3RS485Function = QStringLiteral("com3 rs485");
static const QString WhiteScreenFunction = QStringLiteral("white screen");
static const QString UsbHostFunction = QStringLiteral("usb host");
static const QString UsbDeviceFunction = QStringLiteral("usb device");
static const QString ExitFunction = QStringLiteral("exit");
static const QString MACFunction = QStringLiteral("mac");
