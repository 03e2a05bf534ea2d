"""The named pipes of a virtual unit's feeders (sim/touch-feeder, sim/key-feeder), made in a
directory the unit can write: never followed, never anything but the pipe made here."""

import os
import stat


def make_fifo(path, dir_fd=None):
    """Makes the pipe PATH anew (relative to DIR_FD when given) and opens it for reading and
    writing, non-blocking, without following links; returns the descriptor, or None when what
    was opened is not the pipe made here. Whatever was at the path (a stale pipe, a planted
    link or file) is removed first. Opened for both, it never reports end of file between
    writers."""
    try:
        os.unlink(path, dir_fd=dir_fd)
    except FileNotFoundError:
        pass
    os.mkfifo(path, 0o666, dir_fd=dir_fd)
    made = os.stat(path, dir_fd=dir_fd, follow_symlinks=False)
    fd = os.open(path, os.O_RDWR | os.O_NOFOLLOW | os.O_NONBLOCK, dir_fd=dir_fd)
    opened = os.fstat(fd)
    if not stat.S_ISFIFO(opened.st_mode) or (opened.st_dev, opened.st_ino) != (made.st_dev, made.st_ino):
        os.close(fd)
        return None
    return fd
