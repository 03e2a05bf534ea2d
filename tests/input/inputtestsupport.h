// Helpers shared by the keyboard tests: the simulator's event log and panel model, and a
// catcher for the model's debug lines.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QLoggingCategory>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace InputTest {

inline QString simPath(const QString &name)
{
    QString dir = qEnvironmentVariable("BENCHTEST_SIM_DIR");
    if (dir.isEmpty())
        dir = QStringLiteral("/sim");
    return dir + QLatin1Char('/') + name;
}

inline QStringList simEvents()
{
    QFile file(simPath(QStringLiteral("events.log")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Only the buzzer lines of the event log.
inline QStringList simSounds()
{
    QStringList sounds;
    const QStringList events = simEvents();
    for (const QString &line : events) {
        if (line.startsWith(QLatin1String("sound ")))
            sounds.append(line);
    }
    return sounds;
}

inline void clearSimEvents()
{
    QFile::remove(simPath(QStringLiteral("events.log")));
}

inline QByteArray readSimFile(const QString &name)
{
    QFile file(simPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeSimFile(const QString &name, const QByteArray &contents)
{
    QFile file(simPath(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return file.write(contents) == contents.size();
}

inline bool setSimModel(int model)
{
    return writeSimFile(QStringLiteral("model"), QByteArray::number(model) + '\n');
}

// Collects debug-stream lines while it lives (and keeps them off the test output).
class MessageCatcher {
public:
    MessageCatcher()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=true"));
        current = this;
        previous = qInstallMessageHandler(&MessageCatcher::handler);
    }
    ~MessageCatcher()
    {
        qInstallMessageHandler(previous);
        current = nullptr;
    }
    MessageCatcher(const MessageCatcher &) = delete;
    MessageCatcher &operator=(const MessageCatcher &) = delete;

    QStringList take()
    {
        const QStringList taken = messages;
        messages.clear();
        return taken;
    }

private:
    static void handler(QtMsgType type, const QMessageLogContext &, const QString &message)
    {
        if (!current)
            return;
        if (type == QtDebugMsg)
            current->messages.append(message);
        else
            current->messages.append(QStringLiteral("[other] ") + message);
    }

    static inline MessageCatcher *current = nullptr;
    QtMessageHandler previous = nullptr;
    QStringList messages;
};

// The offscreen platform cannot pass a window's size limits on and says so for every
// top-level panel with a layout; this handler drops that one line and passes on the rest.
inline QtMessageHandler &defaultMessageHandler()
{
    static QtMessageHandler handler = nullptr;
    return handler;
}

inline void quietPlatform(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message == QLatin1String("This plugin does not support propagateSizeHints()"))
        return;
    defaultMessageHandler()(type, context, message);
}

inline void installQuietPlatform()
{
    defaultMessageHandler() = qInstallMessageHandler(quietPlatform);
}

} // namespace InputTest
