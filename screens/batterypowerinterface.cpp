#include "batterypowerinterface.h"

BatteryPowerInterface::BatteryPowerInterface(QWidget *parent) : QWidget(parent) { }
