// The fixed shell command lines of the program (network set-up, file copies, the USB gadget).
#pragma once

// Runs one command line through system() and returns its status (-1 when no shell could be
// started). Most callers do not check it: a unit whose network, files or gadget cannot be set
// up shows it in the tests that follow.
int runShell(const char *command);
