// What the USB tests share: standard output caught in a file (the device test prints each
// look at the RAM image there), fake shell tools that log their words, and a guard that
// /dev/sda is the unit's cable image and never a real disk.
#pragma once

#include "tests/support/stdoutcapture.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QStringList>

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace UsbTestSupport {

using TestSupport::StdoutCapture;

const QString ToolLog = QStringLiteral("/tmp/usb-tools.log");
const QString FakeBin = QStringLiteral("/tmp/usb-fakebin");

// True when /dev/sda is absent or an ordinary file (the cable image of the unit); a block
// device means this is not a virtual unit and nothing may write there.
inline bool hostDiskIsSafe()
{
    struct stat info;
    if (::lstat("/dev/sda", &info) != 0)
        return true;
    return S_ISREG(info.st_mode);
}

inline bool hostDiskIsCableImage()
{
    struct stat info;
    return ::lstat("/dev/sda", &info) == 0 && S_ISREG(info.st_mode);
}

// Puts logging wrappers for these tools in front of PATH; each line is "tool args | cwd".
inline bool wrapTools(const QStringList &tools)
{
    if (!QDir().mkpath(FakeBin))
        return false;
    for (const QString &tool : tools) {
        const QString real = QStandardPaths::findExecutable(tool,
            { QStringLiteral("/usr/bin"), QStringLiteral("/bin"), QStringLiteral("/usr/sbin"),
                QStringLiteral("/sbin") });
        if (real.isEmpty())
            return false;
        QFile script(FakeBin + QLatin1Char('/') + tool);
        if (!script.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return false;
        script.write(
            QStringLiteral("#!/bin/sh\necho \"%1${*:+ $*} | $(pwd)\" >> %2\nexec %3 \"$@\"\n")
                .arg(tool, ToolLog, real)
                .toUtf8());
        script.close();
        QFile::setPermissions(
            script.fileName(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    const QString path = qEnvironmentVariable("PATH");
    if (!path.startsWith(FakeBin))
        qputenv("PATH", (FakeBin + QLatin1Char(':') + path).toUtf8());
    return true;
}

// The logged command lines, each with the directory it ran in when asked for.
inline QStringList toolLog(bool withDirectory = false)
{
    QFile file(ToolLog);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines
        = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (!withDirectory) {
        for (QString &line : lines)
            line.truncate(line.lastIndexOf(QLatin1String(" | ")));
    }
    return lines;
}

} // namespace UsbTestSupport
