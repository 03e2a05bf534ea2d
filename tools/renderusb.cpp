// Renders the USB page after a host and a device test, for a person to look at:
// renderusb OUTDIR WxH, inside a virtual unit (with --usb-stick and --usb-cable for the pass
// lines, without them for the fail lines).
#include "usb/usbhostdevicetest.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDir>
#include <QLabel>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (argc < 3) {
        fprintf(stderr, "usage: renderusb OUTDIR WxH\n");
        return 2;
    }
    const QString dir = QString::fromLocal8Bit(argv[1]);
    const QStringList size = QString::fromLatin1(argv[2]).split(QLatin1Char('x'));
    const QSize screen(size.value(0).toInt(), size.value(1).toInt());
    QDir().mkpath(dir);
    // As on the bench: a page inside the full-screen window, not a window of its own.
    QWidget window;
    auto *layout = new QHBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    auto *pagePointer = new USBHostDeviceTest;
    layout->addWidget(pagePointer);
    USBHostDeviceTest &page = *pagePointer;
    window.resize(screen);
    window.show();
    page.insertUSBDeviceModule();
    page.runUSBHostTest();
    const bool hostOk = page.findChild<QLabel *>()->text().contains(QLatin1String("black"));
    window.grab().save(QStringLiteral("%1/usb-host-%2-%3.png")
                           .arg(dir, hostOk ? QStringLiteral("pass") : QStringLiteral("fail"),
                               QString::fromLatin1(argv[2])));
    page.runUSBDeviceTest();
    const bool deviceOk = page.findChild<QLabel *>()->text().contains(QLatin1String("black"));
    window.grab().save(QStringLiteral("%1/usb-device-%2-%3.png")
                           .arg(dir, deviceOk ? QStringLiteral("pass") : QStringLiteral("fail"),
                               QString::fromLatin1(argv[2])));
    return 0;
}
