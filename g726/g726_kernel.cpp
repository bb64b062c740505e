// Choice of the G.726 kernels for the running CPU, made once.
#include "g726/g726_kernel.h"

namespace xvo::g726 {

const Kernels& ownKernels(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::AVX2: return kAvx2Kernels;
        case OwnCpuLevel::SSE41: return kSse41Kernels;
        default: return kScalarKernels;
    }
}

namespace {
const Kernels& active() {
    static const Kernels& k = ownKernels(ownCpuLevel());
    return k;
}
}  // namespace

void ownEncode(int rate, Work& w, const int16_t* src, uint8_t* dst, int len) {
    active().encode[rate & 3](w, src, dst, len);
}

void ownDecode(int rate, int law, Work& w, const uint8_t* src, int16_t* dst, int len) {
    if (law != XVO_PCM_LINEAR) law &= 1;  // the state is trusted; keep table indices in range anyway
    active().decode[rate & 3](law, w, src, dst, len);
}

}  // namespace xvo::g726
