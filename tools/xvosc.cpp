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
    {"demo", "demo [--out DIR]          run every stage on the built-in sample and print what it did", kDemoHelp,
     cmdDemo},
    {"g726", "g726 encode|decode ...    G.726 ADPCM files from and to 8 kHz WAV (see 'xvosc g726 --help')",
     kG726Help, cmdG726},
    {"denoise", "denoise [opts] in out     noise suppression of 8/16/22.05/32 kHz WAV (see 'xvosc help denoise')", kDenoiseHelp, cmdDenoise},
    {"agc", "agc [opts] in out         automatic level control of a WAV (see 'xvosc help agc')", kAgcHelp, cmdAgc},
    {"version", "version                   print the library version record", nullptr, cmdVersion},
};

const char* const kIntro =
    "xvosc - bit-exact fixed-point speech-coding primitives: the library's tool\n"
    "\n"
    "usage: xvosc <command> [options]\n"
    "       xvosc help [command]     this text, or a command's full usage\n"
    "       xvosc --help | --version\n"
    "\n"
    "commands:\n";

const char* const kOutro =
    "\n"
    "Audio files are read and written through libsndfile; codecs work on 8 kHz\n"
    "mono. Errors are reported in one line on stderr with exit status 2; a\n"
    "command that fails leaves no partial output file.\n";

int usage(FILE* out) {
    std::fputs(kIntro, out);
    for (const auto& c : kCommands) std::fprintf(out, "  %s\n", c.usage);
    std::fputs(kOutro, out);
    return out == stderr ? 2 : 0;
}

int help(int argc, char** argv) {
    if (argc < 3) return usage(stdout);
    for (const auto& c : kCommands)
        if (!std::strcmp(argv[2], c.name)) {
            std::fputs(c.help ? c.help : (std::string("usage: xvosc ") + c.usage + "\n").c_str(), stdout);
            return 0;
        }
    return fail(std::string("help: unknown command '") + argv[2] + "'");
}
}  // namespace

}  // namespace xvotool

int main(int argc, char** argv) {
    using namespace xvotool;
    if (argc < 2) return usage(stderr);
    const char* a = argv[1];
    if (!std::strcmp(a, "help") || !std::strcmp(a, "--help") || !std::strcmp(a, "-h")) return help(argc, argv);
    if (!std::strcmp(a, "--version") || !std::strcmp(a, "-V")) return cmdVersion(argc - 1, argv + 1);
    for (const auto& c : kCommands)
        if (!std::strcmp(a, c.name)) return c.run(argc - 1, argv + 1);
    return fail(std::string("unknown command '") + a + "' (try 'xvosc --help')");
}
