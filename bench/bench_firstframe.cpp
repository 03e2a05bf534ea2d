// The baseline of bench/run-startup: the smallest full-screen Qt widget program, timed to its
// first frame by the same hook as benchtest (BENCHTEST_FIRST_FRAME).
#include "app/firstframe.h"

#include <QApplication>
#include <QScreen>
#include <QWidget>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QWidget window;
    FirstFrame::watchFromEnvironment(&window);
    window.setGeometry(QGuiApplication::primaryScreen()->geometry());
    window.showFullScreen();
    return app.exec();
}
