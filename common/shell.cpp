#include "common/shell.h"

#include <QtGlobal>

#include <cstdlib>

void runShell(const char *command)
{
    const int status = std::system(command);
    Q_UNUSED(status);
}

BackgroundShell::BackgroundShell(std::initializer_list<const char *> commands) : commands(commands)
{
    worker = std::thread([this] {
        for (const char *command : this->commands)
            runShell(command);
    });
}

BackgroundShell::~BackgroundShell()
{
    worker.join();
}
