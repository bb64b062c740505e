// `xvosc demo`: runs the library's stages on a built-in sample signal and
// prints what each did. A stage joins by one line in kStages.
#include <cstdio>

#include "commands.h"

namespace xvotool {

namespace {
struct Stage {
    const char* name;
    int (*run)();  // prints its own report; returns 0 on success
};
const Stage kStages[] = {
    {nullptr, nullptr},
};
}  // namespace

int cmdDemo(int argc, char** argv) {
    cmdVersion(argc, argv);
    int failures = 0, ran = 0;
    for (const auto& s : kStages) {
        if (!s.run) continue;
        std::printf("== %s\n", s.name);
        failures += s.run() != 0;
        ++ran;
    }
    if (ran == 0) std::printf("demo: no codec stages built yet\n");
    return failures ? 1 : 0;
}

}  // namespace xvotool
