// The G.726 kernels for SSE4.1.
#define XVO_G726_TARGET "sse4.1"
#define XVO_G726_NS sse41
#include "g726/g726_simd.inc"

namespace xvo::g726 {
const Kernels kSse41Kernels = sse41::kKernels;
}
