#include "common/shell.h"

#include <cstdlib>

int runShell(const char *command)
{
    return std::system(command);
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
