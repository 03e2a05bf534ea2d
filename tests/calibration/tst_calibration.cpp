// The calibration machinery: the least-squares fit, the calibration file and the file steps
// around a run, checked on the unit's own /brimdale/configs.
#include "calibration/calibration.h"
#include "calibration/caliinterface.h"

#include "tests/support/calibrationtestsupport.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <QTemporaryFile>

#include <functional>

#include <tslib.h>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace CalibrationTest;

class TestCalibration : public QObject {
    Q_OBJECT

private slots:
    void init();
    void exampleFit();
    void fitOutput();
    void identicalPointsLeaveFileAlone();
    void savedLine();
    void saveWithoutCalibFile();
    void backupSteps();
    void applySteps();
    void restoreSteps();
    void noTouchDeviceEndsProgram();
    void badConfigurationEndsProgram();
    void failedReadWhileDrainingEndsProgram();

private:
    calibration exampleRecord() const;
};

void TestCalibration::init()
{
    xres = 800;
    yres = 480;
    for (const char *name : { "tspointercal", "tspointercal.lastgood", "ts_def" })
        QFile::remove(configPath(QString::fromLatin1(name)));
    qputenv("TSLIB_CALIBFILE", "/brimdale/configs/tspointercal");
}

calibration TestCalibration::exampleRecord() const
{
    calibration cal {};
    const int rx[5] = { 100, 900, 900, 100, 500 };
    const int ry[5] = { 100, 100, 900, 900, 500 };
    const int sx[5] = { 50, 750, 750, 50, 400 };
    const int sy[5] = { 50, 50, 430, 430, 240 };
    for (int i = 0; i < 5; ++i) {
        cal.rawX[i] = rx[i];
        cal.rawY[i] = ry[i];
        cal.screenX[i] = sx[i];
        cal.screenY[i] = sy[i];
    }
    return cal;
}

void TestCalibration::exampleFit()
{
    caliInterface page;
    calibration cal = exampleRecord();
    StdoutCapture out;
    QCOMPARE(page.perform_calibration(&cal), 1);
    QCOMPARE(cal.coeff[1], 57344);
    QCOMPARE(cal.coeff[2], 0);
    QCOMPARE(cal.coeff[4], 0);
    QCOMPARE(cal.coeff[5], 31129);
    QCOMPARE(cal.coeff[6], 65536);
    QVERIFY2(qAbs(cal.coeff[0] - -2457600) < 64, qPrintable(QString::number(cal.coeff[0])));
    QVERIFY2(qAbs(cal.coeff[3] - 163840) < 64, qPrintable(QString::number(cal.coeff[3])));
    // The raw and screen points are left as they were.
    QCOMPARE(cal.rawX[2], 900);
    QCOMPARE(cal.screenY[4], 240);
}

// The unscaled terms of each axis, three to a line, as the unit prints them.
void TestCalibration::fitOutput()
{
    caliInterface page;
    calibration cal = exampleRecord();
    StdoutCapture out;
    page.perform_calibration(&cal);
    const QList<QByteArray> lines = out.text().split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines[2], QByteArray());
    const QRegularExpression row(
        QStringLiteral("^(-?\\d+\\.\\d{6}) (-?\\d+\\.\\d{6}) (-?\\d+\\.\\d{6})$"));
    for (int axis = 0; axis < 2; ++axis) {
        const auto match = row.match(QString::fromLatin1(lines[axis]));
        QVERIFY2(match.hasMatch(), lines[axis].constData());
        for (int k = 0; k < 3; ++k)
            QCOMPARE(int(match.captured(k + 1).toFloat() * 65536.0f), cal.coeff[axis * 3 + k]);
    }
}

void TestCalibration::identicalPointsLeaveFileAlone()
{
    writeConfig(QStringLiteral("tspointercal"), "1 2 3 4 5 6 7 8 9");
    caliInterface page;
    calibration cal {};
    for (int i = 0; i < 5; ++i) {
        cal.rawX[i] = 300;
        cal.rawY[i] = 700;
        cal.screenX[i] = 50 + 100 * i;
        cal.screenY[i] = 60 + 10 * i;
    }
    for (int &c : cal.coeff)
        c = -7;
    StdoutCapture out;
    QCOMPARE(page.perform_calibration(&cal), 0);
    QCOMPARE(out.text(), QByteArray("ts_calibrate: determinant is too small -- 0.000000\n"));
    for (int c : cal.coeff)
        QCOMPARE(c, -7);
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), QByteArray("1 2 3 4 5 6 7 8 9"));
}

void TestCalibration::savedLine()
{
    // A longer old file must not leave a tail behind.
    writeConfig(QStringLiteral("tspointercal"), QByteArray(200, '9'));
    chmod("/brimdale/configs/tspointercal", 0600);
    caliInterface page;
    calibration cal = exampleRecord();
    page.perform_calibration(&cal);
    cal.coeff[0] = -2457600;
    cal.coeff[3] = 163840;
    StdoutCapture out;
    QCOMPARE(saveCalibration(cal), 0);
    QCOMPARE(
        out.text(), QByteArray("Calibration constants: -2457600 57344 0 163840 0 31129 65536 \n"));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")),
        QByteArray("57344 0 -2457600 0 31129 163840 65536 800 480"));

    // A new file is made with mode 0644.
    QFile::remove(configPath(QStringLiteral("tspointercal")));
    const mode_t mask = umask(0);
    saveCalibration(cal);
    umask(mask);
    struct stat st;
    QCOMPARE(stat("/brimdale/configs/tspointercal", &st), 0);
    QCOMPARE(int(st.st_mode & 0777), 0644);
}

void TestCalibration::saveWithoutCalibFile()
{
    writeConfig(QStringLiteral("tspointercal"), "defaults");
    qunsetenv("TSLIB_CALIBFILE");
    calibration cal = exampleRecord();
    TestSupport::DebugCapture debug;
    StdoutCapture out;
    QCOMPARE(saveCalibration(cal), -1);
    QCOMPARE(debug.messages, QStringList { QStringLiteral("save cali error") });
    QVERIFY(out.text().startsWith("Calibration constants: "));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), QByteArray("defaults"));
}

void TestCalibration::backupSteps()
{
    writeConfig(QStringLiteral("tspointercal"), "good");
    writeConfig(QStringLiteral("ts_def"), "defaults");
    backupCalibrationFiles();
    QCOMPARE(readConfig(QStringLiteral("tspointercal.lastgood")), QByteArray("good"));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), QByteArray("defaults"));
    QCOMPARE(readConfig(QStringLiteral("ts_def")), QByteArray("defaults"));
}

void TestCalibration::applySteps()
{
    writeConfig(QStringLiteral("tspointercal"), "new");
    writeConfig(QStringLiteral("tspointercal.lastgood"), "good");
    StdoutCapture out;
    applyCalibrationFiles();
    QCOMPARE(out.text(), QByteArray("apply new setting\n"));
    QVERIFY(!QFile::exists(configPath(QStringLiteral("tspointercal.lastgood"))));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), QByteArray("new"));
}

void TestCalibration::restoreSteps()
{
    writeConfig(QStringLiteral("tspointercal"), "new");
    writeConfig(QStringLiteral("tspointercal.lastgood"), "good");
    StdoutCapture out;
    restoreCalibrationFiles();
    QCOMPARE(out.text(), QByteArray("do restore setting\n"));
    QVERIFY(!QFile::exists(configPath(QStringLiteral("tspointercal.lastgood"))));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), QByteArray("good"));
}

namespace {
// Runs open_ts() in a child process; returns its exit status and what it wrote to stderr.
// The children of openInChild end through exit(1) with the program's objects alive, as the
// program does on a board; a leak report there would only add to the text under test.
extern "C" const char *__lsan_default_options()
{
    return "detect_leaks=0";
}

// afterOpen runs in the child after open_ts(); closeInParent is a descriptor only the child keeps.
int openInChild(
    QByteArray *errors, const std::function<void()> &afterOpen = {}, int closeInParent = -1)
{
    int pipeFds[2];
    if (pipe(pipeFds) != 0)
        return -1;
    fflush(stdout);
    fflush(stderr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipeFds[1], 2);
        close(pipeFds[0]);
        open_ts();
        if (afterOpen)
            afterOpen();
        _exit(0);
    }
    close(pipeFds[1]);
    if (closeInParent >= 0)
        close(closeInParent);
    char buffer[512];
    ssize_t n;
    while ((n = read(pipeFds[0], buffer, sizeof buffer)) > 0)
        errors->append(buffer, int(n));
    close(pipeFds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
} // namespace

void TestCalibration::noTouchDeviceEndsProgram()
{
    qputenv("TSLIB_TSDEVICE", "/dev/input/no-such-touchscreen");
    QByteArray errors;
    QCOMPARE(openInChild(&errors), 1);
    QCOMPARE(errors, QByteArray("ts_open: No such file or directory\n"));
}

void TestCalibration::badConfigurationEndsProgram()
{
    QTemporaryFile conf;
    QVERIFY(conf.open());
    conf.write("module_raw no_such_module\n");
    conf.flush();
    qputenv("TSLIB_TSDEVICE", "/dev/null");
    qputenv("TSLIB_CONFFILE", conf.fileName().toLocal8Bit());
    QByteArray errors;
    QCOMPARE(openInChild(&errors), 1);
    QVERIFY2(errors.contains("ts_config: "), errors.constData());
}

void TestCalibration::failedReadWhileDrainingEndsProgram()
{
    // A touch controller on a serial line whose other end is gone: the line reads as ready,
    // and every read fails.
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    QVERIFY(master >= 0);
    QVERIFY(grantpt(master) == 0 && unlockpt(master) == 0);
    const QByteArray slave(ptsname(master));
    QTemporaryFile conf;
    QVERIFY(conf.open());
    conf.write("module_raw touchkit\n");
    conf.flush();
    qputenv("TSLIB_TSDEVICE", slave);
    qputenv("TSLIB_CONFFILE", conf.fileName().toLocal8Bit());
    QByteArray errors;
    const int status = openInChild(
        &errors,
        [master] {
            close(master);
            // The line hangs up only once the parent has closed its copy of the master too,
            // which a busy machine may let happen after this point: wait for it.
            pollfd line { ts_fd(ts), POLLIN, 0 };
            poll(&line, 1, 10000);
            drainTouchInput();
            fprintf(stderr, "drain returned\n");
        },
        master);
    QVERIFY2(status == 1, errors.constData());
    QVERIFY2(errors.startsWith("ts_read: "), errors.constData());
    QVERIFY2(errors.endsWith("\n") && errors.count('\n') == 1, errors.constData());
}

QTEST_MAIN(TestCalibration)
#include "tst_calibration.moc"
