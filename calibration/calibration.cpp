#include "calibration.h"

#include "common/shell.h"
#include "services/touch.h"

#include <QDebug>

#include <tslib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/select.h>
#include <unistd.h>

struct tsdev *ts = nullptr;
char *tsdevice = nullptr;
int xres = 0;
int yres = 0;

namespace {
// Persist across calibrations: a repeated run animates from where the last one ended.
int last_x = -1;
int last_y = 0;
} // namespace

void open_ts()
{
    if (ts)
        return;
    tsdevice = getenv("TSLIB_TSDEVICE");
    if (tsdevice) {
        ts = ts_open(tsdevice, 0);
    } else {
        ts = ts_open("/dev/input/event0", 0);
        if (!ts)
            ts = ts_open("/dev/touchscreen/ucb1x00", 0);
    }
    if (!ts) {
        perror("ts_open");
        exit(1);
    }
    if (ts_config(ts)) {
        perror("ts_config");
        exit(1);
    }
}

void drainTouchInput()
{
    for (;;) {
        fd_set fds;
        FD_ZERO(&fds);
        FD_SET(ts_fd(ts), &fds);
        timeval tv { 0, 0 };
        if (select(ts_fd(ts) + 1, &fds, nullptr, nullptr, &tv) <= 0)
            return;
        ts_sample sample;
        if (ts_read_raw(ts, &sample, 1) < 0) {
            perror("ts_read");
            exit(1);
        }
    }
}

void get_sample(struct tsdev *dev, calibration *cal, int index, int x, int y, const char *name)
{
    if (last_x != -1) {
        const int NR_STEPS = 10;
        const int dx = ((x - last_x) * 65536) / NR_STEPS;
        const int dy = ((y - last_y) * 65536) / NR_STEPS;
        last_x *= 65536;
        last_y *= 65536;
        for (int i = 0; i < NR_STEPS; i++) {
            put_cross(last_x >> 16, last_y >> 16, CrossColour);
            usleep(1000);
            put_cross(last_x >> 16, last_y >> 16, CrossColour);
            last_x += dx;
            last_y += dy;
        }
    }

    put_cross(x, y, CrossColour);
    getxy(dev, &cal->rawX[index], &cal->rawY[index]);
    put_cross(x, y, CrossColour);

    last_x = cal->screenX[index] = x;
    last_y = cal->screenY[index] = y;

    printf("%s : X = %4d Y = %4d\n", name, cal->rawX[index], cal->rawY[index]);
    fflush(stdout);
}

int saveCalibration(calibration cal)
{
    printf("Calibration constants: ");
    for (int i = 0; i < 7; i++)
        printf("%d ", cal.coeff[i]);
    printf("\n");
    fflush(stdout);

    const char *calfile = getenv("TSLIB_CALIBFILE");
    if (!calfile) {
        qDebug() << "save cali error";
        return -1;
    }
    const int fd = open(calfile, O_CREAT | O_RDWR | O_TRUNC, 0644);
    char line[200];
    snprintf(line, sizeof line, "%d %d %d %d %d %d %d %d %d", cal.coeff[1], cal.coeff[2],
        cal.coeff[0], cal.coeff[4], cal.coeff[5], cal.coeff[3], cal.coeff[6], xres, yres);
    // kept: open and write errors are not checked, the flow goes on as if saved
    ssize_t written = write(fd, line, strlen(line));
    (void)written;
    close(fd);
    return 0;
}

void backupCalibrationFiles()
{
    runShell("cp /brimdale/configs/tspointercal /brimdale/configs/tspointercal.lastgood");
    runShell("cp /brimdale/configs/ts_def /brimdale/configs/tspointercal");
    runShell("sync");
}

void applyCalibrationFiles()
{
    puts("apply new setting");
    fflush(stdout);
    runShell("rm /brimdale/configs/tspointercal.lastgood");
    runShell("sync");
}

void restoreCalibrationFiles()
{
    puts("do restore setting");
    fflush(stdout);
    runShell("cp /brimdale/configs/tspointercal.lastgood /brimdale/configs/tspointercal");
    runShell("rm /brimdale/configs/tspointercal.lastgood");
    runShell("sync");
}
