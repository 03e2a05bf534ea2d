#include "acceptingserver.h"

#include <QHostAddress>
#include <QSocketNotifier>
#include <QTcpSocket>

#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

AcceptingServer::AcceptingServer(QObject *parent) : QTcpServer(parent) { }

bool AcceptingServer::listenOn(quint16 port)
{
    if (!listen(QHostAddress::Any, port))
        return false;
    // Qt's own notifier stays off; ours accepts.
    pauseAccepting();
    delete notifier;
    notifier = new QSocketNotifier(socketDescriptor(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &AcceptingServer::acceptWaiting);
    return true;
}

void AcceptingServer::resume()
{
    if (notifier && !notifier->isEnabled()) {
        notifier->setEnabled(true);
        acceptWaiting();
    }
}

bool AcceptingServer::isAccepting() const
{
    return notifier && notifier->isEnabled();
}

bool AcceptingServer::hasPendingConnections() const
{
    return !pending.isEmpty();
}

QTcpSocket *AcceptingServer::nextPendingConnection()
{
    return pending.isEmpty() ? nullptr : pending.takeFirst();
}

void AcceptingServer::acceptWaiting()
{
    const int listener = int(socketDescriptor());
    while (notifier && notifier->isEnabled()) {
        const int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED)
                continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK)
                return;
            const QString reason = QString::fromLocal8Bit(std::strerror(errno));
            notifier->setEnabled(false);
            Q_EMIT outOfResources(reason);
            return;
        }
        auto *socket = new QTcpSocket(this);
        if (!socket->setSocketDescriptor(fd)) {
            ::close(fd);
            delete socket;
            continue;
        }
        pending.append(socket);
        Q_EMIT newConnection();
    }
}
