// The fixed shell command lines of the program (network set-up, file copies, the USB gadget).
#pragma once

#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

// Runs one command line through system() and returns its status (-1 when no shell could be
// started). Most callers do not check it: a unit whose network, files or gadget cannot be set
// up shows it in the tests that follow.
int runShell(const char *command);

// Runs command lines one after the other through system() (as runShell) on a thread of their
// own, so that the caller goes on with its own work meanwhile; the destructor returns once the
// last one has run.
class BackgroundShell {
public:
    explicit BackgroundShell(std::initializer_list<const char *> commands);
    ~BackgroundShell();
    BackgroundShell(const BackgroundShell &) = delete;
    BackgroundShell &operator=(const BackgroundShell &) = delete;

private:
    std::vector<std::string> commands;
    std::thread worker;
};
