// Shared by the MAC tests: the FRAM image byte by byte, the stick's supply file and the
// answers to the MAC screen's message boxes.
#pragma once

#include "common/messagebox.h"
#include "tests/support/testsupport.h"

#include <QByteArray>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QString>
#include <QVector>

namespace MacTest {

const QString SupplyFile = QStringLiteral("/run/media/sda1/Quorvan_benchtest_macaddress");

inline QByteArray fram(unsigned int address, int length)
{
    QFile file(TestSupport::simPath(QStringLiteral("fram.bin")));
    if (!file.open(QIODevice::ReadOnly) || !file.seek(address))
        return {};
    return file.read(length);
}

inline quint16 framWord(unsigned int address)
{
    const QByteArray bytes = fram(address, 2);
    return bytes.size() == 2 ? quint16(quint8(bytes[0]) | quint8(bytes[1]) << 8) : 0xDEAD;
}

inline void setFram(unsigned int address, const QByteArray &bytes)
{
    QFile file(TestSupport::simPath(QStringLiteral("fram.bin")));
    if (file.open(QIODevice::ReadWrite) && file.seek(address))
        file.write(bytes);
}

inline void setFramWord(unsigned int address, quint16 value)
{
    setFram(address, QByteArray(1, char(value & 0xFF)) + QByteArray(1, char(value >> 8)));
}

// A fresh chip: length word 200, everything else 0.
inline void freshFram()
{
    QByteArray image(32 * 1024, '\0');
    image[0] = char(200);
    QFile file(TestSupport::simPath(QStringLiteral("fram.bin")));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(image);
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(bytes) == bytes.size();
}

// Pulls the unit's stick or puts it back.
inline bool usbStick(const QString &how)
{
    return TestSupport::runProgram(QStringLiteral("/run/virtual-unit/usb-stick"), { how }) == 0;
}

struct Box {
    QMessageBox::Icon icon;
    QString title;
    QString text;
};

// Answers every box with Ok and keeps what it showed.
class BoxAnswers {
public:
    BoxAnswers()
    {
        MessageBox::setAnswer([this](QMessageBox &box) {
            boxes.append({ box.icon(), box.windowTitle(), box.text() });
            if (onShown)
                onShown(box);
            return QMessageBox::Ok;
        });
    }
    ~BoxAnswers() { MessageBox::setAnswer({}); }
    BoxAnswers(const BoxAnswers &) = delete;
    BoxAnswers &operator=(const BoxAnswers &) = delete;

    QVector<Box> boxes;
    std::function<void(QMessageBox &)> onShown;
};

} // namespace MacTest
