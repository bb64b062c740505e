// Subcommands of the xvosc tool. Each lives in its own cmd_*.cpp and is
// listed once in the table of xvosc.cpp.
#pragma once

#include <string>

namespace xvotool {

struct Command {
    const char* name;
    const char* usage;  // one line, shown by `xvosc help`
    int (*run)(int argc, char** argv);  // argv[0] is the subcommand name
};

/// Prints "xvosc: <message>" to stderr and returns the exit code 2.
int fail(const std::string& message);

int cmdVersion(int argc, char** argv);
int cmdDemo(int argc, char** argv);

}  // namespace xvotool
