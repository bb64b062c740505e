// xvosc: command-line front end of the library.
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "xvosc.h"

namespace xvotool {

int fail(const std::string& message) {
    std::fprintf(stderr, "xvosc: %s\n", message.c_str());
    return 2;
}

int cmdVersion(int, char**) {
    const XvoLibraryVersion* v = xvoscGetLibVersion();
    std::printf("%s %s (%d.%d.%d.%d, cpu %s, %s)\n", v->name, v->version, v->major, v->minor, v->majorBuild,
                v->build, v->targetCpu, v->buildDate);
    return 0;
}

namespace {
const Command kCommands[] = {
    {"demo", "demo                      run every stage on the built-in sample and print what it did", cmdDemo},
    {"version", "version                   print the library version record", cmdVersion},
};

int usage(FILE* out) {
    std::fprintf(out, "usage: xvosc <command> [options]\n\ncommands:\n");
    for (const auto& c : kCommands) std::fprintf(out, "  %s\n", c.usage);
    return out == stderr ? 2 : 0;
}
}  // namespace

}  // namespace xvotool

int main(int argc, char** argv) {
    using namespace xvotool;
    if (argc < 2) return usage(stderr);
    if (!std::strcmp(argv[1], "help") || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h"))
        return usage(stdout);
    for (const auto& c : kCommands)
        if (!std::strcmp(argv[1], c.name)) return c.run(argc - 1, argv + 1);
    return fail(std::string("unknown command '") + argv[1] + "' (try 'xvosc help')");
}
