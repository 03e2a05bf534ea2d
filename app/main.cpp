// The bench-test program: one full-screen BenchTest whose mode the DIP switches choose.
#include "benchtest.h"
#include "common/qtcompat.h"
#include "common/recordsender.h"
#include "firstframe.h"
#include "screenobserver.h"
#include "services/displayserver.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    // The screens' point sizes (16pt buttons, 24pt keys, 28pt fields) were laid out for a
    // window server that draws one point as one pixel; at a desktop's 96 dpi the texts
    // outgrow their 145-pixel buttons on the 4-inch panel. A deployment may still set its own.
    if (!qEnvironmentVariableIsSet("QT_FONT_DPI"))
        qputenv("QT_FONT_DPI", "72");
    QApplication app(argc, argv);
    BenchTest benchTest;
    // A finger works from the first screen on, as under a unit's window server, whose pointer
    // runs from start-up; the calibration closes and reopens it. Opened after the constructor
    // has put back a calibration that was cut off, so that the pointer reads the good one.
    if (benchTest.takesTouches())
        DisplayServer::startMouse();
    // Off unless BENCHTEST_OBSERVE names a file: the screen for a scripted operator.
    ScreenObserver::fromEnvironment(&app);
    // Off unless BENCHTEST_FIRST_FRAME names a file: the start-up benchmark's clock.
    FirstFrame::watchFromEnvironment(&benchTest);
    // The modes that keep a record send it to the line's station, from a thread of their own.
    RecordSender sender;
    if (benchTest.takesTouches())
        sender.start();
    // Window systems without a window manager ignore the full-screen request.
    benchTest.setGeometry(screenGeometry());
    benchTest.showFullScreen();
    return app.exec();
}
