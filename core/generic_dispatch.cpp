// Choice of the generic kernel table by CPU level.
#include "generic_kernels.h"

namespace xvo::generic {

const OwnGenericKernels& ownGenericKernels(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::AVX2: return kGenericAvx2;
        case OwnCpuLevel::SSE41:  // no SSE4.1-specific twin: SSE2 serves
        case OwnCpuLevel::SSE2: return kGenericSse2;
        default: return kGenericScalar;
    }
}

const OwnGenericKernels& ownGenericKernels() {
    static const OwnGenericKernels* const table = &ownGenericKernels(ownCpuLevel());
    return *table;
}

}  // namespace xvo::generic
