#include "services/devicetypes.h"

DeviceSetting::DeviceSetting(device_type type, const QString &port, int baudRate, int dataBits,
                             int parity, int stopBits)
    : type(type), port(port), baudRate(baudRate), dataBits(dataBits), parity(parity), stopBits(stopBits)
{
}

DriverSetting::DriverSetting(int firstByteTimeout, int interByteGap, int reserved1, int reserved2)
    : firstByteTimeout(firstByteTimeout), interByteGap(interByteGap), reserved1(reserved1), reserved2(reserved2)
{
}
