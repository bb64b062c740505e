// `xvosc demo`: runs the library's stages on a built-in sample signal and
// prints what each did. Stages join this list as their families land.
#include <cstdio>

#include "commands.h"

namespace xvotool {

int cmdDemo(int argc, char** argv) {
    cmdVersion(argc, argv);
    std::printf("demo: no codec stages built yet\n");
    return 0;
}

}  // namespace xvotool
