// Pulls, plugs or loops a cable of the virtual bench from a test running in one of its units;
// returns once the cable is in the new state.
#pragma once

#include "tests/support/testsupport.h"

#include <QString>

inline bool setBenchCable(const QString &port, const QString &state)
{
    return TestSupport::runProgram(qEnvironmentVariable("VIRTUAL_BENCH"),
               { QStringLiteral("cable"), qEnvironmentVariable("VIRTUAL_BENCH_DIR"), port, state })
        == 0;
}
