#include "services/keydevice.h"

#include <fcntl.h>
#include <unistd.h>

int openKeyDevice(const char *path)
{
    return ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

int readKeyDevice(int fd, KeyEventRecord *record)
{
    return int(::read(fd, record, sizeof(KeyEventRecord)));
}

void closeKeyDevice(int fd)
{
    ::close(fd);
}
