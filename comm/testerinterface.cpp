#include "testerinterface.h"
#include "ui_testerinterface.h"

#include "common/panelmodel.h"
#include "common/portnames.h"
#include "commtext.h"
#include "readingthread.h"
#include "services/fram.h"

#include <QHostAddress>
#include <QScrollBar>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextEdit>
#include <QTimer>

namespace {
// How long TCP text may wait before it is drawn (a person reads it, a client waits for it).
constexpr int EthernetPaneDelay = 50;
constexpr int StartDelay = 50;
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
    delete server;
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
    connect(ethernetPaneTimer, &QTimer::timeout, this, &TesterInterface::showPendingEthernetText);
    server = new QTcpServer(this);
    server->listen(QHostAddress::Any, TcpPort);
    connect(server, &QTcpServer::newConnection, this, &TesterInterface::createTcpServerConnection);

    // A pane empties itself as soon as its text overflows.
    for (QTextEdit *pane :
        { ui->com1TextEdit, ui->com2TextEdit, ui->com3TextEdit, ui->ethernetTextEdit })
        connect(pane->verticalScrollBar(), &QScrollBar::rangeChanged, pane, &QTextEdit::clear);
}

void TesterInterface::run()
{
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
    connect(client, &QTcpSocket::disconnected, this, &TesterInterface::closeSocketConnection);
    connect(client, &QTcpSocket::readyRead, this, &TesterInterface::receieveSocketData);
}

void TesterInterface::closeSocketConnection()
{
    if (QObject *client = sender())
        client->deleteLater();
}

void TesterInterface::receieveSocketData()
{
    auto *client = qobject_cast<QTcpSocket *>(sender());
    if (!client)
        return;
    const QByteArray data = client->readAll();
    // The echo goes out first and at once: a client that ends its sending side right after
    // its block would otherwise lose it, since the socket closes as soon as it reads that end.
    client->write(data);
    client->flush();
    pendingEthernetText += zeroTerminatedText(data);
    if (!ethernetPaneTimer->isActive())
        ethernetPaneTimer->start();
}

void TesterInterface::showPendingEthernetText()
{
    ui->ethernetTextEdit->insertPlainText(pendingEthernetText);
    pendingEthernetText.clear();
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
