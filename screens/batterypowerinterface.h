// The battery power page: an empty page, reached from the menu.
#pragma once

#include <QWidget>

class BatteryPowerInterface : public QWidget {
    Q_OBJECT
public:
    explicit BatteryPowerInterface(QWidget *parent = nullptr);
};
