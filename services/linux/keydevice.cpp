#include "services/keydevice.h"

#include <cerrno>

#include <linux/input.h>
#include <sys/ioctl.h>

bool grabKeyDevice(int fd)
{
    if (fd < 0) {
        errno = EBADF;
        return false;
    }
    return ioctl(fd, EVIOCGRAB, 1) == 0;
}
