// The slave tester's TCP listener. It accepts its clients itself: when the process runs out of
// descriptors, QTcpServer on some Qt versions neither reports it nor stops trying, and spins on
// the failing accept; this one stops, says why once, and goes on when told to.
#pragma once

#include <QList>
#include <QTcpServer>

class QSocketNotifier;
class QTcpSocket;

class AcceptingServer : public QTcpServer {
    Q_OBJECT
public:
    explicit AcceptingServer(QObject *parent = nullptr);

    // Listens on every address; false (with errorString()) when the port cannot be had.
    bool listenOn(quint16 port);
    // Accepts again after outOfResources(); harmless when accepting is on.
    void resume();
    bool isAccepting() const;

    bool hasPendingConnections() const override;
    QTcpSocket *nextPendingConnection() override;

Q_SIGNALS:
    // Accepting stopped (out of descriptors or memory); the reason is the system's text.
    void outOfResources(const QString &reason);

private:
    void acceptWaiting();

    QSocketNotifier *notifier = nullptr;
    QList<QTcpSocket *> pending;
};
