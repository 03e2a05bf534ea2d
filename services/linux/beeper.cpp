#include "beeper.h"

#include "devicewarning.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <chrono>
#include <cstring>

#include <fcntl.h>
#include <linux/input.h>
#include <sys/time.h>
#include <unistd.h>

QVector<Tone> BeepPatterns::forSound(int sound)
{
    switch (sound) {
    case 1:
        return { { 2000, 15 } };
    case 2:
        return { { 3000, 30 } };
    case 5:
        return { { 1000, 120 }, { 0, 40 }, { 600, 200 } };
    case 10:
        return { { 2000, 80 }, { 0, 30 }, { 3000, 120 } };
    default:
        return { { 2500, 60 } };
    }
}

EvdevToneOutput::EvdevToneOutput(const QString &path) : m_path(path) { }

EvdevToneOutput::~EvdevToneOutput()
{
    if (m_fd >= 0) {
        tone(0);
        ::close(m_fd);
    }
}

bool EvdevToneOutput::tone(int hz)
{
    if (m_fd < 0) {
        if (m_failed)
            return false;
        if (m_path.isEmpty()) {
            warnDevice(QStringLiteral("beeper"),
                QStringLiteral("no input device named like a beeper (beep, spkr) was found; "
                               "sounds are not played"));
            m_failed = true;
            return false;
        }
        const QByteArray path = m_path.toLocal8Bit();
        m_fd = ::open(path.constData(), O_WRONLY | O_CLOEXEC);
        if (m_fd < 0) {
            warnDevice(m_path,
                QStringLiteral("cannot be opened (%1); sounds are not played")
                    .arg(errnoText(errno)));
            m_failed = true;
            return false;
        }
    }
    input_event events[2];
    memset(events, 0, sizeof events);
    timeval now;
    gettimeofday(&now, nullptr);
    for (input_event &event : events) {
        event.input_event_sec = now.tv_sec;
        event.input_event_usec = now.tv_usec;
    }
    events[0].type = EV_SND;
    events[0].code = SND_TONE;
    events[0].value = hz;
    events[1].type = EV_SYN;
    events[1].code = SYN_REPORT;
    return ::write(m_fd, events, sizeof events) == ssize_t(sizeof events);
}

QString EvdevToneOutput::find(const QString &sysfsRoot)
{
    const QString classDir = sysfsRoot + QStringLiteral("/class/input");
    const QStringList events = QDir(classDir).entryList(
        { QStringLiteral("event*") }, QDir::Dirs | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &event : events) {
        QFile name(classDir + QLatin1Char('/') + event + QStringLiteral("/device/name"));
        if (!name.open(QIODevice::ReadOnly))
            continue;
        const QByteArray text = name.read(256).toLower();
        if (text.contains("beep") || text.contains("spkr"))
            return QStringLiteral("/dev/input/") + event;
    }
    return QString();
}

BeepPlayer::BeepPlayer(std::unique_ptr<ToneOutput> output) : m_output(std::move(output)) { }

BeepPlayer::~BeepPlayer()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void BeepPlayer::play(int sound)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_pending = BeepPatterns::forSound(sound);
        m_hasPending = true;
        // Started on the first sound, so a program that never beeps has no extra thread.
        if (!m_thread.joinable())
            m_thread = std::thread(&BeepPlayer::run, this);
    }
    m_wake.notify_all();
}

bool BeepPlayer::busy()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_hasPending || m_playing;
}

void BeepPlayer::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || m_hasPending; });
        if (m_stop)
            return;
        const QVector<Tone> tones = m_pending;
        m_hasPending = false;
        m_playing = true;
        for (const Tone &step : tones) {
            lock.unlock();
            m_output->tone(step.hz);
            lock.lock();
            // A new sound or the end of the program ends this one early.
            if (m_wake.wait_for(lock, std::chrono::milliseconds(step.ms),
                    [this] { return m_stop || m_hasPending; }))
                break;
        }
        lock.unlock();
        m_output->tone(0);
        lock.lock();
        m_playing = false;
    }
}
