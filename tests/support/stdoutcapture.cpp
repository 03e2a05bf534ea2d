#include "tests/support/stdoutcapture.h"

#include <QString>

#include <unistd.h>

namespace TestSupport {

StdoutCapture::StdoutCapture()
{
    std::fflush(stdout);
    file = std::tmpfile();
    if (!file) {
        std::perror("StdoutCapture: tmpfile");
        return;
    }
    saved = ::dup(STDOUT_FILENO);
    ::dup2(fileno(file), STDOUT_FILENO);
}

StdoutCapture::~StdoutCapture()
{
    const QByteArray all = readAll();
    restore();
    if (all.size() > seen) {
        std::fwrite(all.constData() + seen, 1, size_t(all.size() - seen), stdout);
        std::fflush(stdout);
    }
    if (file)
        std::fclose(file);
}

QByteArray StdoutCapture::readAll()
{
    std::fflush(stdout);
    QByteArray bytes;
    if (!file)
        return bytes;
    char chunk[4096];
    // The caught output ends where standard output's shared offset stands now.
    const off_t end = ::lseek(fileno(file), 0, SEEK_CUR);
    for (off_t at = 0; at < end;) {
        const ssize_t n = ::pread(fileno(file), chunk, sizeof chunk, at);
        if (n <= 0)
            break;
        bytes.append(chunk, int(n));
        at += n;
    }
    return bytes;
}

QByteArray StdoutCapture::text()
{
    const QByteArray all = readAll();
    seen = all.size();
    return all;
}

QByteArray StdoutCapture::take()
{
    const QByteArray all = text();
    restore();
    return all;
}

QStringList StdoutCapture::lines()
{
    return QString::fromLatin1(take()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void StdoutCapture::restore()
{
    if (saved < 0)
        return;
    std::fflush(stdout);
    ::dup2(saved, STDOUT_FILENO);
    ::close(saved);
    saved = -1;
}

} // namespace TestSupport
