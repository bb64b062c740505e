// G.729 Annex B SID spectral quantisation: the noise LSF quantiser (B.4.1.3,
// the reference lsfq_noise) and the SID LSF decoder (sid_lsfq_decode). Both
// use the reduced codebooks (32 first-stage rows, 16 second-stage pairs
// reached through the SID maps) and the noise MA predictors: predictor 0 is
// the main-body predictor 0, predictor 1 is 0.6 fg[0] + 0.4 fg[1].
#include "g729/annexb.h"

#include <cmath>
#include <utility>

#include "core/check.h"
#include "core/fixed.h"
#include "g729/g729_tables.h"
#include "g729/lsp.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int kOrder = 10;
constexpr int16_t kLLimit = 40, kMLimit = 25681, kGap3 = 321;
constexpr int kCand = 4;  // candidates kept after the first stage

/// Reduced codebook vector of (first-stage, second-stage) SID indices.
void sidCodevector(int i1, int i2, int16_t* buf) {
    const int16_t* c1 = kLspcb1[kPtrTab1[i1]];
    const int16_t* lo = kLspcb2[kPtrTab2[0][i2]];
    const int16_t* hi = kLspcb2[kPtrTab2[1][i2]];
    for (int j = 0; j < kOrder; ++j) buf[j] = add(c1[j], j < 5 ? lo[j] : hi[j]);
}

/// Moves adjacent elements apart until they are at least about gap/2 apart
/// (the reference's 32-bit form of the step, no 16-bit saturation).
void rearrange(int16_t* buf, int16_t gap) {
    for (int j = 1; j < kOrder; ++j) {
        const int16_t k = static_cast<int16_t>((int32_t(buf[j - 1]) - buf[j] + gap) >> 1);
        if (k > 0) {
            buf[j - 1] = sub(buf[j - 1], k);
            buf[j] = add(buf[j], k);
        }
    }
}

/// Orders, bounds and spaces the LSF; returns the warning status.
XvoStatus stabilise(int16_t* lsf) {
    for (int j = 0; j < kOrder - 1; ++j)
        if (lsf[j + 1] < lsf[j]) {
            const int16_t t = lsf[j + 1];
            lsf[j + 1] = lsf[j];
            lsf[j] = t;
        }
    bool low = false, high = false;
    if (lsf[0] < kLLimit) {
        lsf[0] = kLLimit;
        low = true;
    }
    for (int j = 0; j < kOrder - 1; ++j)
        if (int32_t(lsf[j + 1]) - lsf[j] < kGap3) lsf[j + 1] = add(lsf[j], kGap3);
    if (lsf[kOrder - 1] > kMLimit) {
        lsf[kOrder - 1] = kMLimit;
        high = true;
    }
    return low ? (high ? xvoStsLSFLowHigh : xvoStsLSFLow) : (high ? xvoStsLSFHigh : xvoStsOk);
}

/// Keeps the kCand smallest of n errors below 32767, earliest first among
/// equals, in one pass; places left over are index 0. This is the
/// reference's repeated strict-minimum scan, which marks each pick with 32767
/// and picks index 0 when nothing below 32767 is left.
void smallest(const int16_t* err, int n, int* pick) {
    int16_t best[kCand];
    for (int q = 0; q < kCand; ++q) best[q] = MAX_16, pick[q] = 0;
    for (int i = 0; i < n; ++i) {
        const int16_t v = err[i];
        if (v >= best[kCand - 1]) continue;
        int q = kCand - 1;
        for (; q > 0 && v < best[q - 1]; --q) best[q] = best[q - 1], pick[q] = pick[q - 1];
        best[q] = v;
        pick[q] = i;
    }
}

}  // namespace

XvoStatus ownSidLsfDecode_16s(const int16_t* idx, int16_t* prevFreq, int16_t* lsf) {
    const int p = idx[0];
    int16_t buf[kOrder];
    sidCodevector(idx[1], idx[2], buf);
    rearrange(buf, 10);
    rearrange(buf, 5);
    ownMaCompose_16s(buf, prevFreq, kNoiseFg[p], kNoiseFgSum[p], lsf);
    ownPushMemory(prevFreq, buf);
    return stabilise(lsf);
}

void ownSidLsfSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx) {
    ownSidLsfSearch_16s(lsf, prevFreq, idx, ownLspKernels());
}

void ownSidLsfSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx, const OwnLspKernels& kern) {
    int16_t w[kOrder];
    ownLsfWeights_16s(lsf, w);

    // First stage: the residual target of each predictor against the 32 mapped
    // rows of lspcb1 by the main-body distance kernel (2 d is the reference's
    // saturating L_mac sum, capped from 2^30), scaled by the predictor's weight
    // Mp; keep the 4 best (predictor, row).
    alignas(32) int16_t target[2][16] = {};
    int16_t err1[2 * 32];
    for (int p = 0; p < 2; ++p) {
        ownMaExtract_16s(lsf, prevFreq, kNoiseFg[p], kNoiseFgSumInv[p], target[p]);
        alignas(32) int32_t d[kNC0];
        kern.dist1(target[p], d);
        for (int m = 0; m < 32; ++m) {
            const int32_t dm = d[kPtrTab1[m]];
            err1[p * 32 + m] = mult(dm >= (1 << 30) ? MAX_16 : static_cast<int16_t>(dm >> 15), kMp[p]);
        }
    }
    int pick1[kCand];
    smallest(err1, 2 * 32, pick1);

    // Second stage: weighted error of the 4 residuals against the 16 pairs,
    // the weights including the squared predictor sum; keep the best.
    int16_t tw[2][kOrder];
    for (int p = 0; p < 2; ++p)
        for (int j = 0; j < kOrder; ++j) {
            const int16_t s = kNoiseFgSum[p][j];
            tw[p][j] = mult(extract_h(L_shl(L_mult(s, s), 2)), w[j]);
        }
    int16_t err2[kCand * 16];
    for (int q = 0; q < kCand; ++q) {
        const int p = pick1[q] / 32;
        const int16_t* row = kLspcb1[kPtrTab1[pick1[q] % 32]];
        int16_t resid[kOrder];
        for (int j = 0; j < kOrder; ++j) resid[j] = sub(target[p][j], row[j]);
        kern.sidDist2(resid, tw[p], err2 + 16 * q);
    }
    int pick2[kCand];
    smallest(err2, kCand * 16, pick2);
    const int q = pick2[0] / 16;
    idx[0] = static_cast<int16_t>(pick1[q] / 32);
    idx[1] = static_cast<int16_t>(pick1[q] % 32);
    idx[2] = static_cast<int16_t>(pick2[0] % 16);
}

// ---- floating point ----------------------------------------------------------
// The float forms follow the floating-point reference (Annex C+): the same
// search on float tables (the fixed-point codebooks in Q13 and predictors in
// Q15 scaled to float), gaps and limits in radians.

namespace {

constexpr float kQ13 = 1.0f / 8192.0f, kQ15 = 1.0f / 32768.0f, kQ12 = 1.0f / 4096.0f;
constexpr float kLLimitF = 0.005f, kMLimitF = 3.135f, kGap3F = 0.0392f;
constexpr float kMpF[2] = {0.065942075f, 0.12644604f};

float cb1(int m, int j) { return kLspcb1[kPtrTab1[m]][j] * kQ13; }
float cb2(int m, int j) { return kLspcb2[kPtrTab2[j < 5 ? 0 : 1][m]][j] * kQ13; }

void rearrangeF(float* buf, float gap) {
    for (int j = 1; j < kOrder; ++j) {
        const float k = (buf[j - 1] - buf[j] + gap) * 0.5f;
        if (k > 0.0f) buf[j - 1] -= k, buf[j] += k;
    }
}

/// Keeps the kCand smallest of n errors, earliest first among equals.
void smallestF(float* err, int n, int* pick) {
    for (int q = 0; q < kCand; ++q) {
        float best = 1.e38f;
        int at = 0;
        for (int i = 0; i < n; ++i)
            if (err[i] < best) best = err[i], at = i;
        err[at] = 1.e38f;
        pick[q] = at;
    }
}

void sidDecodeF(const int16_t* idx, float* prevFreq, float* lsf) {
    const int p = idx[0];
    float buf[kOrder];
    for (int j = 0; j < kOrder; ++j) buf[j] = cb1(idx[1], j) + cb2(idx[2], j);
    rearrangeF(buf, 0.0012f);
    rearrangeF(buf, 0.0006f);
    for (int j = 0; j < kOrder; ++j) {
        float v = buf[j] * (kNoiseFgSum[p][j] * kQ15);
        for (int k = 0; k < kMaNp; ++k) v += prevFreq[k * kOrder + j] * (kNoiseFg[p][k][j] * kQ15);
        lsf[j] = v;
    }
    for (int i = 4 * kOrder - 1; i >= kOrder; --i) prevFreq[i] = prevFreq[i - kOrder];
    for (int j = 0; j < kOrder; ++j) prevFreq[j] = buf[j];
    for (int j = 0; j < kOrder - 1; ++j)
        if (lsf[j + 1] < lsf[j]) std::swap(lsf[j], lsf[j + 1]);
    if (lsf[0] < kLLimitF) lsf[0] = kLLimitF;
    for (int j = 0; j < kOrder - 1; ++j)
        if (lsf[j + 1] - lsf[j] < kGap3F) lsf[j + 1] = lsf[j] + kGap3F;
    if (lsf[kOrder - 1] > kMLimitF) lsf[kOrder - 1] = kMLimitF;
}

void sidSearchF(const float* lsf, const float* prevFreq, int16_t* idx) {
    constexpr float kPi = 3.14159265358979f;
    float w[kOrder];
    for (int i = 0; i < kOrder; ++i) {
        const float t = i == 0 ? lsf[1] - kPi * 0.04f - 1.0f
                        : i == kOrder - 1 ? kPi * 0.92f - lsf[kOrder - 2] - 1.0f
                                          : lsf[i + 1] - lsf[i - 1] - 1.0f;
        w[i] = t > 0.0f ? 1.0f : t * t * 10.0f + 1.0f;
    }
    w[4] *= 1.2f;
    w[5] *= 1.2f;
    float target[2][kOrder];
    for (int p = 0; p < 2; ++p)
        for (int j = 0; j < kOrder; ++j) {
            float v = lsf[j];
            for (int k = 0; k < kMaNp; ++k) v -= prevFreq[k * kOrder + j] * (kNoiseFg[p][k][j] * kQ15);
            target[p][j] = v * (kNoiseFgSumInv[p][j] * kQ12);
        }
    float err1[2 * 32];
    for (int p = 0; p < 2; ++p)
        for (int m = 0; m < 32; ++m) {
            float s = 0.0f;
            for (int j = 0; j < kOrder; ++j) {
                const float d = target[p][j] - cb1(m, j);
                s += d * d;
            }
            err1[p * 32 + m] = s * kMpF[p];
        }
    int pick1[kCand];
    smallestF(err1, 2 * 32, pick1);
    float err2[kCand * 16];
    for (int q = 0; q < kCand; ++q) {
        const int p = pick1[q] / 32, m1 = pick1[q] % 32;
        for (int m = 0; m < 16; ++m) {
            float s = 0.0f;
            for (int j = 0; j < kOrder; ++j) {
                const float fs = kNoiseFgSum[p][j] * kQ15;
                const float d = target[p][j] - cb1(m1, j) - cb2(m, j);
                s += w[j] * (fs * fs) * (d * d);
            }
            err2[q * 16 + m] = s;
        }
    }
    int pick2[kCand];
    smallestF(err2, kCand * 16, pick2);
    const int q = pick2[0] / 16;
    idx[0] = static_cast<int16_t>(pick1[q] / 32);
    idx[1] = static_cast<int16_t>(pick1[q] % 32);
    idx[2] = static_cast<int16_t>(pick2[0] % 16);
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosLSFDecode_G729B_16s(const Xvo16s* pSrcIndices, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstLSF) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcIndices, pSrcDstPrevFreq, pDstLSF));
    return ownSidLsfDecode_16s(pSrcIndices, pSrcDstPrevFreq, pDstLSF);
}

XVOSC_API XvoStatus xvosLSFQuant_G729B_16s(const Xvo16s* pSrcLSF, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstQLSF,
                                           Xvo16s* pDstIndices) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcLSF, pSrcDstPrevFreq));
    XVO_CHECK(xvo::ownCheckPtrs(pDstQLSF, pDstIndices));
    // The reference quantiser first spaces its LSF to about 100 Hz.
    int16_t lsf[10];
    for (int j = 0; j < 10; ++j) lsf[j] = pSrcLSF[j];
    if (lsf[0] < 40) lsf[0] = 40;
    for (int j = 0; j < 9; ++j)
        if (xvo::fx::sub(lsf[j + 1], lsf[j]) < 2 * 321) lsf[j + 1] = xvo::fx::add(lsf[j], 2 * 321);
    if (lsf[9] > 25681) lsf[9] = 25681;
    if (lsf[9] < lsf[8]) lsf[8] = xvo::fx::sub(lsf[9], 321);
    int16_t idx[3];
    ownSidLsfSearch_16s(lsf, pSrcDstPrevFreq, idx);
    for (int k = 0; k < 3; ++k) pDstIndices[k] = idx[k];
    return ownSidLsfDecode_16s(idx, pSrcDstPrevFreq, pDstQLSF);
}

XVOSC_API XvoStatus xvosLSFDecode_G729B_32f(const Xvo16s* pSrcIndices, Xvo32f* pSrcDstPrevFreq, Xvo32f* pDstLSF) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcIndices, pSrcDstPrevFreq, pDstLSF));
    sidDecodeF(pSrcIndices, pSrcDstPrevFreq, pDstLSF);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLSFQuant_G729B_32f(const Xvo32f* pSrcLSF, Xvo32f* pSrcDstPrevFreq, Xvo32f* pDstQLSF,
                                           Xvo16s* pDstIndices) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcLSF, pSrcDstPrevFreq));
    XVO_CHECK(xvo::ownCheckPtrs(pDstQLSF, pDstIndices));
    float lsf[10];
    for (int j = 0; j < 10; ++j) lsf[j] = pSrcLSF[j];
    if (lsf[0] < kLLimitF) lsf[0] = kLLimitF;
    for (int j = 0; j < 9; ++j)
        if (lsf[j + 1] - lsf[j] < 2 * kGap3F) lsf[j + 1] = lsf[j] + 2 * kGap3F;
    if (lsf[9] > kMLimitF) lsf[9] = kMLimitF;
    if (lsf[9] < lsf[8]) lsf[8] = lsf[9] - kGap3F;
    int16_t idx[3];
    sidSearchF(lsf, pSrcDstPrevFreq, idx);
    for (int k = 0; k < 3; ++k) pDstIndices[k] = idx[k];
    sidDecodeF(idx, pSrcDstPrevFreq, pDstQLSF);
    return xvoStsOk;
}

}  // extern "C"
