#include "standins.h"

#include "devicewarning.h"
#include "fm25v02chip.h"

FramFileBus::FramFileBus(const QString &path) : m_file(path) { }

bool FramFileBus::open()
{
    if (m_file.isOpen())
        return true;
    if (m_failed)
        return false;
    if (!m_file.open(QIODevice::ReadWrite)
        || (m_file.size() < qint64(Fm25v02Chip::Size) && !m_file.resize(Fm25v02Chip::Size))) {
        warnDevice(m_file.fileName(),
            QStringLiteral("the FRAM file cannot be opened (%1); FRAM reads give 0 and writes "
                           "are dropped")
                .arg(m_file.errorString()));
        m_file.close();
        m_failed = true;
        return false;
    }
    return true;
}

bool FramFileBus::transfer(const QByteArray &tx, QByteArray *rx)
{
    rx->fill('\0', tx.size());
    if (!open())
        return false;
    if (tx.isEmpty())
        return true;
    const quint8 opcode = quint8(tx.at(0));
    if (opcode == Fm25v02Chip::WriteEnable) {
        m_writeLatch = true;
    } else if (opcode == Fm25v02Chip::WriteDisable) {
        m_writeLatch = false;
    } else if (opcode == Fm25v02Chip::ReadId) {
        // Six continuation bytes, the maker, the 256-kbit product: what the chip itself answers.
        const QByteArray id = QByteArray::fromHex("7f7f7f7f7f7fc22208");
        for (int i = 1; i < tx.size() && i - 1 < id.size(); ++i)
            (*rx)[i] = id.at(i - 1);
    } else if ((opcode == Fm25v02Chip::Read || opcode == Fm25v02Chip::Write) && tx.size() >= 3) {
        const unsigned int address
            = ((quint8(tx.at(1)) << 8) | quint8(tx.at(2))) & (Fm25v02Chip::Size - 1);
        const int length = tx.size() - 3;
        // The chip wraps to address 0 at its end: two pieces at most.
        const int first = int(qMin<unsigned int>(unsigned(length), Fm25v02Chip::Size - address));
        const struct {
            qint64 at;
            int offset;
            int size;
        } pieces[2] = { { qint64(address), 3, first }, { 0, 3 + first, length - first } };
        if (opcode == Fm25v02Chip::Write && !m_writeLatch)
            return true;
        for (const auto &piece : pieces) {
            if (piece.size == 0)
                continue;
            const bool ok = m_file.seek(piece.at)
                && (opcode == Fm25v02Chip::Read
                        ? m_file.read(rx->data() + piece.offset, piece.size) == piece.size
                        : m_file.write(tx.constData() + piece.offset, piece.size) == piece.size);
            if (!ok) {
                warnDevice(m_file.fileName(),
                    QStringLiteral("the FRAM file failed (%1)").arg(m_file.errorString()));
                return false;
            }
        }
        if (opcode == Fm25v02Chip::Write) {
            m_writeLatch = false;
            if (!m_file.flush())
                return false;
        }
    }
    return true;
}

bool DipFile::read(const QString &path, unsigned int *value, QString *problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *problem = QStringLiteral("%1 cannot be read (%2)").arg(path, file.errorString());
        return false;
    }
    const QString text = QString::fromLatin1(file.read(64)).trimmed();
    bool ok = false;
    const uint number = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
        ? text.mid(2).toUInt(&ok, 16)
        : text.toUInt(&ok, 10);
    if (!ok || number > 0xFFFF) {
        *problem = QStringLiteral("%1 holds \"%2\", not a DIP value 0..0xFFFF").arg(path, text);
        return false;
    }
    *value = number;
    return true;
}
