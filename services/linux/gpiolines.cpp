#include "gpiolines.h"

#include "devicewarning.h"

#include <gpiod.h>

#include <cerrno>

namespace {
constexpr const char *Consumer = "benchtest";
}

GpiodLines::GpiodLines(const QString &chip, const QVector<unsigned int> &offsets)
    : m_chipName(chip), m_offsets(offsets)
{
}

GpiodLines::~GpiodLines()
{
    if (m_bulk)
        gpiod_line_release_bulk(m_bulk);
    delete m_bulk;
    if (m_chip)
        gpiod_chip_close(m_chip);
}

bool GpiodLines::request()
{
    if (m_bulk)
        return true;
    if (m_offsets.isEmpty() || m_offsets.size() > GPIOD_LINE_BULK_MAX_LINES) {
        m_problem = QStringLiteral("no lines to read");
        return false;
    }
    if (!m_chip) {
        // A path, a name under /dev or a number; never a search by label, which would open
        // every chip of the machine.
        bool number = false;
        m_chipName.toUInt(&number);
        const QString path = m_chipName.startsWith(QLatin1Char('/')) ? m_chipName
            : number ? QStringLiteral("/dev/gpiochip") + m_chipName
                     : QStringLiteral("/dev/") + m_chipName;
        const QByteArray name = path.toLocal8Bit();
        m_chip = gpiod_chip_open(name.constData());
        if (!m_chip) {
            m_problem
                = QStringLiteral("GPIO chip %1 cannot be opened (%2)").arg(path, errnoText(errno));
            return false;
        }
    }
    auto *bulk = new gpiod_line_bulk;
    gpiod_line_bulk_init(bulk);
    QVector<unsigned int> offsets = m_offsets;
    if (gpiod_chip_get_lines(m_chip, offsets.data(), unsigned(offsets.size()), bulk) < 0
        || gpiod_line_request_bulk_input(bulk, Consumer) < 0) {
        m_problem = QStringLiteral("GPIO lines of %1 cannot be requested (%2)")
                        .arg(m_chipName, errnoText(errno));
        delete bulk;
        return false;
    }
    m_bulk = bulk;
    return true;
}

bool GpiodLines::read(QVector<int> *values)
{
    if (!request())
        return false;
    int levels[GPIOD_LINE_BULK_MAX_LINES] = {};
    if (gpiod_line_get_value_bulk(m_bulk, levels) < 0) {
        m_problem = QStringLiteral("GPIO lines of %1 cannot be read (%2)")
                        .arg(m_chipName, errnoText(errno));
        return false;
    }
    values->clear();
    for (int i = 0; i < m_offsets.size(); ++i)
        values->append(levels[i]);
    return true;
}

unsigned int DipSwitches::pack(const QVector<int> &levels, bool activeLow)
{
    unsigned int value = 0;
    for (int i = 0; i < 4 && i < levels.size(); ++i) {
        const bool on = activeLow ? levels.at(i) == 0 : levels.at(i) != 0;
        if (on)
            value |= SwitchBits[i];
    }
    return value;
}
