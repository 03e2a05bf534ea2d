// The bench walk (DIP 0, model 7) starts with the calibration: after the five touches, the
// accuracy test and Next, the sequence moves on to its second stage, the brightness page.
#include "app/benchtest.h"
#include "calibration/calibration.h"
#include "calibration/caliinterface.h"

#include "tests/support/calibrationtestsupport.h"

#include <QMouseEvent>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>

#include <tslib.h>

#include <fcntl.h>

using namespace CalibrationTest;

class TestCalibrationWalk : public QObject {
    Q_OBJECT

private slots:
    void secondStageAfterNext();
};

void TestCalibrationWalk::secondStageAfterNext()
{
    QVERIFY2(qEnvironmentVariableIsSet("TSLIB_TSDEVICE"), "run in a virtual unit with --touch");
    writeConfig(QStringLiteral("ts_def"), "65536 0 0 0 65536 0 65536");
    writeConfig(QStringLiteral("tspointercal"), "65536 0 0 0 65536 0 65536");
    open_ts();
    const int flags = fcntl(ts_fd(ts), F_GETFL);
    fcntl(ts_fd(ts), F_SETFL, flags | O_NONBLOCK);
    ts_sample sample;
    ts_read_raw(ts, &sample, 1);
    fcntl(ts_fd(ts), F_SETFL, flags);

    const QList<QPoint> centres { { 50, 50 }, { 750, 50 }, { 750, 430 }, { 50, 430 },
        { 400, 240 } };
    TargetPresser presser(centres, centres);
    BenchTest bench;
    bench.show();
    auto *stack = bench.findChild<QStackedWidget *>();
    QVERIFY(stack);
    auto *page = qobject_cast<caliInterface *>(stack->widget(12));
    QVERIFY(page);
    QTRY_VERIFY_WITH_TIMEOUT(page->isTracking(), 60000);
    QCOMPARE(presser.pressed.load(), 5);
    QCOMPARE(stack->currentIndex(), 12);
    QVERIFY(QFile::exists(configPath(QStringLiteral("tspointercal.lastgood"))));

    const QPoint centre = page->accuracySquare().center();
    QMouseEvent move(QEvent::MouseMove, centre, page->mapToGlobal(centre), Qt::NoButton,
        Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(page, &move);
    auto *next = page->findChild<QPushButton *>(QStringLiteral("nextPushButton"));
    QVERIFY(next);
    QTRY_VERIFY(next->isVisible());
    next->click();
    QCOMPARE(stack->currentIndex(), 6);
    QVERIFY(!QFile::exists(configPath(QStringLiteral("tspointercal.lastgood"))));
    // A second exit from the same page does not skip a stage.
    emit page->exitSignal();
    QCOMPARE(stack->currentIndex(), 6);
}

QTEST_MAIN(TestCalibrationWalk)
#include "tst_calibrationwalk.moc"
