#include "testerinterface.h"
#include "ui_testerinterface.h"

#include "acceptingserver.h"

#include "common/panelmodel.h"
#include "common/portnames.h"
#include "commtext.h"
#include "readingthread.h"
#include "services/fram.h"

#include <QScrollBar>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextEdit>
#include <QTimer>

#include <cstdio>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {
constexpr int StartDelay = 50;
// Quiet time before received TCP text is drawn, in ms; a unit under test sends every 10 ms.
constexpr int EthernetPaneDelay = 1;
// Undrawn blocks kept during a burst; older ones would have overflowed the pane anyway.
constexpr int MaxPendingBlocks = 256;
// A port that is taken (a second tester, a leftover process) is tried again this often.
constexpr int ListenRetry = 2000;
// After running out of descriptors, accepting is tried again this often (and whenever a
// client leaves).
constexpr int AcceptRetry = 500;
// Unsent echo above which a client is no longer read: TCP flow control then holds back a
// client that sends without reading, instead of the tester's memory.
constexpr qint64 MaxPendingEcho = 1024 * 1024;
// What Qt may hold of a client's unread bytes.
constexpr qint64 ClientReadBuffer = 64 * 1024;

void say(const QString &line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

// Units under test are switched off at the end of their walk without closing their
// connection; keep-alive probes find such peers so their sockets are freed. Seconds idle
// before the first probe, between probes, and unanswered probes before the peer counts as
// gone; BENCHTEST_TCP_KEEPALIVE="IDLE INTERVAL COUNT" overrides them.
struct KeepAlive {
    int idle = 20;
    int interval = 5;
    int count = 3;
};

KeepAlive keepAliveTimes()
{
    KeepAlive times;
    const QStringList parts = qEnvironmentVariable("BENCHTEST_TCP_KEEPALIVE")
                                  .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.size() != 3)
        return times;
    bool ok[3] = {};
    const int values[3]
        = { parts.at(0).toInt(&ok[0]), parts.at(1).toInt(&ok[1]), parts.at(2).toInt(&ok[2]) };
    if (ok[0] && ok[1] && ok[2] && values[0] > 0 && values[1] > 0 && values[2] > 0)
        times = { values[0], values[1], values[2] };
    return times;
}

void enableKeepAlive(QTcpSocket *client)
{
    static const KeepAlive times = keepAliveTimes();
    client->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    const int fd = int(client->socketDescriptor());
    if (fd < 0)
        return;
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPIDLE, &times.idle, sizeof times.idle);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPINTVL, &times.interval, sizeof times.interval);
    setsockopt(fd, IPPROTO_TCP, TCP_KEEPCNT, &times.count, sizeof times.count);
}
} // namespace

TesterInterface::TesterInterface(QWidget *parent)
    : TesterInterface(QStringList { COMPORT1, COMPORT2, COMPORT3 }, parent)
{
}

TesterInterface::TesterInterface(const QStringList &portPaths, QWidget *parent)
    : QWidget(parent), ui(new Ui::TesterInterface), paths(portPaths)
{
    while (paths.size() < 3)
        paths.append(QString());
    ui->setupUi(this);
    QFont f = font();
    f.setPixelSize(16);
    setFont(f);
    init();
}

TesterInterface::~TesterInterface()
{
    delete ui;
    // Its clients say goodbye while it is destroyed; closeSocketConnection() must not reach it.
    AcceptingServer *closing = server;
    server = nullptr;
    delete closing;
    delete timer;
    delete port1Thread;
    delete port2Thread;
    delete port3Thread;
}

void TesterInterface::init()
{
    const int model = Fram::getInstance()->getMonitorModel();
    if (PanelModel::isFourInch(model)) {
        ui->com1Label->setText(QStringLiteral("==== RS232 ===="));
        ui->com2Label->setText(QStringLiteral("==== RS422/RS485 ===="));
        ui->com3Label->hide();
        ui->com3TextEdit->hide();
    }
    if (PanelModel::echoesSerial(model)) {
        // Every port as RS485: the transceivers of all three lines are then driven by the
        // driver, whatever line the unit under test is checking.
        ReadingThread **threads[] = { &port1Thread, &port2Thread, &port3Thread };
        for (int i = 0; i < 3; ++i) {
            auto *thread = new ReadingThread(paths.at(i), RS485, this);
            thread->setEchoFlag(1);
            connect(thread, &ReadingThread::updateBuffer, this, &TesterInterface::textEditUpdate);
            *threads[i] = thread;
        }
    }

    ethernetPaneTimer = new QTimer(this);
    ethernetPaneTimer->setSingleShot(true);
    ethernetPaneTimer->setInterval(EthernetPaneDelay);
    connect(ethernetPaneTimer, &QTimer::timeout, this, &TesterInterface::showNextEthernetBlock);
    server = new AcceptingServer(this);
    connect(server, &QTcpServer::newConnection, this, &TesterInterface::createTcpServerConnection);
    connect(server, &AcceptingServer::outOfResources, this, &TesterInterface::acceptFailed);
    listenForClients();

    for (QTextEdit *pane :
        { ui->com1TextEdit, ui->com2TextEdit, ui->com3TextEdit, ui->ethernetTextEdit })
        clearWhenFull(pane);
}

void TesterInterface::listenForClients()
{
    if (server->listenOn(TcpPort)) {
        if (!listenError.isEmpty())
            say(QStringLiteral("Slave tester: listening on TCP port %1 now").arg(TcpPort));
        listenError.clear();
        return;
    }
    const QString reason = server->errorString();
    if (reason != listenError)
        say(QStringLiteral("Slave tester: cannot listen on TCP port %1 (%2); trying again every "
                           "%3 s")
                .arg(TcpPort)
                .arg(reason)
                .arg(ListenRetry / 1000));
    listenError = reason;
    QTimer::singleShot(ListenRetry, this, &TesterInterface::listenForClients);
}

void TesterInterface::acceptFailed(const QString &reason)
{
    // Accepting has stopped (out of descriptors); the clients already connected are served
    // on, and accepting resumes as soon as it can.
    if (!acceptErrorReported)
        say(QStringLiteral("Slave tester: cannot accept a TCP client (%1); serving the %2 "
                           "connected ones and trying again")
                .arg(reason)
                .arg(server->findChildren<QTcpSocket *>().size()));
    acceptErrorReported = true;
    QTimer::singleShot(AcceptRetry, server, &AcceptingServer::resume);
}

void TesterInterface::run()
{
    // kept: the timer is made here and never started.
    if (!timer)
        timer = new QTimer;
    QTimer::singleShot(StartDelay, this, &TesterInterface::startReading);
}

void TesterInterface::startReading()
{
    for (ReadingThread *thread : { port1Thread, port2Thread, port3Thread }) {
        if (thread)
            thread->start(QThread::InheritPriority);
    }
}

void TesterInterface::createTcpServerConnection()
{
    auto *source = qobject_cast<QTcpServer *>(sender());
    if (!source)
        return;
    QTcpSocket *client = source->nextPendingConnection();
    if (!client)
        return;
    client->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    enableKeepAlive(client);
    client->setReadBufferSize(ClientReadBuffer);
    connect(client, &QTcpSocket::disconnected, this, &TesterInterface::closeSocketConnection);
    connect(client, &QTcpSocket::readyRead, this, &TesterInterface::receieveSocketData);
    // A client held back by its unsent echo is read again as the echo drains.
    connect(client, &QTcpSocket::bytesWritten, this, &TesterInterface::receieveSocketData);
    acceptErrorReported = false;
}

void TesterInterface::closeSocketConnection()
{
    if (QObject *client = sender())
        client->deleteLater();
    // A descriptor is free again.
    if (server && acceptErrorReported)
        server->resume();
}

void TesterInterface::receieveSocketData()
{
    auto *client = qobject_cast<QTcpSocket *>(sender());
    if (!client)
        return;
    if (client->bytesToWrite() > MaxPendingEcho)
        return;
    const QByteArray data = client->readAll();
    if (data.isEmpty())
        return;
    // The echo goes out first and at once, the pane follows: nobody sees the order, and the
    // client's round trip does not wait for the drawing.
    client->write(data);
    client->flush();
    pendingEthernetBlocks.append(zeroTerminatedText(data));
    if (pendingEthernetBlocks.size() > MaxPendingBlocks)
        pendingEthernetBlocks.removeFirst();
    // Only noted here: restarting a timer for every block would cost the round trip.
    lastEthernetBlock.start();
    if (!ethernetPaneTimer->isActive())
        ethernetPaneTimer->start();
}

void TesterInterface::showNextEthernetBlock()
{
    if (pendingEthernetBlocks.isEmpty())
        return;
    if (lastEthernetBlock.isValid() && lastEthernetBlock.elapsed() < EthernetPaneDelay) {
        ethernetPaneTimer->start();
        return;
    }
    showEthernetText(pendingEthernetBlocks.takeFirst());
    if (!pendingEthernetBlocks.isEmpty())
        ethernetPaneTimer->start();
}

void TesterInterface::showEthernetText(const QString &text)
{
    QTextEdit *pane = ui->ethernetTextEdit;
    // Text that cannot fit even at one pixel a character would overflow the pane, which then
    // empties itself: the same end, without laying out a bulk client's whole block first.
    const QSize view = pane->viewport()->size();
    const int lines = view.height() / qMax(1, pane->fontMetrics().lineSpacing()) + 1;
    if (pane->isVisible() && text.size() > (view.width() + 1) * lines) {
        pane->clear();
        return;
    }
    pane->insertPlainText(text);
}

void TesterInterface::textEditUpdate(int count, QByteArray data)
{
    if (count == 0)
        return;
    data = data.left(count);
    auto *thread = qobject_cast<ReadingThread *>(sender());
    if (!thread)
        return;
    const QString port = thread->port();
    const QString text = zeroTerminatedText(data);
    if (port == lastPort && text == lastText)
        return;

    QTextEdit *pane = nullptr;
    if (port == paths.at(0))
        pane = ui->com1TextEdit;
    else if (port == paths.at(1))
        pane = ui->com2TextEdit;
    else if (port == paths.at(2))
        pane = ui->com3TextEdit;
    if (!pane)
        return;
    pane->insertPlainText(text);
    lastPort = port;
    lastText = text;
}
