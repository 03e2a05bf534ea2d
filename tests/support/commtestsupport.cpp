#include "tests/support/commtestsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace {
qint64 monotonicMs()
{
    static QElapsedTimer clock;
    static std::once_flag started;
    std::call_once(started, [] { clock.start(); });
    return clock.elapsed();
}

void writeAll(int fd, const char *data, int size)
{
    int done = 0;
    while (done < size) {
        const ssize_t w = ::write(fd, data + done, size_t(size - done));
        if (w > 0) {
            done += int(w);
        } else if (w < 0 && errno != EAGAIN && errno != EINTR) {
            return;
        } else {
            pollfd p { fd, POLLOUT, 0 };
            poll(&p, 1, 20);
        }
    }
}
} // namespace

PtyPartner::PtyPartner(Mode mode) : currentMode(mode)
{
    termios raw;
    cfmakeraw(&raw);
    cfsetispeed(&raw, B115200);
    cfsetospeed(&raw, B115200);
    char name[128] = {};
    if (openpty(&master, &slave, name, &raw, nullptr) < 0) {
        master = slave = -1;
        return;
    }
    slavePath = QString::fromLocal8Bit(name);
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);
    monotonicMs();
    worker = std::thread([this] { loop(); });
}

PtyPartner::~PtyPartner()
{
    stopping.store(true);
    if (worker.joinable())
        worker.join();
    if (master >= 0)
        ::close(master);
    if (slave >= 0)
        ::close(slave);
}

void PtyPartner::loop()
{
    std::vector<char> buffer(4096);
    while (!stopping.load()) {
        pollfd p { master, POLLIN, 0 };
        if (poll(&p, 1, 10) <= 0 || !(p.revents & POLLIN))
            continue;
        const ssize_t r = ::read(master, buffer.data(), buffer.size());
        if (r <= 0)
            continue;
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (sentAt >= 0 && answerDelay < 0)
                answerDelay = monotonicMs() - sentAt;
            log.append(buffer.data(), int(r));
            chunkSizes.append(int(r));
        }
        const int mode = currentMode.load();
        if (mode == Echo)
            writeAll(master, buffer.data(), int(r));
        else if (mode == Short)
            writeAll(master, buffer.data(), qMin(int(r), shortLength.load()));
    }
}

void PtyPartner::send(const QByteArray &bytes)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        sentAt = monotonicMs();
        answerDelay = -1;
    }
    writeAll(master, bytes.constData(), bytes.size());
}

QByteArray PtyPartner::received() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return QByteArray(log.constData(), log.size());
}

int PtyPartner::receivedCount() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return log.size();
}

QList<int> PtyPartner::chunks() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return chunkSizes;
}

qint64 PtyPartner::lastAnswerDelay() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return answerDelay;
}

TcpEchoServer::TcpEchoServer(bool echo) : echoing(echo)
{
    listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0)
        return;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) < 0
        || ::listen(listener, 8) < 0
        || ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length) < 0) {
        ::close(listener);
        listener = -1;
        return;
    }
    tcpPort = ntohs(address.sin_port);
    worker = std::thread([this] { loop(); });
}

TcpEchoServer::~TcpEchoServer()
{
    stopping.store(true);
    if (worker.joinable())
        worker.join();
    if (listener >= 0)
        ::close(listener);
}

QString TcpEchoServer::endPoint() const
{
    return QStringLiteral("127.0.0.1 %1").arg(tcpPort);
}

void TcpEchoServer::loop()
{
    std::vector<int> clients;
    std::vector<char> buffer(4096);
    while (!stopping.load()) {
        std::vector<pollfd> fds;
        fds.push_back(pollfd { listener, POLLIN, 0 });
        for (int c : clients)
            fds.push_back(pollfd { c, POLLIN, 0 });
        if (poll(fds.data(), nfds_t(fds.size()), 10) <= 0)
            continue;
        if (fds[0].revents & POLLIN) {
            const int c = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (c >= 0) {
                clients.push_back(c);
                accepted.fetch_add(1);
            }
        }
        for (size_t i = 1; i < fds.size(); ++i) {
            if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            const ssize_t r = ::read(fds[i].fd, buffer.data(), buffer.size());
            if (r <= 0) {
                ::close(fds[i].fd);
                clients.erase(std::find(clients.begin(), clients.end(), fds[i].fd));
                continue;
            }
            received.fetch_add(int(r));
            if (echoing)
                writeAll(fds[i].fd, buffer.data(), int(r));
        }
    }
    for (int c : clients)
        ::close(c);
}

bool looksLikeEchoedRun(const QString &text, int length)
{
    int stretch = text.isEmpty() ? 0 : 1;
    int longest = stretch;
    for (int i = 0; i < text.size(); ++i) {
        const int c = text.at(i).unicode();
        if (c < 33 || c > 126)
            return false;
        if (i > 0) {
            const int previous = text.at(i - 1).unicode();
            stretch = c == (previous == 126 ? 33 : previous + 1) ? stretch + 1 : 1;
            longest = qMax(longest, stretch);
        }
    }
    return longest >= length;
}

QStringList unitPlugs()
{
    const QStringList plugs = qEnvironmentVariable("BENCHTEST_COMM_PLUGS").split(QLatin1Char(','));
    if (plugs.size() != 3 || !QFile::exists(QStringLiteral("/dev/ttyO0")))
        return {};
    return plugs;
}

QStringList openFilePaths()
{
    QStringList paths;
    const QDir fdDir(QStringLiteral("/proc/self/fd"));
    const QStringList entries
        = fdDir.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    for (const QString &entry : entries)
        paths.append(QFileInfo(fdDir.filePath(entry)).symLinkTarget());
    return paths;
}

QByteArray printableRun(int length, int after)
{
    QByteArray run;
    int character = after;
    for (int i = 0; i < length; ++i) {
        if (++character > 126)
            character = 33;
        run.append(char(character));
    }
    return run;
}

bool isContiguousRun(const QString &text)
{
    for (int i = 1; i < text.size(); ++i) {
        const int previous = text.at(i - 1).unicode();
        const int expected = previous == 126 ? 33 : previous + 1;
        if (text.at(i).unicode() != expected)
            return false;
    }
    return true;
}

// ThreadSanitizer builds: Qt's libraries are not instrumented, so their own thread hand-offs
// (QThread::wait, QtTest's watchdog) are invisible to it; races are judged only where our
// instrumented code makes the call.
extern "C" const char *__tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}
