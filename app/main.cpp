// The bench-test program: one full-screen BenchTest whose mode the DIP switches choose.
#include "benchtest.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    BenchTest benchTest;
    benchTest.showFullScreen();
    return app.exec();
}
