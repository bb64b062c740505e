// GSM-AMR windowed autocorrelation for LP analysis (TS 26.073 lpc.c, autocorr.c,
// lag_wind.c): one analysis on the 240-sample window below 12.2, two at 12.2.
#include "amr/gsmamr_common.h"
#include "amr/gsmamr_tables.h"
#include "core/check.h"
#include "core/generic_kernels.h"
#include "core/fixed.h"
#include "g729/lsp.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;

constexpr int kWindow = 240;
constexpr int kOrder = 10;

/// r[0..10] of the windowed signal: r[0] = 2 sum y^2 + 1 normalised to 0x40000000..0x7fffffff
/// (whole 32 bits), r[1..10] with the same shift, lag-windowed (bit 0 of each dropped).
/// While the energy saturates, the windowed signal is divided by 4 and summed again.
/// The sums are the core kernels' exact ones: a saturating sum of squares reaches MAX_32 exactly
/// when 2 sum y^2 does, and once it does not, every lagged sum is smaller in magnitude
/// (2|ab| <= a^2 + b^2), so no lagged partial sum saturates either.
void ownAutoCorrAmr(const int16_t* x, const int16_t* win, int32_t* r) {
    int16_t y[kWindow];
    for (int i = 0; i < kWindow; ++i) y[i] = mult_r(x[i], win[i]);
    const auto& k = generic::ownGenericKernels();
    int64_t energy;
    while ((energy = 2 * k.energy(y, kWindow)) >= MAX_32) k.shift(y, y, kWindow, -2);
    const int32_t sum = static_cast<int32_t>(energy) + 1;
    const int16_t norm = norm_l(sum);
    r[0] = L_shl(sum, norm);
    int64_t lag[kOrder + 1];
    k.xcorrTrunc(y, y, kWindow, kOrder + 1, lag);
    for (int i = 1; i <= kOrder; ++i) r[i] = L_shl(static_cast<int32_t>(2 * lag[i]), norm);
    g729::ownLagWindow_32s(r + 1, kOrder);
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosAutoCorr_GSMAMR_16s32s(const Xvo16s* pSrcSpch, Xvo32s* pDstAutoCorr, XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcSpch, pDstAutoCorr));
    const int row = ownGsmAmrRow(mode, true);
    XVO_RETURN_IF(row < 0, xvoStsRange);
    if (row == kGsmAmrRow122) {
        ownAutoCorrAmr(pSrcSpch, gsmamr::kWindow160_80, pDstAutoCorr);
        ownAutoCorrAmr(pSrcSpch, gsmamr::kWindow232_8, pDstAutoCorr + kOrder + 1);
    } else {
        ownAutoCorrAmr(pSrcSpch, gsmamr::kWindow200_40, pDstAutoCorr);
    }
    return xvoStsOk;
}
