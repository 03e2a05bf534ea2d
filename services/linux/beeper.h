// The buzzer through the input subsystem's sound events (EV_SND / SND_TONE). Sounds are played
// by a thread of their own, so a click never holds up the screen that asked for it.
#pragma once

#include <QString>
#include <QVector>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

struct Tone {
    // 0: silent.
    int hz = 0;
    int ms = 0;
};

namespace BeepPatterns {
// The tones of a sound number: a short click for 1 and 2, a falling double tone for 5, a
// rising double tone for 10, a plain beep for any other number.
QVector<Tone> forSound(int sound);
} // namespace BeepPatterns

class ToneOutput {
public:
    virtual ~ToneOutput() = default;
    // Starts a tone of hz, or stops it with 0. False when the device failed.
    virtual bool tone(int hz) = 0;
};

// Writes the tone events to an input event device, opened on first use.
class EvdevToneOutput : public ToneOutput {
public:
    explicit EvdevToneOutput(const QString &path);
    ~EvdevToneOutput() override;
    EvdevToneOutput(const EvdevToneOutput &) = delete;
    EvdevToneOutput &operator=(const EvdevToneOutput &) = delete;

    bool tone(int hz) override;

    // The beeper's event device: the first input device under <sysfsRoot>/class/input whose
    // name has "beep" or "spkr" in it, as /dev/input/eventN; empty when there is none.
    static QString find(const QString &sysfsRoot);

private:
    QString m_path;
    int m_fd = -1;
    bool m_failed = false;
};

class BeepPlayer {
public:
    explicit BeepPlayer(std::unique_ptr<ToneOutput> output);
    ~BeepPlayer();
    BeepPlayer(const BeepPlayer &) = delete;
    BeepPlayer &operator=(const BeepPlayer &) = delete;

    // Returns at once. A sound asked for while another plays cuts it short: quick clicks
    // never queue up behind one another.
    void play(int sound);
    // True while a sound is waiting or playing.
    bool busy();

private:
    void run();

    std::unique_ptr<ToneOutput> m_output;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    QVector<Tone> m_pending;
    bool m_hasPending = false;
    bool m_playing = false;
    bool m_stop = false;
    std::thread m_thread;
};
