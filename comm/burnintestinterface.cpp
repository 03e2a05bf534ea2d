#include "burnintestinterface.h"

#include "common/portnames.h"
#include "commtext.h"
#include "services/interface.h"

#include <QBoxLayout>
#include <QLabel>
#include <QScrollBar>
#include <QTextEdit>
#include <QTimerEvent>

BurninTestInterface::BurninTestInterface(QWidget *parent)
    : BurninTestInterface(COMPORT1, parent) { }

BurninTestInterface::BurninTestInterface(const QString &portPath, QWidget *parent) : QWidget(parent)
{
    setupUi();
    init(portPath);
}

BurninTestInterface::~BurninTestInterface()
{
    if (timerId)
        killTimer(timerId);
}

void BurninTestInterface::setupUi()
{
    setObjectName(QStringLiteral("BurninTestInterface"));
    resize(513, 422);
    setWindowTitle(QStringLiteral("Form"));
    QFont f = font();
    f.setPixelSize(16);
    setFont(f);

    auto *verticalLayout = new QVBoxLayout(this);
    verticalLayout->setObjectName(QStringLiteral("verticalLayout"));
    label = new QLabel(QStringLiteral("BurnIn test"), this);
    label->setObjectName(QStringLiteral("label"));
    label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    verticalLayout->addWidget(label);

    auto *horizontalLayout = new QHBoxLayout;
    horizontalLayout->setObjectName(QStringLiteral("horizontalLayout"));
    txTextEdit = new QTextEdit(this);
    txTextEdit->setObjectName(QStringLiteral("txTextEdit"));
    txTextEdit->setReadOnly(true);
    horizontalLayout->addWidget(txTextEdit);
    rxTextEdit = new QTextEdit(this);
    rxTextEdit->setObjectName(QStringLiteral("rxTextEdit"));
    rxTextEdit->setReadOnly(true);
    horizontalLayout->addWidget(rxTextEdit);
    verticalLayout->addLayout(horizontalLayout);

    QMetaObject::connectSlotsByName(this);
}

void BurninTestInterface::init(const QString &portPath)
{
    port = new Interface;
    // The port lives as long as the screen, which lives as long as the process.
    port->setParent(this);
    port->setting(
        new DeviceSetting(RS232, portPath, 115200, 8, 0, 0), new DriverSetting(100, 1, 0, 0));

    clearWhenFull(txTextEdit);
    clearWhenFull(rxTextEdit);
}

void BurninTestInterface::run()
{
    port->open();
    timerId = startTimer(1);
}

void BurninTestInterface::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == timerId) {
        // An unplugged line or a port that failed to open gets another chance every tick.
        if (!port->isOpen())
            port->open();
        writeData();
        readData();
    }
    QObject::timerEvent(event);
}

QByteArray BurninTestInterface::dataToWrite()
{
    return nextTestBlock(character);
}

void BurninTestInterface::writeData()
{
    const QByteArray block = dataToWrite();
    port->control(Interface::FlushControl, 0);
    const int written = port->write(block.constData(), block.size());
    // kept: the port's error text is fetched after every write and dropped; the sent pane is
    // the report.
    (void)port->errorString();
    if (written == block.size())
        txTextEdit->insertPlainText(QString::fromLatin1(block));
}

void BurninTestInterface::readData()
{
    QByteArray buffer;
    const int count = readAnswer([&](int) {
        buffer = QByteArray(TestBlockSize, '\0');
        return port->read(buffer.data(), TestBlockSize);
    });
    // A time-out shows nothing and counts nothing.
    if (count <= 0)
        return;
    buffer.resize(count);
    rxTextEdit->insertPlainText(zeroTerminatedText(buffer));
}
