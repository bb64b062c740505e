#include "cpu.h"

namespace xvo {

namespace {
OwnCpuLevel detect() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2")) return OwnCpuLevel::AVX2;
    if (__builtin_cpu_supports("sse4.1")) return OwnCpuLevel::SSE41;
    if (__builtin_cpu_supports("sse2")) return OwnCpuLevel::SSE2;
#endif
    return OwnCpuLevel::Scalar;
}
}  // namespace

OwnCpuLevel ownCpuLevel() {
    static const OwnCpuLevel level = detect();
    return level;
}

const char* ownCpuLevelName(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::SSE2: return "sse2";
        case OwnCpuLevel::SSE41: return "sse4.1";
        case OwnCpuLevel::AVX2: return "avx2";
        default: return "scalar";
    }
}

}  // namespace xvo
