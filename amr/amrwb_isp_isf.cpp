// AMR-WB ISP to normalised ISF conversion (TS 26.173 Isp_isf): a walk down the cosine grid and a
// linear interpolation of acos between grid points with the tabulated slope.
#include "amr/amrwb_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::fx;

XVOSC_API XvoStatus xvosISPToISF_Norm_AMRWB_16s(const Xvo16s* pSrcIsp, Xvo16s* pDstIsf, Xvo32s len) {
    XVO_CHECK(ownCheckPtrs(pSrcIsp, pDstIsf));
    XVO_RETURN_IF(len < 1, xvoStsSize);
    // The grid index walks down from the top for the last two values (the immittance term and the
    // highest frequency) and continues from the previous value's index for the others, since the
    // ISPs decrease with the index. cos[0] = 32767 bounds every input, so the walk stops at 0.
    int ind = 127;
    for (int i = len - 1; i >= 0; --i) {
        if (i >= len - 2) ind = 127;
        while (amrwb::kCosIsp[ind] < pSrcIsp[i]) --ind;
        const int32_t t = L_mult(sub(pSrcIsp[i], amrwb::kCosIsp[ind]), amrwb::kSlopeIsp[ind]);
        pDstIsf[i] = add(round_fx(L_shl(t, 4)), static_cast<int16_t>(ind << 7));
    }
    pDstIsf[len - 1] = shr(pDstIsf[len - 1], 1);
    return xvoStsOk;
}
