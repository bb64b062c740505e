#include "xvosc.h"

namespace {
constexpr XvoLibraryVersion kVersion = {
    6, 0, 167, 665, {'n', '8', '\0', '\0'}, "xvoscn8-6.0.dll", "6.0 Update 2 build 167.41", "Feb 23 2009"};
}  // namespace

extern "C" const XvoLibraryVersion* xvoscGetLibVersion(void) { return &kVersion; }
