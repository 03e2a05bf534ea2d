// Parameters held in FRAM plus the small board services that go with them (buzzer, DIP
// switches, panel model and size). One instance per process.
#pragma once

#include <utility>

class Fram
{
public:
    static Fram *getInstance();

    void load_param();
    void save_param();
    void setBuzzerEnable(bool enable);
    void makeSound(int sound);
    unsigned int getDSWVal();
    int getMonitorModel();
    std::pair<int, int> getMonitorPixel();
    int getOrientation();

private:
    Fram() = default;
    bool m_buzzerEnabled = true;
};
