#include "common/shell.h"

#include <QtGlobal>

#include <cstdlib>

void runShell(const char *command)
{
    const int status = std::system(command);
    Q_UNUSED(status);
}

BackgroundShell::BackgroundShell(std::initializer_list<const char *> commands)
    : commands(commands.begin(), commands.end())
{
    worker = std::thread([this] {
        for (const std::string &command : this->commands)
            runShell(command.c_str());
    });
}

BackgroundShell::~BackgroundShell()
{
    worker.join();
}
