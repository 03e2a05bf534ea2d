// Port kinds and the two setting records that describe a serial port to the device services.
#pragma once

#include <QString>

enum device_type {
    RS232 = 16,
    RS422 = 32,
    RS485 = 64,
    Ethernet = 256,
};

// One serial device. The two trailing line-mode values are parity (0 none, 1 odd, 2 even)
// and stop bits (0 one, 1 two); the bench always passes 0, 0, i.e. 8N1.
class DeviceSetting
{
public:
    DeviceSetting(device_type type, const QString &port, int baudRate, int dataBits, int parity,
                  int stopBits);

    device_type type;
    QString port;
    int baudRate;
    int dataBits;
    int parity;
    int stopBits;
};

// Driver parameters of one serial port:
//  firstByteTimeout  how long read() waits for the first byte, in ms (the bench passes 100);
//  interByteGap      how long the line must stay quiet after a byte before read() returns a
//                    partial block, in ms (1 for the loopback tests, 3 for the echo threads);
//  reserved1/2       unused, 0.
class DriverSetting
{
public:
    DriverSetting(int firstByteTimeout, int interByteGap, int reserved1, int reserved2);

    int firstByteTimeout;
    int interByteGap;
    int reserved1;
    int reserved2;
};
