#include "communicationtest.h"
#include "ui_communicationtest.h"

#include "common/panelmodel.h"
#include "common/portnames.h"
#include "commtext.h"
#include "services/fram.h"
#include "services/interface.h"

#include <QDebug>
#include <QHostAddress>
#include <QStringList>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <utility>

namespace {
constexpr int BlockSize = TestBlockSize;
constexpr int SerialPeriod = 1;
constexpr int EthernetPeriod = 10;
constexpr int SocketWait = 100;
constexpr int SocketReadWait = 30000;

QString counterText(quint16 value)
{
    return QStringLiteral("%1").arg(uint(value), 8, 16, QLatin1Char('0')).toUpper();
}

quint16 counterValue(const QLabel *label)
{
    return quint16(label->text().toUInt(nullptr, 16));
}

bool socketIsOpen(const QTcpSocket *socket)
{
    return socket && socket->isOpen() && socket->state() != QAbstractSocket::UnconnectedState;
}

void setTextColour(QLabel *label, const QColor &colour)
{
    QPalette palette = label->palette();
    palette.setColor(label->foregroundRole(), colour);
    label->setPalette(palette);
}
} // namespace

CommunicationTest::CommunicationTest(QWidget *parent)
    : QWidget(parent), ui(new Ui::CommunicationTest)
{
    ui->setupUi(this);
    QFont f = font();
    f.setPixelSize(16);
    setFont(f);
    init();
}

CommunicationTest::~CommunicationTest()
{
    delete ui;
    delete timer;
    for (Interface *port : std::as_const(ports))
        port->deleteLater();
    if (readingThread) {
        readingThread->terminate();
        readingThread->deleteLater();
    }
    delete socket;
}

void CommunicationTest::init()
{
    clearWhenFull(ui->txTextEdit);
    clearWhenFull(ui->rxTextEdit);

    kindNames.insert(RS232, QStringLiteral("RS232"));
    kindNames.insert(RS422, QStringLiteral("RS422"));
    kindNames.insert(RS485, QStringLiteral("RS485"));
}

void CommunicationTest::setTransferLimit(qint16 value)
{
    limit = value;
}

qint16 CommunicationTest::transferLimit() const
{
    return limit;
}

const QList<Interface *> &CommunicationTest::portList() const
{
    return ports;
}

void CommunicationTest::changeTitle(const QString &port, device_type type)
{
    if (type == Ethernet) {
        ui->titleLabel->setText(QStringLiteral("Ethernet test"));
        return;
    }
    QString title;
    if (port == COMPORT1)
        title = QStringLiteral("COM port 1 ");
    else if (port == COMPORT2)
        title = QStringLiteral("COM port 2 ");
    else
        title = QStringLiteral("COM port 3 ");
    ui->titleLabel->setText(title + kindNames.value(type) + QStringLiteral(" test"));
}

void CommunicationTest::createInterface(const QString &port, device_type type)
{
    if (timer)
        timer->stop();
    changeTitle(port, type);

    if (type == Ethernet) {
        mode = Mode::Ethernet;
        const QStringList parts = port.split(QLatin1Char(' '), Qt::KeepEmptyParts);
        const QString address = parts.value(0);
        const quint16 tcpPort = quint16(parts.value(1).toUInt());
        if (socket) {
            // The partner of the last Ethernet test: keep the connection that is already up.
            if (socket->peerAddress() == QHostAddress(address) && socket->peerPort() == tcpPort)
                return;
            socket->disconnectFromHost();
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        } else {
            socket = new QTcpSocket;
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        }
        socket->connectToHost(address, tcpPort, QIODevice::ReadWrite);
        return;
    }

    if (type < 16 || type > 255)
        return;

    mode = Mode::Serial;
    QString path = port;
    // The small panel's first port is RS232 only; its RS422/RS485 line is the second port.
    if (PanelModel::isFourInch(Fram::getInstance()->getMonitorModel()) && path == COMPORT1
        && type != RS232)
        path = COMPORT2;

    bool found = false;
    for (Interface *candidate : std::as_const(ports)) {
        const DeviceSetting *setting = candidate->deviceSetting();
        if (setting && setting->port == path && candidate->deviceType() == type) {
            currentPort = candidate;
            found = true;
        }
        if (candidate->isOpen())
            candidate->close();
    }
    if (found)
        return;

    auto *created = new Interface;
    // Also a child, so that a screen destroyed after its event loop has ended frees it.
    created->setParent(this);
    created->setting(
        new DeviceSetting(type, path, 115200, 8, 0, 0), new DriverSetting(100, 1, 0, 0));
    currentPort = created;
    ports.append(created);
}

void CommunicationTest::run()
{
    resetUI();
    bool ready = false;
    if (mode == Mode::Serial) {
        if (!currentPort)
            return;
        ready = currentPort->open();
    } else {
        ready = socket && socket->waitForConnected(SocketWait);
    }
    if (!ready)
        qDebug() << "Connection not established";

    if (!timer) {
        timer = new QTimer;
        connect(timer, &QTimer::timeout, this, &CommunicationTest::commTest);
    }
    timer->start(mode == Mode::Serial ? SerialPeriod : EthernetPeriod);
}

QString CommunicationTest::currentDevice() const
{
    if (mode == Mode::Ethernet)
        return QStringLiteral("Ethernet");
    if (currentPort && currentPort->deviceSetting())
        return currentPort->deviceSetting()->port;
    return QString();
}

QString CommunicationTest::currentSerial() const
{
    if (mode == Mode::Ethernet)
        return QStringLiteral("Ethernet");
    if (currentPort && currentPort->deviceSetting())
        return kindNames.value(currentPort->deviceSetting()->type);
    return QString();
}

void CommunicationTest::disconnectInterface()
{
    stopTransfer();
}

void CommunicationTest::stopTransfer()
{
    if (timer)
        timer->stop();
    if (mode == Mode::Ethernet) {
        // kept: the connection is not closed actively; it normally stays up, and the next
        // test with the same partner reuses it.
        if (socketIsOpen(socket))
            socket->waitForDisconnected(SocketWait);
    } else if (currentPort) {
        currentPort->close();
    }
}

void CommunicationTest::resetUI()
{
    character = 32;
    ui->txTextEdit->clear();
    ui->rxTextEdit->clear();
    ui->totalCountLabel->setText(QStringLiteral("0000"));
    setTextColour(ui->errorCountLabel, Qt::black);
    ui->errorCountLabel->setText(QStringLiteral("0000"));
}

QByteArray CommunicationTest::dataToWrite()
{
    return nextTestBlock(character);
}

void CommunicationTest::commTest()
{
    writeData();
    readData();
}

void CommunicationTest::writeData()
{
    const QByteArray block = dataToWrite();
    ui->totalCountLabel->setText(
        counterText(quint16(counterValue(ui->totalCountLabel) + BlockSize)));
    ui->txTextEdit->insertPlainText(QString::fromLatin1(block));

    if (mode == Mode::Ethernet) {
        if (socket)
            socket->write(block);
        return;
    }
    if (currentPort) {
        currentPort->control(Interface::FlushControl, 0);
        currentPort->write(block.constData(), block.size());
    }
}

void CommunicationTest::readData()
{
    QByteArray buffer;
    if (mode == Mode::Serial)
        buffer = QByteArray(BlockSize, '\0');
    const int count = readAnswer([&](int msLeft) {
        if (mode == Mode::Serial)
            return currentPort ? currentPort->read(buffer.data(), BlockSize) : -1;
        if (socket && socket->state() != QAbstractSocket::UnconnectedState) {
            socket->waitForReadyRead(SocketReadWait);
            buffer = socket->readAll();
        } else {
            // No connection returns from its wait at once: wait out the answer time as on a
            // quiet line, so that a test without a partner does not spin.
            QThread::msleep(ulong(msLeft));
        }
        return int(buffer.size());
    });

    const QString text = zeroTerminatedText(buffer);
    if (count == BlockSize && !text.isEmpty()) {
        ui->rxTextEdit->insertPlainText(text);
    } else {
        const int received = text.isEmpty() ? 0 : count;
        const quint16 errors = quint16(counterValue(ui->errorCountLabel) + BlockSize - received);
        setTextColour(ui->errorCountLabel, Qt::red);
        ui->errorCountLabel->setText(counterText(errors));
    }
    checkReachLimit();
}

void CommunicationTest::checkReachLimit()
{
    if (ui->errorCountLabel->text() != QLatin1String("0000") && limit > 0) {
        endCommunication();
        return;
    }
    const int total = counterValue(ui->totalCountLabel);
    if (total >= limit && limit > 0)
        endCommunication();
}

void CommunicationTest::endCommunication()
{
    stopTransfer();
    const QString result = ui->errorCountLabel->text() == QLatin1String("0000")
        ? QStringLiteral("ok!")
        : QStringLiteral("fail!");
    Q_EMIT errorMessage(ui->titleLabel->text(), result);
    Q_EMIT transferStop();
}

void CommunicationTest::rxUpdated(int count, QByteArray data)
{
    if (count < 1)
        ui->rxTextEdit->append(QStringLiteral("Time out!"));
    else
        ui->rxTextEdit->insertPlainText(zeroTerminatedText(data));
}
