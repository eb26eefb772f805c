// Running other programs of the build from a test, through the system's shell, as a person would.
#pragma once

#include <string>

namespace Testing {

// The folder of the running test program, ending in a separator, in the platform's own form. The
// programs of the build (halcyrad, halcyra-reg) stand there too.
std::string ProgramFolder();

// Runs `command` through the shell (sh on Linux, cmd.exe on Windows) and returns what std::system
// returns: 0 when the command succeeded. Quote paths in the command with double quotes.
int RunShellCommand(const std::string& command);

}  // namespace Testing
