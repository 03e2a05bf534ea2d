// The bench-test program: one full-screen BenchTest whose mode the DIP switches choose.
#include "benchtest.h"
#include "qtcompat.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    BenchTest benchTest;
    // Window systems without a window manager ignore the full-screen request.
    benchTest.setGeometry(screenGeometry());
    benchTest.showFullScreen();
    return app.exec();
}
