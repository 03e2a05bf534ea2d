#include "common/shell.h"

#include <cstdlib>

int runShell(const char *command)
{
    return std::system(command);
}
