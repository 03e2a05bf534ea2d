// Stand-ins for the board's devices behind the linux backend's seams: an FM25V02 that answers
// its SPI command set from memory, a GPIO chip, a clock, a frame buffer and a buzzer.
#pragma once

#include "services/linux/beeper.h"
#include "services/linux/fm25v02chip.h"
#include "services/linux/framebuffer.h"
#include "services/linux/gpiolines.h"
#include "services/linux/rtcdevice.h"
#include "services/linux/spibus.h"

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QMutex>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QVector>

#include <atomic>

#include <linux/rtc.h>

// A directory for fake device files: below the unit's scratch directory when there is one.
inline QString scratchBase()
{
    const QString scratch = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
    return (scratch.isEmpty() ? QDir::tempPath() : scratch) + QStringLiteral("/fakeXXXXXX");
}

// The chip as its data sheet describes it: a write latch set by WREN and cleared at the end
// of every WRITE (and by WRDI), 15 address bits sent high byte first, and an address counter
// that wraps from the last byte to the first.
class FakeFram : public SpiBus {
public:
    static constexpr unsigned int Size = 32 * 1024;

    QByteArray memory = QByteArray(int(Size), '\0');
    bool writeLatch = false;
    bool fail = false;
    // Every transfer as sent.
    QList<QByteArray> transfers;
    int writesWithoutEnable = 0;
    int transfersWithHighAddressBit = 0;

    bool transfer(const QByteArray &tx, QByteArray *rx) override
    {
        transfers.append(tx);
        rx->fill('\xff', tx.size());
        if (fail || tx.isEmpty())
            return !fail;
        const quint8 opcode = quint8(tx.at(0));
        if (opcode == Fm25v02Chip::WriteEnable) {
            writeLatch = true;
        } else if (opcode == Fm25v02Chip::WriteDisable) {
            writeLatch = false;
        } else if (opcode == Fm25v02Chip::ReadId) {
            const QByteArray id = QByteArray::fromHex("7f7f7f7f7f7fc22208");
            for (int i = 1; i < tx.size() && i - 1 < id.size(); ++i)
                (*rx)[i] = id.at(i - 1);
        } else if ((opcode == Fm25v02Chip::Read || opcode == Fm25v02Chip::Write)
            && tx.size() >= 3) {
            if (quint8(tx.at(1)) & 0x80)
                ++transfersWithHighAddressBit;
            unsigned int address = ((quint8(tx.at(1)) << 8) | quint8(tx.at(2))) & (Size - 1);
            for (int i = 3; i < tx.size(); ++i) {
                if (opcode == Fm25v02Chip::Read) {
                    (*rx)[i] = memory.at(int(address));
                } else if (writeLatch) {
                    memory[int(address)] = tx.at(i);
                }
                address = (address + 1) & (Size - 1);
            }
            if (opcode == Fm25v02Chip::Write) {
                if (!writeLatch)
                    ++writesWithoutEnable;
                writeLatch = false;
            }
        }
        return true;
    }
};

class FakeGpio : public GpioLines {
public:
    QVector<int> levels;
    bool fail = false;
    bool read(QVector<int> *values) override
    {
        if (fail)
            return false;
        *values = levels;
        return true;
    }
    QString problem() const override { return fail ? QStringLiteral("fake failure") : QString(); }
};

class FakeRtc : public RtcDevice {
public:
    struct rtc_time clock = {};
    bool fail = false;
    QList<struct rtc_time> sets;
    bool readTime(struct rtc_time *time) override
    {
        if (fail)
            return false;
        *time = clock;
        return true;
    }
    bool setTime(const struct rtc_time &time) override
    {
        if (fail)
            return false;
        sets.append(time);
        clock = time;
        return true;
    }
    QString problem() const override { return QStringLiteral("fake failure"); }
};

class FakeFramebuffer : public FramebufferDevice {
public:
    FramebufferGeometry shape;
    QByteArray memory;
    bool fail = false;

    FakeFramebuffer(int width, int height, int bitsPerPixel, int rotate = 0)
    {
        shape.width = width;
        shape.height = height;
        shape.bitsPerPixel = bitsPerPixel;
        shape.rotate = rotate;
        shape.lineLength = width * ((bitsPerPixel + 7) / 8);
        memory.fill('\0', shape.lineLength * height);
    }
    bool geometry(FramebufferGeometry *geometry) override
    {
        if (fail)
            return false;
        *geometry = shape;
        return true;
    }
    unsigned char *pixels(std::size_t *length) override
    {
        if (fail)
            return nullptr;
        *length = std::size_t(memory.size());
        return reinterpret_cast<unsigned char *>(memory.data());
    }
    QString problem() const override { return QStringLiteral("cannot be opened (fake)"); }
};

// Records every tone; with hold set, each call waits until the test lets it go.
class RecordingTone : public ToneOutput {
public:
    struct Shared {
        QMutex mutex;
        QVector<int> tones;
        QSemaphore release;
        std::atomic<bool> hold { false };
        QSemaphore entered;
    };
    explicit RecordingTone(Shared *shared) : m_shared(shared) { }
    bool tone(int hz) override
    {
        {
            QMutexLocker lock(&m_shared->mutex);
            m_shared->tones.append(hz);
        }
        m_shared->entered.release();
        if (m_shared->hold)
            m_shared->release.acquire();
        return true;
    }

private:
    Shared *m_shared;
};
