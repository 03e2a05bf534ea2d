#include "macaddresswidget.h"

#include "common/messagebox.h"
#include "common/panelmodel.h"
#include "common/qtcompat.h"
#include "common/shell.h"
#include "common/unitrecord.h"
#include "hexkeyboard.h"
#include "input/inputpanelinterface.h"
#include "services/fm25v02.h"
#include "services/fram.h"
#include "ui_macaddresswidget.h"

#include <QApplication>
#include <QDebug>
#include <QFile>
#include <QKeyEvent>
#include <QStringList>
#include <QTextStream>

#include <cstdio>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

// The MAC record inside the FRAM parameter area.
constexpr unsigned int LengthAddress = 0;
constexpr unsigned int CheckSumAddress = 2;
constexpr unsigned int ParameterAddress = 4;
constexpr unsigned int MacAddress = 132;
constexpr unsigned int MacPresentAddress = 178;
constexpr int CheckSumWords = 100;
constexpr unsigned long FramWriteGate = 0x1001;

const QString SupplyFileName = QStringLiteral("Quorvan_benchtest_macaddress");
const QString WorkingCopy = QStringLiteral("/tmp/Quorvan_benchtest_macaddress");
const QString Title = QStringLiteral("QUORVAN");

quint16 readWord(unsigned int address)
{
    char bytes[2] = { 0, 0 };
    FM25V02_READ(address, bytes, 2);
    return quint16(quint8(bytes[0]) | (quint8(bytes[1]) << 8));
}

void writeWord(unsigned int address, quint16 value)
{
    char bytes[2] = { char(value & 0xFF), char(value >> 8) };
    FM25V02_WRITE(address, bytes, 2);
}

// The six MAC words as the compare after a write reads them: lower-case hex, ':' between.
QString macWordsText()
{
    QString result;
    for (unsigned int address = MacAddress; address <= MacAddress + 10; address += 2) {
        const quint16 value = readWord(address);
        if (value > 15)
            result += QStringLiteral("%1").arg(value, 0, 16);
        else
            result += QStringLiteral("0%1").arg(value, 0, 16);
        if (address != MacAddress + 10)
            result += QLatin1Char(':');
    }
    return result;
}

int monitorModel()
{
    return Fram::getInstance()->getMonitorModel();
}

void runCommand(const QString &command)
{
    if (runShell(command.toLocal8Bit().constData()) == -1)
        qDebug() << "cannot run" << command;
}

} // namespace

MacAddressWidget::MacAddressWidget(QWidget *parent) : QWidget(parent)
{
    // Value-initialised, so the form's pointers stay null until run() sets it up.
    ui = new Ui_MacAddressWidget();
    macFilePath.clear();
    usbMounted = false;

    FM25V02_Init();
    FM25V02_RDID();

    if (PanelModel::isFourInch(monitorModel())) {
        hexKeyboard = new HexKeyboard;
        hexKeyboard->setObjectName(QStringLiteral("hexKeyboard"));
        connect(
            hexKeyboard->panel, &InputPanelInterface::proceed, this, &MacAddressWidget::editFinish);
        hexKeyboard->setWindowFlags(hexKeyboard->windowFlags() | Qt::FramelessWindowHint);
    } else {
        // A keyboard or bar-code scanner may type the address anywhere in the program.
        qApp->installEventFilter(this);
    }
}

MacAddressWidget::~MacAddressWidget()
{
    runCommand(QStringLiteral("echo \"1\" > /tmp/homekey"));
    delete ui;
}

QString MacAddressWidget::macText() const
{
    return ui->macAddress ? ui->macAddress->text() : QString();
}

void MacAddressWidget::setMacText(const QString &text)
{
    // A provisioned unit never sets its form up; there is no label to show an address on.
    if (ui->macAddress)
        ui->macAddress->setText(text);
}

void MacAddressWidget::run()
{
    if (isSetMac())
        return;

    if (!ui->macAddress) {
        ui->setupUi(this);
    } else {
        // Set up once: a second form would duplicate the widgets and connect OK twice, writing
        // and consuming twice per press. Its texts start over as a fresh form's would.
        ui->retranslateUi(this);
    }
    ui->okButton->setFocus(Qt::OtherFocusReason);

    if (PanelModel::isFourInch(monitorModel())) {
        const QString text = QStringLiteral("02:A7:3C:00:00:00");
        ui->macAddress->setText(text);
        hexKeyboard->raise();
        hexKeyboard->show();
        hexKeyboard->panel->execEv(text, QStringLiteral("MAC"));
        const QRect screen = screenGeometry();
        hexKeyboard->move((screen.width() - hexKeyboard->width()) / 2,
            (screen.height() - hexKeyboard->height()) / 2);
    } else {
        usbMounted = mountUSB();
        if (usbMounted)
            readMACAddressFromFile();
        else
            MessageBox::critical(this, Title, tr("USB Stick not found!!\n"));
    }
}

void MacAddressWidget::on_okButton_clicked()
{
    Fram::getInstance()->makeSound(2);

    if (!writeMACAddressToFRAM()) {
        recordOutcome(QStringLiteral("write failed"));
        MessageBox::critical(this, Title, tr("Write MAC address failed!!\n"));
        return;
    }
    if (readMACAddressFromFRAM() != macText().toLower()) {
        recordOutcome(QStringLiteral("compare failed"));
        MessageBox::critical(this, Title, tr("Compare MAC address failed!!\n"));
        return;
    }
    // kept: models below 4 read the stick's file but never consume it.
    if (PanelModel::consumesSupplyFile(monitorModel()))
        deleteReadMACAddressToFile();
    writeCheckSum();
    UnitRecord::setMac(macText());
    // A unit shown as done must have its record: a record that could not be written is said
    // before the success box.
    if (!recordOutcome(QStringLiteral("written")))
        MessageBox::critical(
            this, Title, tr("Write unit record failed!!\n%1").arg(UnitRecord::lastError()));
    MessageBox::information(
        this, Title, tr("Write MAC address success!!\nPlease restart machine!"));
}

bool MacAddressWidget::recordOutcome(const QString &result)
{
    return UnitRecord::append(QStringLiteral("outcome"), QStringLiteral("MAC"), result);
}

void MacAddressWidget::on_retryButton_clicked()
{
    Fram::getInstance()->makeSound(2);

    if (PanelModel::isFourInch(monitorModel())) {
        const QString text = macText();
        hexKeyboard->show();
        hexKeyboard->panel->execEv(text, QStringLiteral("MAC"));
        return;
    }
    // A stick found once is not searched again; Retry then only rereads the first line.
    if (!usbMounted) {
        usbMounted = mountUSB();
        if (!usbMounted) {
            MessageBox::critical(this, Title, tr("USB Stick not found!!\n"));
            return;
        }
    }
    readMACAddressFromFile();
}

void MacAddressWidget::editFinish(QString text)
{
    qDebug() << "editFinish";
    if (hexKeyboard)
        hexKeyboard->hide();
    setMacText(text);
}

bool MacAddressWidget::mountUSB()
{
    // kept: the line goes to system() unquoted; the outer shell does the pipe and redirection.
    const QString command
        = QStringLiteral("mount | grep '/run/media/sd' > ") + QStringLiteral("/tmp/devchk");
    QStringList arguments;
    arguments << QStringLiteral("-c") << command;
    runCommand(QStringLiteral("sh %1").arg(arguments.join(QStringLiteral(" "))));

    QFile devchk(QStringLiteral("/tmp/devchk"));
    if (!devchk.open(QIODevice::ReadOnly))
        return false;
    QTextStream in(&devchk);
    QString line = in.readLine();
    while (!line.isEmpty()) {
        // "DEVICE on MOUNT-POINT type ...": the mount point is the third field.
        macFilePath = line.split(QLatin1Char(' '), Qt::KeepEmptyParts).value(2);
        if (!macFilePath.isEmpty())
            break;
        line = in.readLine();
    }
    devchk.close();
    if (macFilePath.isEmpty())
        return false;

    macFilePath += QLatin1Char('/') + SupplyFileName;
    qDebug() << macFilePath;
    return true;
}

bool MacAddressWidget::umountUSB()
{
    return true;
}

void MacAddressWidget::exit() { }

void MacAddressWidget::readMACAddressFromFile()
{
    QFile file(macFilePath);
    if (file.open(QIODevice::ReadOnly | QIODevice::Text) && !file.atEnd()) {
        QTextStream in(&file);
        setMacText(in.readLine().toUpper());
    }
    file.close();
}

void MacAddressWidget::deleteReadMACAddressToFile()
{
    QFile usbFile(macFilePath);
    // Not writable (a read-only stick): the line stays for the next unit.
    if (!usbFile.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
        return;

    const QString copyIn = QStringLiteral("cp ") + macFilePath + QStringLiteral(" /tmp");
    qDebug() << copyIn;
    runCommand(copyIn);

    QFile ramFile(WorkingCopy);
    if (!ramFile.open(QIODevice::ReadWrite)) {
        qDebug() << "ram_file.open fail";
        return;
    }
    // Shift every line after the first one line up, in place.
    QTextStream stream(&ramFile);
    stream.readLine();
    QString line = stream.readLine();
    qint64 writePos = 0;
    while (!line.isNull()) {
        const qint64 readPos = stream.pos();
        stream.seek(writePos);
        stream << line << "\n";
        stream.flush();
        writePos = stream.pos();
        stream.seek(readPos);
        line = stream.readLine();
    }
    ramFile.resize(writePos);
    ramFile.close();

    const QString copyOut = QStringLiteral("cp ") + WorkingCopy + QLatin1Char(' ') + macFilePath;
    qDebug() << copyOut;
    runCommand(copyOut);
    sync();
    sleep(1);
}

bool MacAddressWidget::eventFilter(QObject *obj, QEvent *ev)
{
    static QByteArray macAddrBA;
    static int lastKeyCode = 0;
    static int lastEventType = 0;

    const int type = ev->type();
    // Qt hands one key event first to the window and then to every widget it propagates
    // through; it is taken once, at the window, so a character is never counted twice.
    if ((type != QEvent::KeyPress && type != QEvent::KeyRelease) || !obj->isWindowType())
        return QObject::eventFilter(obj, ev);

    const int key = static_cast<QKeyEvent *>(ev)->key();
    if (type == QEvent::KeyPress && key != Qt::Key_Shift) {
        lastKeyCode = key;
        lastEventType = QEvent::KeyPress;
        return QObject::eventFilter(obj, ev);
    }

    // A release, or Shift pressed: the character pressed last is taken now, once, whichever
    // way round a scanner sends Shift and the letter.
    if (lastEventType == QEvent::KeyPress && lastKeyCode != Qt::Key_Shift) {
        if (key == Qt::Key_Return) {
            qDebug() << macAddrBA;
            QString typed = QString::fromLatin1(macAddrBA.constData());
            typed.remove(QLatin1Char('%'));
            qDebug() << typed;
            QString display;
            for (int i = 0; i < typed.size(); ++i) {
                display += typed.at(i);
                if (i % 2 == 1 && i != typed.size() - 1)
                    display += QLatin1Char(':');
            }
            setMacText(display);
            macAddrBA.clear();
        } else {
            macAddrBA.append(char((key == Qt::Key_Shift ? lastKeyCode : key) & 0xFF));
            lastKeyCode = key;
        }
    }
    lastEventType = type;
    return QObject::eventFilter(obj, ev);
}

bool MacAddressWidget::writeMACAddressToFRAM()
{
    const QString text = macText();
    for (int i = 0; i < 6; ++i) {
        bool ok = false;
        // kept: no validation; a field that is not hexadecimal, or is missing, writes 0.
        const quint16 word = quint16(text.section(QLatin1Char(':'), i, i).toInt(&ok, 16));
        writeWord(MacAddress + 2 * unsigned(i), word);
    }
    writeWord(MacPresentAddress, 1);
    return true;
}

QString MacAddressWidget::readMACAddressFromFRAM()
{
    return macWordsText();
}

QString MacAddressWidget::framMac()
{
    if (readWord(MacPresentAddress) != 1)
        return QStringLiteral("-");
    const QString text = macWordsText().toUpper();
    // A word above 0xFF is no octet: the record says "no address" rather than a wrong one.
    if (text.size() != 17) {
        qWarning() << "FRAM MAC words are not an address:" << text;
        return QStringLiteral("-");
    }
    return text;
}

void MacAddressWidget::writeCheckSum()
{
    const unsigned int length = readWord(LengthAddress);
    // The sum always covers the first 100 words, also when the length word is shorter.
    std::vector<char> buffer(qMax<unsigned int>(length, CheckSumWords * 2), 0);
    FM25V02_READ(ParameterAddress, buffer.data(), unsigned(buffer.size()));
    quint16 sum = 0;
    for (int i = 0; i < CheckSumWords; ++i) {
        const quint16 word
            = quint16(quint8(buffer[size_t(2 * i)]) | (quint8(buffer[size_t(2 * i + 1)]) << 8));
        sum = quint16(sum + word);
    }
    writeWord(CheckSumAddress, sum);
}

void MacAddressWidget::readCheckSum()
{
    const quint16 sum = readWord(CheckSumAddress);
    if (ui->label)
        ui->label->setText(QStringLiteral("%1").arg(sum, 0, 10));
}

bool MacAddressWidget::isSetMac()
{
    const quint16 first = readWord(MacAddress);
    qDebug().noquote().nospace() << " macAddr " << first;
    return first == 0x02;
}

bool MacAddressWidget::readBufferFromFRAM(unsigned int offset, unsigned int length, void *buffer)
{
    const int fd = ::open("/dev/fram", O_RDONLY);
    // kept: descriptor 0 counts as a failure too.
    if (fd <= 0) {
        puts("open proc failed!");
        fflush(stdout);
        return false;
    }
    if (pread(fd, buffer, length, off_t(offset)) == ssize_t(length)) {
        ::close(fd);
        return true;
    }
    puts("read fram proc failed!");
    fflush(stdout);
    return false;
}

bool MacAddressWidget::writeBufferToFRAM(unsigned int offset, unsigned int length, void *buffer)
{
    const int fd = ::open("/dev/fram", O_WRONLY);
    if (fd <= 0) {
        puts("open proc failed");
        fflush(stdout);
        return false;
    }
    // The driver opens its write gate around every raw write.
    ioctl(fd, FramWriteGate, 1);
    if (pwrite(fd, buffer, length, off_t(offset)) == ssize_t(length)) {
        ioctl(fd, FramWriteGate, 0);
        ::close(fd);
        return true;
    }
    puts("write fram proc failed");
    fflush(stdout);
    return false;
}
