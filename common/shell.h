// The fixed shell command lines of the program (network set-up, file copies, the USB gadget).
#pragma once

// Runs one command line through system(). Results are not checked: a unit whose network,
// files or gadget cannot be set up shows it in the tests that follow.
void runShell(const char *command);
