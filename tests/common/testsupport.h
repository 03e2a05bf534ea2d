// Helpers shared by the tests: the simulated unit's state files and the debug stream.
#pragma once

#include <QFile>
#include <QStringList>
#include <QtGlobal>

#include <cstdio>

namespace TestSupport {

inline QString simPath(const QString &name)
{
    const QString dir = qEnvironmentVariable("BENCHTEST_SIM_DIR");
    return (dir.isEmpty() ? QStringLiteral("/sim") : dir) + QLatin1Char('/') + name;
}

inline void writeSim(const QString &name, const QString &text)
{
    QFile file(simPath(name));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(text.toUtf8() + '\n');
}

// Replaces a state file in one step (a temporary file renamed over it), so that a program
// polling the file while it runs never reads it half written.
inline bool replaceSim(const QString &name, const QString &text)
{
    const QString path = simPath(name);
    const QString temporary = path + QStringLiteral(".new");
    QFile file(temporary);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const QByteArray bytes = text.toUtf8() + '\n';
    const bool written = file.write(bytes) == bytes.size();
    file.close();
    if (!written)
        return false;
    const QByteArray from = QFile::encodeName(temporary);
    const QByteArray to = QFile::encodeName(path);
    return std::rename(from.constData(), to.constData()) == 0;
}

inline void removeSim(const QString &name)
{
    QFile::remove(simPath(name));
}

// The lines of events.log, oldest first.
inline QStringList events()
{
    QFile file(simPath(QStringLiteral("events.log")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

inline void clearEvents()
{
    QFile::remove(simPath(QStringLiteral("events.log")));
}

// Collects everything written to the debug stream while it lives.
class DebugCapture {
public:
    DebugCapture()
    {
        current() = this;
        previous = qInstallMessageHandler(&DebugCapture::handler);
    }
    ~DebugCapture()
    {
        qInstallMessageHandler(previous);
        current() = nullptr;
    }
    DebugCapture(const DebugCapture &) = delete;
    DebugCapture &operator=(const DebugCapture &) = delete;

    QStringList messages;

private:
    static DebugCapture *&current()
    {
        static DebugCapture *instance = nullptr;
        return instance;
    }
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (type == QtDebugMsg && current())
            current()->messages.append(message);
        else if (current() && current()->previous)
            current()->previous(type, context, message);
    }

    QtMessageHandler previous = nullptr;
};

} // namespace TestSupport
