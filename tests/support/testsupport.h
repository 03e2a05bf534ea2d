// The helpers every test shares: the simulated unit's state files and events.log, a fresh
// state directory per test function, and catchers for the debug stream and standard error.
// Built once as the testsupport library, which every test executable links.
#pragma once

#include <QByteArray>
#include <QEvent>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtGlobal>

namespace TestSupport {

// A file of the unit's simulator state directory (BENCHTEST_SIM_DIR, "/sim" when unset).
QString simPath(const QString &name);

// Writes text and a line break, as a person would fill a state file.
void writeSim(const QString &name, const QString &text);
// Writes the bytes exactly as given (empty, no final line break, ...).
bool writeSimFile(const QString &name, const QByteArray &contents);
QByteArray readSimFile(const QString &name);
void removeSim(const QString &name);
// Replaces a state file in one step (a temporary file renamed over it), so that a program
// polling the file while it runs never reads it half written.
bool replaceSim(const QString &name, const QString &text);
// The panel model the unit reports.
bool setSimModel(int model);

// The lines of events.log, oldest first; empty when nothing was logged. A last line without
// its line break shows up as "<no line end>" after it, and empty lines are kept, so a
// malformed log is seen.
QStringList events();
// Only the buzzer lines of events.log.
QStringList sounds();
void clearEvents();

// Each test function gets its own directory below the unit's state directory and points
// BENCHTEST_SIM_DIR at it, so state files and complaints never carry over between tests.
class StateDir {
public:
    // Call from initTestCase(): remembers the unit's state directory.
    bool setUp();
    // Call from init(): a new, empty directory for the next test function.
    void next();

    QString dir() const { return m_dir; }
    QString path(const QString &file) const { return simPath(file); }
    // Byte for byte; fails the calling test function when the file cannot be written.
    void write(const QString &file, const QByteArray &content) const;
    QByteArray read(const QString &file) const { return readSimFile(file); }
    void remove(const QString &file) const { removeSim(file); }
    QStringList events() const { return TestSupport::events(); }
    void clearEvents() const { TestSupport::clearEvents(); }

private:
    QString m_base;
    QString m_dir;
    int m_count = 0;
};

// A temporary state directory for this test process, so that the panel model and the DIP
// value are the test's choice wherever the test runs. Gone with the object.
class SimDir {
public:
    SimDir();
    bool isValid() const { return dir.isValid(); }
    void setModel(int model) { setSimModel(model); }

private:
    QTemporaryDir dir;
};

// Collects the debug stream while it lives and keeps it off the test output. With
// AllMessages warnings and errors are collected too, marked "[other] "; otherwise they go on
// to the handler before. Lines from other threads are collected as well.
class DebugCapture {
public:
    enum Scope { DebugOnly, AllMessages };

    explicit DebugCapture(Scope scope = DebugOnly);
    ~DebugCapture();
    DebugCapture(const DebugCapture &) = delete;
    DebugCapture &operator=(const DebugCapture &) = delete;

    // The lines so far, emptying the list.
    QStringList take();

    QStringList messages;

private:
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &message);

    Scope scope;
    QtMessageHandler previous = nullptr;
    DebugCapture *outer = nullptr;
};

// Sends file descriptor 2 to a temporary file while it lives; text() gives what was written.
class StderrCapture {
public:
    StderrCapture();
    ~StderrCapture() { restore(); }
    StderrCapture(const StderrCapture &) = delete;
    StderrCapture &operator=(const StderrCapture &) = delete;

    QByteArray text();
    // What was written so far, while the capture goes on (for lines written by other threads).
    QByteArray peek();

private:
    void restore();

    QTemporaryFile m_file;
    int m_saved = -1;
};

// The line the simulator prints for a state file it had to replace by a default.
QByteArray complaint(const QString &path, const QString &problem);

// The offscreen platform cannot pass a window's size limits on and says so for every
// top-level panel with a layout; this drops that one line and passes on the rest.
void installQuietPlatform();

// Counts the events of one type an object gets while it lives. With QEvent::Timer it counts
// the ticks of a screen's own timer: "three polls have passed" is a condition to await, which
// a loaded machine can delay but not cut short, where a fixed wait may see no poll at all.
class EventCounter : public QObject {
public:
    EventCounter(QObject *target, QEvent::Type type) : type(type)
    {
        target->installEventFilter(this);
    }
    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == type)
            ++count;
        return false;
    }

private:
    QEvent::Type type;
};

// Counts the paint events a widget gets while it lives.
class PaintCounter : public EventCounter {
public:
    explicit PaintCounter(QObject *widget) : EventCounter(widget, QEvent::Paint) { }
};

// Returns once the window system has answered what was asked of it (on X, a round trip) and
// the events that brought, and the update requests already posted, have been delivered: the
// paints of a window that was just shown or changed are then done, however busy the machine.
// For tests with a GUI application.
void settleWindows();

// Runs a program with its arguments and waits for it; its exit status, or -1 when it could not
// be started or did not end normally. Standard output goes to *output when given. Not
// QProcess: its way of starting a child is refused by the cross build's user-mode emulator,
// and this works there too.
int runProgram(const QString &program, const QStringList &arguments, QByteArray *output = nullptr);

// True when the test runs under the cross build's user-mode emulator (the unit's armhf build).
bool emulated();

} // namespace TestSupport
