#include "firstframe.h"

#include <QByteArray>
#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace {

class FirstFrameWatch : public QObject {
public:
    FirstFrameWatch(QWidget *window, const QByteArray &path) : QObject(window), path(path)
    {
        window->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && watched == parent() && !painted) {
            painted = true;
            // Queued: it runs once the whole paint pass and its flush have returned.
            QTimer::singleShot(0, this, [this] { finish(); });
        }
        return false;
    }

private:
    void finish()
    {
        timespec now {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const QByteArray line = "first_frame_ns "
            + QByteArray::number(qint64(now.tv_sec) * 1000000000 + now.tv_nsec) + '\n';
        const int fd = open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0 || write(fd, line.constData(), size_t(line.size())) != line.size())
            perror("first frame");
        if (fd >= 0)
            close(fd);
        // A measurement run ends here: what follows the first frame is not timed.
        std::_Exit(fd < 0 ? 1 : 0);
    }

    QByteArray path;
    bool painted = false;
};

} // namespace

namespace FirstFrame {

void watchFromEnvironment(QWidget *window)
{
    const QByteArray path = qgetenv("BENCHTEST_FIRST_FRAME");
    if (!path.isEmpty())
        new FirstFrameWatch(window, path);
}

} // namespace FirstFrame
