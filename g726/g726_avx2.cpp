// The G.726 kernels for AVX2 machines: the SSE4.1 code with VEX encoding and
// the BMI and LZCNT scalar instructions.
#define XVO_G726_TARGET "avx2,bmi,bmi2,lzcnt,popcnt"
#define XVO_G726_NS avx2
#include "g726/g726_simd.inc"

namespace xvo::g726 {
const Kernels kAvx2Kernels = avx2::kKernels;
}
