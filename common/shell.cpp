#include "common/shell.h"

#include <QtGlobal>

#include <cstdlib>

void runShell(const char *command)
{
    const int status = std::system(command);
    Q_UNUSED(status);
}
