// G.729 Annex D algebraic codebook search at 6.4 kbit/s (D.3.8, the
// reference D2i40_11): two signed pulses per subframe, the first on track 1
// or 3 (16 positions: trackTable0), the second on tracks 0, 2, 4 or 1 (32
// positions: trackTable1), found by an exhaustive search over 8 pairs of
// tracks. The search builds its own correlations from the impulse
// response, since it needs the track-1/track-1 and track-3/track-4 blocks
// that the G.729 matrix does not hold.
#include "core/check.h"
#include "core/fixed.h"
#include "g729/fcb.h"
#include "g729/g729_tables.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

/// The track pairs in the reference's search order: (outer track, inner
/// track, whether the outer pulse becomes the first pulse).
struct Pair { int t0, t1; bool outerFirst; };
constexpr Pair kPairs[8] = {{0, 1, false}, {1, 1, true},  {0, 3, false}, {3, 4, true},
                            {1, 2, true},  {1, 3, false}, {1, 4, true},  {2, 3, false}};

/// Table indices and code words of the chosen pulses.
void codeWords(int pos0, int pos1, bool pos0Positive, bool pos1Positive, int16_t* code) {
    int k0 = 0, k1 = 0;
    while (k0 < 15 && kTrackTable0[k0] != pos0) ++k0;
    while (k1 < 31 && kTrackTable1[k1] != pos1) ++k1;
    code[0] = static_cast<int16_t>((pos1Positive ? 2 : 0) + (pos0Positive ? 1 : 0));
    code[1] = static_cast<int16_t>(kGrayEncode[k0] + (kGrayEncode[k1] << 4));
}

void search16(const int16_t* dn, const int16_t* h, int16_t* cod, int16_t* code) {
    OwnCorrPrefixes pre;
    ownCorrPrefixes_16s(h, pre);
    int16_t d[kSubfr], sign[kSubfr];
    for (int n = 0; n < kSubfr; ++n) {
        sign[n] = dn[n] >= 0 ? MAX_16 : MIN_16;
        d[n] = dn[n] >= 0 ? dn[n] : negate(dn[n]);
    }
    int ip0 = 1, ip1 = 0;
    int16_t psc = 0, alpha = MAX_16;
    for (const Pair& pr : kPairs)
        for (int m = 0; m < kNbPos; ++m) {
            const int i0 = 5 * m + pr.t0;
            const int32_t alp0 = 2 * int32_t(extract_h(pre.at(i0, i0)));
            for (int n = 0; n < kNbPos; ++n) {
                const int i1 = 5 * n + pr.t1;
                // Cross term with the signs folded in Q15 (the (1,1) block's
                // diagonal included), energies as the reference's L_mac sums.
                const int16_t cross = mult(extract_h(pre.at(i0, i1)), mult(sign[i0], sign[i1]));
                const int32_t alp1 = alp0 + 2 * int32_t(extract_h(pre.at(i1, i1))) + 4 * int32_t(cross);
                const int16_t alp = static_cast<int16_t>(alp1 >> 5);
                const int16_t ps1 = add(d[i0], d[i1]);
                const int16_t ps1c = mult(ps1, ps1);
                if (int64_t(ps1c) * alpha - int64_t(psc) * alp > 0) {
                    psc = ps1c, alpha = alp;
                    ip0 = pr.outerFirst ? i0 : i1;
                    ip1 = pr.outerFirst ? i1 : i0;
                }
            }
        }
    for (int n = 0; n < kSubfr; ++n) cod[n] = 0;
    cod[ip0] = shr(sign[ip0], 2);
    cod[ip1] = add(cod[ip1], shr(sign[ip1], 2));
    codeWords(ip0, ip1, sign[ip0] > 0, sign[ip1] > 0, code);
}

void search32f(const float* dn, const float* h, float* cod, int16_t* code) {
    OwnCorrPrefixesF pre;
    ownCorrPrefixes_32f(h, pre);
    float d[kSubfr], sign[kSubfr];
    for (int n = 0; n < kSubfr; ++n) {
        sign[n] = dn[n] >= 0.0f ? 1.0f : -1.0f;
        d[n] = dn[n] >= 0.0f ? dn[n] : -dn[n];
    }
    int ip0 = 1, ip1 = 0;
    float psc = 0.0f, alpha = 1.0f;
    for (const Pair& pr : kPairs)
        for (int m = 0; m < kNbPos; ++m) {
            const int i0 = 5 * m + pr.t0;
            for (int n = 0; n < kNbPos; ++n) {
                const int i1 = 5 * n + pr.t1;
                const float alp = pre.at(i0, i0) + pre.at(i1, i1) + 2.0f * sign[i0] * sign[i1] * pre.at(i0, i1);
                const float ps1 = d[i0] + d[i1];
                if (ps1 * ps1 * alpha > psc * alp) {
                    psc = ps1 * ps1, alpha = alp;
                    ip0 = pr.outerFirst ? i0 : i1;
                    ip1 = pr.outerFirst ? i1 : i0;
                }
            }
        }
    for (int n = 0; n < kSubfr; ++n) cod[n] = 0.0f;
    cod[ip0] = sign[ip0];
    cod[ip1] += sign[ip1];
    codeWords(ip0, ip1, sign[ip0] > 0.0f, sign[ip1] > 0.0f, code);
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729D_16s(const Xvo16s* pSrcCorr, const Xvo16s* pSrcImpulseResponse,
                                                      Xvo16s* pDstFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcImpulseResponse, pDstFixedVector, pDstCode));
    search16(pSrcCorr, pSrcImpulseResponse, pDstFixedVector, pDstCode);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729D_32f(const Xvo32f* pSrcCorr, const Xvo32f* pSrcImpulseResponse,
                                                      Xvo32f* pDstFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcImpulseResponse, pDstFixedVector, pDstCode));
    search32f(pSrcCorr, pSrcImpulseResponse, pDstFixedVector, pDstCode);
    return xvoStsOk;
}

}  // extern "C"
