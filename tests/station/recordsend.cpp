// The unit's delivery alone, as the program runs it: for the tests that kill the unit's side in
// the middle of a delivery and start it again. BENCHTEST_RECORD and BENCHTEST_STATION say what
// and where.
#include "common/recordsender.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    RecordSender sender;
    sender.setTiming(100, 1000, 5000);
    sender.start();
    return app.exec();
}
