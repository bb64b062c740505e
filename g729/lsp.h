// Internal kernels of the G.729 line-spectral family: the LPC-to-LSP root
// finder (shared with GSM-AMR), the LSP/LSF conversions, the lag window, the
// switched-MA LSF decoder and quantiser, and their float twins.
#pragma once

#include <cstdint>

#include "core/cpu.h"

namespace xvo::g729 {

// ---- LPC to LSP --------------------------------------------------------------

/// Settings of the root finder; each caller passes its own.
struct OwnLpcToLspParams {
    int intervals;   ///< grid intervals on the cosine axis: 60 (cos(pi*i/60)) or 50 (cos(pi*i/50))
    int bisections;  ///< interval halvings per sign change before the linear interpolation
    /// 1: the G.729 form, which watches the Q11 coefficients for overflow and then
    ///    recomputes them in Q10 and evaluates in Q23 (Chebps_10);
    /// 0: the GSM-AMR form, no overflow watch.
    int selector;
    /// log2 of the factor that brings a coefficient into the Q24 evaluation
    /// (12: coefficients in Q11, G.729; 13: coefficients in Q10, GSM-AMR).
    int shift;
};

inline constexpr OwnLpcToLspParams kLpcToLspG729{60, 4, 1, 12};   // main body, as the reference runs it
inline constexpr OwnLpcToLspParams kLpcToLspG729A{50, 2, 1, 12};  // Annex A
inline constexpr OwnLpcToLspParams kLpcToLspGsmAmr{60, 4, 0, 13}; // GSM-AMR

/// Roots of the sum and difference polynomials of a (11 coefficients, Q12,
/// a[0] not read) as cosines in Q15, written to lsp in the order found.
/// Returns the number of roots found (0..10); lsp[nf..9] are not written.
struct OwnLspKernels;
int ownLPCToLSP_16s(const int16_t* a, int16_t* lsp, const OwnLpcToLspParams& p);
/// The same with an explicit set of vector twins (tests and benchmarks).
int ownLPCToLSP_16s(const int16_t* a, int16_t* lsp, const OwnLpcToLspParams& p, const OwnLspKernels& k);

/// Float root finder of the G.729 floating-point reference (Annex C):
/// `intervals` grid intervals and `bisections` halvings. Returns the roots found.
int ownLPCToLSP_32f(const float* a, float* lsp, int intervals, int bisections);

// ---- Conversions ---------------------------------------------------------------

/// Lsp_lsf2: LSP (Q15, non-increasing) to LSF in radians (Q13).
void ownLSPToLSF_16s(const int16_t* lsp, int16_t* lsf);
/// Lsp_lsf: LSP (Q15, non-increasing) to normalised LSF (Q15, 0..0.5).
void ownLSPToLSFNorm_16s(const int16_t* lsp, int16_t* lsf);
/// Lsf_lsp2: LSF in radians (Q13) to LSP (Q15); -12 at the first negative LSF.
int ownLSFToLSP_16s(const int16_t* lsf, int16_t* lsp);

/// Lag_window on 32-bit words (hi = x >> 16, lo = (x >> 1) & 0x7fff), lags 1..len.
void ownLagWindow_32s(int32_t* r, int len);

// ---- MA-predictive LSF quantiser ------------------------------------------------

/// Lsp_get_quant + Lsp_stability: decodes indices (L0 & 1, L1 & 127, L2 & 31,
/// L3 & 31) with the 4 x 10 memory prevFreq, updates the memory, writes the
/// stabilised LSF (Q13). Returns 0, 13 (low end raised), 14 (high end lowered) or 15.
int ownLSFDecode_16s(int l0, int l1, int l2, int l3, int16_t* prevFreq, int16_t* lsf);

/// Lsp_prev_extract + Lsp_prev_update for an erased frame with predictor ma (0/1).
void ownLSFDecodeErased_16s(int ma, int16_t* prevFreq, const int16_t* lsf);

/// Get_wegt + the Relspwed search: the four indices L0..L3 for lsf (Q13)
/// and memory prevFreq (not modified).
void ownLSFQuantSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx);
void ownLSFQuantSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx, const OwnLspKernels& k);

/// Float decoder (Annex C lsp_get_quant + lsp_stability); returns the same
/// warning codes as the 16-bit decoder.
int ownLSFDecode_32f(int l0, int l1, int l2, int l3, float* prevFreq, float* lsf);
/// Float erased-frame memory update (Annex C lsp_prev_extract + lsp_prev_update).
void ownLSFDecodeErased_32f(int ma, float* prevFreq, const float* lsf);

/// Lsp_prev_compose: lsf[j] = extract_h(L_mult(buf, fgSum) + sum_k L_mult(prevFreq[k], fg[k])),
/// for any MA predictor (4 x 10 fg, row 0 the newest).
void ownMaCompose_16s(const int16_t* buf, const int16_t* prevFreq, const int16_t (*fg)[10], const int16_t* fgSum,
                      int16_t* lsf);
/// Lsp_prev_extract: the residual that lsf implies under the predictor (fg, fgSumInv).
void ownMaExtract_16s(const int16_t* lsf, const int16_t* prevFreq, const int16_t (*fg)[10], const int16_t* fgSumInv,
                      int16_t* res);

// ---- Shared steps of the 16-bit and float decoders ---------------------------------

/// Lsp_prev_update: rows 3 <- 2 <- 1 <- 0 of the 4 x 10 memory, row 0 <- row.
template <typename T>
void ownPushMemory(T* prevFreq, const T* row) {
    for (int i = 39; i >= 10; --i) prevFreq[i] = prevFreq[i - 10];
    for (int j = 0; j < 10; ++j) prevFreq[j] = row[j];
}

/// Lsp_stability: one ordering pass, the low limit, the minimum distance gap
/// (lsf[j+1] = addGap(lsf[j]) where closer) and the high limit. Returns 0, or
/// the warning 13 / 14 / 15 for a low / high / both correction(s).
template <typename T, typename AddGap>
int ownStabilise(T* lsf, T low, T gap, T high, AddGap addGap) {
    int st = 0;
    for (int j = 0; j < 9; ++j)
        if (lsf[j + 1] < lsf[j]) {
            const T t = lsf[j + 1];
            lsf[j + 1] = lsf[j];
            lsf[j] = t;
        }
    if (lsf[0] < low) {
        lsf[0] = low;
        st |= 1;
    }
    for (int j = 0; j < 9; ++j)
        if (lsf[j + 1] - lsf[j] < gap) lsf[j + 1] = addGap(lsf[j]);
    if (lsf[9] > high) {
        lsf[9] = high;
        st |= 2;
    }
    return st == 0 ? 0 : 12 + st;  // xvoStsLSFLow, xvoStsLSFHigh, xvoStsLSFLowHigh
}

// ---- Vectorised twins ------------------------------------------------------------

/// Squared distances of the first-stage search: d[i] = min(sum_j sat16(r[j] - cb1[i][j])^2, 2^30)
/// for the 128 entries of lspcb1 (2*d orders the entries exactly as the reference's
/// saturating L_mac sum does).
using OwnDist1Fn = void (*)(const int16_t* r, int32_t* d);
/// Chebyshev evaluations at the grid points: y[i] = C(x[i]) for i < n (n a multiple of 8,
/// the arrays padded), coefficients f[0..5], shift 12 or 13, Q24 evaluation or (q23) Q23.
using OwnChebGridFn = void (*)(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y);

/// Weighted distances of one second-stage half: for the 32 entries k of lspcb2,
/// d[k] = min(sum_j t2*t, 2^30) over j = from..from+4, t = sat16(r[j] - lspcb2[k][j]),
/// t2 = (w[j]*t) >> 15. For weights 0..32767 every term is non-negative, so 2*d[k]
/// orders the entries as the reference's saturating L_mac sum does.
using OwnDist2Fn = void (*)(const int16_t* r, const int16_t* w, int from, int32_t* d);

/// Weighted distances of the SID second stage: for the 16 pairs m of the SID maps,
/// e[m] = extract_h(sum_j L_mult(t, d)) over j = 0..9 with saturating sums,
/// d = sat16(r[j] - cb[m][j]) (cb: lspcb2 row ptrTab2[0][m] for j < 5, ptrTab2[1][m] above),
/// t = extract_h(L_shl(L_mult(w[j], d), 3)); w[j] >= 0.
using OwnSidDist2Fn = void (*)(const int16_t* r, const int16_t* w, int16_t* e);

struct OwnLspKernels {
    OwnDist1Fn dist1;
    OwnChebGridFn chebGrid;
    OwnDist2Fn dist2;
    OwnSidDist2Fn sidDist2;
};

/// Kernels for one CPU level (a supported level); ownLspKernels() for the running CPU.
const OwnLspKernels& ownLspKernelsFor(OwnCpuLevel level);
const OwnLspKernels& ownLspKernels();

/// One Chebyshev evaluation of the reference (Chebps_11 / Chebps_10 / GSM-AMR Chebps):
/// q23 selects the Q23 evaluation of Chebps_10.
int16_t ownChebps_16s(int16_t x, const int16_t* f, int shift, bool q23);
/// Whether the coefficients allow the plain 32-bit form of the evaluation (every
/// coefficient term within 2^28); the fast forms run the operator form otherwise.
bool ownChebpsFastOk(const int16_t* f, int shift);
/// The same, operator by operator with the reference's saturations (the defining form).
int16_t ownChebpsExact_16s(int16_t x, const int16_t* f, int shift, bool q23);

/// G.729 perceptual LSF weights (Get_wegt), normalised so the largest has no headroom;
/// shared by the main-body quantiser and the Annex B noise quantiser.
void ownLsfWeights_16s(const int16_t* lsf, int16_t* w);

}  // namespace xvo::g729
