#include "tests/support/testsupport.h"

#include <QDir>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QSaveFile>
#include <QtTest>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace TestSupport {

QString simPath(const QString &name)
{
    const QString dir = qEnvironmentVariable("BENCHTEST_SIM_DIR");
    return (dir.isEmpty() ? QStringLiteral("/sim") : dir) + QLatin1Char('/') + name;
}

void writeSim(const QString &name, const QString &text)
{
    writeSimFile(name, text.toUtf8() + '\n');
}

// By temporary file and rename, as every writer of state files does: a reader sees the old
// content or the new one, never an empty file in between.
bool writeSimFile(const QString &name, const QByteArray &contents)
{
    QSaveFile file(simPath(name));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(contents) == contents.size() && file.commit();
}

QByteArray readSimFile(const QString &name)
{
    QFile file(simPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void removeSim(const QString &name)
{
    QFile::remove(simPath(name));
}

bool setSimModel(int model)
{
    return writeSimFile(QStringLiteral("model"), QByteArray::number(model) + '\n');
}

QStringList events()
{
    const QString text = QString::fromUtf8(readSimFile(QStringLiteral("events.log")));
    QStringList lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
        lines.append(QStringLiteral("<no line end>"));
    return lines;
}

QStringList sounds()
{
    QStringList result;
    const QStringList lines = events();
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("sound ")))
            result.append(line);
    }
    return result;
}

void clearEvents()
{
    removeSim(QStringLiteral("events.log"));
}

bool StateDir::setUp()
{
    m_base = qEnvironmentVariable("BENCHTEST_SIM_DIR");
    return !m_base.isEmpty() && QDir(m_base).exists();
}

void StateDir::next()
{
    const QString name = QStringLiteral("case%1").arg(++m_count);
    QDir(m_base).mkpath(name);
    m_dir = m_base + QLatin1Char('/') + name;
    qputenv("BENCHTEST_SIM_DIR", QFile::encodeName(m_dir));
}

void StateDir::write(const QString &file, const QByteArray &content) const
{
    QVERIFY2(writeSimFile(file, content), qPrintable(path(file)));
}

SimDir::SimDir()
{
    qputenv("BENCHTEST_SIM_DIR", QFile::encodeName(dir.path()));
}

namespace {
std::mutex captureMutex;
DebugCapture *currentCapture = nullptr;
} // namespace

DebugCapture::DebugCapture(Scope scope) : scope(scope)
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=true"));
    std::lock_guard<std::mutex> lock(captureMutex);
    outer = currentCapture;
    currentCapture = this;
    previous = qInstallMessageHandler(&DebugCapture::handler);
}

DebugCapture::~DebugCapture()
{
    qInstallMessageHandler(previous);
    std::lock_guard<std::mutex> lock(captureMutex);
    currentCapture = outer;
}

QStringList DebugCapture::take()
{
    std::lock_guard<std::mutex> lock(captureMutex);
    QStringList taken;
    taken.swap(messages);
    return taken;
}

void DebugCapture::handler(
    QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    QtMessageHandler passOn = nullptr;
    {
        std::lock_guard<std::mutex> lock(captureMutex);
        DebugCapture *capture = currentCapture;
        if (!capture)
            return;
        if (type == QtDebugMsg)
            capture->messages.append(message);
        else if (capture->scope == AllMessages)
            capture->messages.append(QStringLiteral("[other] ") + message);
        else
            passOn = capture->previous;
    }
    if (passOn)
        passOn(type, context, message);
}

StderrCapture::StderrCapture()
{
    m_file.open();
    std::fflush(stderr);
    m_saved = ::dup(2);
    ::dup2(m_file.handle(), 2);
}

QByteArray StderrCapture::text()
{
    restore();
    m_file.seek(0);
    return m_file.readAll();
}

QByteArray StderrCapture::peek()
{
    std::fflush(stderr);
    QFile file(m_file.fileName());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void StderrCapture::restore()
{
    if (m_saved < 0)
        return;
    std::fflush(stderr);
    ::dup2(m_saved, 2);
    ::close(m_saved);
    m_saved = -1;
}

QByteArray complaint(const QString &path, const QString &problem)
{
    return "benchtest sim: " + QFile::encodeName(path) + ": " + problem.toUtf8() + '\n';
}

namespace {
QtMessageHandler platformPrevious = nullptr;

void quietPlatform(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message == QLatin1String("This plugin does not support propagateSizeHints()"))
        return;
    if (platformPrevious)
        platformPrevious(type, context, message);
}
} // namespace

void installQuietPlatform()
{
    platformPrevious = qInstallMessageHandler(quietPlatform);
}

void settleWindows()
{
    // Twice: what the first round delivers (an expose, a resize) may post more.
    for (int round = 0; round < 2; ++round) {
        QGuiApplication::sync();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

bool replaceSim(const QString &name, const QString &text)
{
    return writeSimFile(name, text.toUtf8() + '\n');
}

int runProgram(const QString &program, const QStringList &arguments, QByteArray *output)
{
    QList<QByteArray> words { QFile::encodeName(program) };
    for (const QString &argument : arguments)
        words.append(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    int pipeFds[2] = { -1, -1 };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output) {
        if (pipe2(pipeFds, O_CLOEXEC) != 0) {
            posix_spawn_file_actions_destroy(&actions);
            return -1;
        }
        posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    }
    pid_t pid = -1;
    const int failed = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (output) {
        ::close(pipeFds[1]);
        output->clear();
        if (!failed) {
            char buffer[4096];
            ssize_t n;
            while ((n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0 || (n < 0 && errno == EINTR))
                if (n > 0)
                    output->append(buffer, int(n));
        }
        ::close(pipeFds[0]);
    }
    if (failed)
        return -1;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool emulated()
{
    return qEnvironmentVariable("BENCHTEST_EMULATED") == QLatin1String("1");
}

} // namespace TestSupport
