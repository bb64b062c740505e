// G.729 Annex A reduced-complexity algebraic codebook search (A.3.8, the
// reference D4i40_17_fast) and the floating-point G.729 searches.
//
// The Annex A search runs, for the fourth pulse on track 3 and then on
// track 4, two depth-first passes of two stages each:
//   pass 1: (track 2, track 3|4) from the 2 best track-2 starts, then
//           (track 0, track 1);
//   pass 2: (track 3|4, track 0) from the 2 best track-3|4 starts, then
//           (track 1, track 2);
// keeping the best of the four combinations by sq/alp.
#include <cmath>

#include "core/check.h"
#include "core/fixed.h"
#include "g729/fcb.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int16_t k1_2 = 16384, k1_4 = 8192, k1_8 = 4096, k1_16 = 2048;

/// Block offset and whether the caller's (row track, column track) order is
/// the stored one: entry (row position m, column position n) of the pair.
struct Cross {
    const int16_t* base;
    int16_t at(int m, int n) const { return base[m * kNbPos + n]; }
};

/// Running best of one stage: (sq, alp) compared by cross-multiplication.
struct Best {
    int16_t sq = -1, alp = 1;
    bool offer(int16_t sq2, int16_t alp16) {
        if (L_msu(L_mult(alp, sq2), sq, alp16) > 0) {
            sq = sq2;
            alp = alp16;
            return true;
        }
        return false;
    }
};

/// Position of the largest |d| on a track, skipping `skip` (first of equals).
int trackMax(const int16_t* d, int track, int skip) {
    int16_t mx = -1;
    int at = track;
    for (int j = track; j < kSubfr; j += 5)
        if (d[j] > mx && j != skip) {
            mx = d[j];
            at = j;
        }
    return at;
}

/// Annex A search on |d| and the sign-folded matrix; returns the positions.
void searchFast(const int16_t* d, const int16_t* rr, int16_t* ip) {
    const int16_t *r00 = rr + kR00, *r11 = rr + kR11, *r22 = rr + kR22;
    const Cross c01{rr + kR01}, c02{rr + kR02}, c12{rr + kR12};
    int16_t psk = -1, alpk = 1;
    ip[0] = 0, ip[1] = 1, ip[2] = 2, ip[3] = 3;
    int ix = 0, iy = 0;
    int16_t ps = 0;
    for (int track = 3; track <= 4; ++track) {
        const int16_t* r33 = rr + (track == 3 ? kR33 : kR44);
        const Cross c03{rr + (track == 3 ? kR03 : kR04)}, c13{rr + (track == 3 ? kR13 : kR14)},
            c23{rr + (track == 3 ? kR23 : kR24)};

        // Pass 1, stage A: track 2 start (2 best), track 3|4.
        Best a;
        int prev = -1;
        for (int s = 0; s < 2; ++s) {
            const int i0 = trackMax(d, 2, prev);
            prev = i0;
            const int j = i0 / 5;
            const int32_t alp1 = L_mult(r22[j], k1_4);
            for (int n = 0; n < kNbPos; ++n) {
                const int i1 = 5 * n + track;
                const int16_t ps2 = add(d[i0], d[i1]);
                const int32_t alp2 = L_mac(L_mac(alp1, c23.at(j, n), k1_2), r33[n], k1_4);
                if (a.offer(mult(ps2, ps2), round_fx(alp2))) ps = ps2, ix = i0, iy = i1;
            }
        }
        int i0 = ix, i1 = iy;
        // Pass 1, stage B: tracks 0 and 1 around (i0, i1).
        {
            const int j0 = i0 / 5, j1 = i1 / 5;
            const int16_t ps0 = ps;
            const int32_t alp0 = L_mult(a.alp, k1_4);
            int16_t tmp[kNbPos];
            for (int k = 0; k < kNbPos; ++k)
                tmp[k] = round_fx(L_mac(L_mac(L_mult(c12.at(k, j0), k1_4), c13.at(k, j1), k1_4), r11[k], k1_8));
            Best b;
            for (int m = 0; m < kNbPos; ++m) {
                const int16_t ps1 = add(ps0, d[5 * m]);
                const int32_t alp1 = L_mac(L_mac(L_mac(alp0, c02.at(m, j0), k1_8), c03.at(m, j1), k1_8), r00[m], k1_16);
                for (int k = 0; k < kNbPos; ++k) {
                    const int16_t ps2 = add(ps1, d[5 * k + 1]);
                    const int32_t alp2 = L_mac(L_mac(alp1, c01.at(m, k), k1_8), tmp[k], k1_2);
                    if (b.offer(mult(ps2, ps2), round_fx(alp2))) ix = 5 * m, iy = 5 * k + 1;
                }
            }
            if (L_msu(L_mult(alpk, b.sq), psk, b.alp) > 0) {
                psk = b.sq, alpk = b.alp;
                ip[2] = static_cast<int16_t>(i0), ip[3] = static_cast<int16_t>(i1);
                ip[0] = static_cast<int16_t>(ix), ip[1] = static_cast<int16_t>(iy);
            }
        }
        // Pass 2, stage A: track 3|4 start (2 best), track 0.
        Best a2;
        prev = -1;
        for (int s = 0; s < 2; ++s) {
            const int t0 = trackMax(d, track, prev);
            prev = t0;
            const int j = t0 / 5;
            const int32_t alp1 = L_mult(r33[j], k1_4);
            for (int m = 0; m < kNbPos; ++m) {
                const int16_t ps2 = add(d[t0], d[5 * m]);
                const int32_t alp2 = L_mac(L_mac(alp1, c03.at(m, j), k1_2), r00[m], k1_4);
                if (a2.offer(mult(ps2, ps2), round_fx(alp2))) ps = ps2, ix = t0, iy = 5 * m;
            }
        }
        i0 = ix, i1 = iy;
        // Pass 2, stage B: tracks 1 and 2 around (i0 on 3|4, i1 on 0).
        {
            const int j0 = i0 / 5, j1 = i1 / 5;
            const int16_t ps0 = ps;
            const int32_t alp0 = L_mult(a2.alp, k1_4);
            int16_t tmp[kNbPos];
            for (int k = 0; k < kNbPos; ++k)
                tmp[k] = round_fx(L_mac(L_mac(L_mult(c23.at(k, j0), k1_4), c02.at(j1, k), k1_4), r22[k], k1_8));
            Best b;
            for (int m = 0; m < kNbPos; ++m) {
                const int16_t ps1 = add(ps0, d[5 * m + 1]);
                const int32_t alp1 = L_mac(L_mac(L_mac(alp0, c13.at(m, j0), k1_8), c01.at(j1, m), k1_8), r11[m], k1_16);
                for (int k = 0; k < kNbPos; ++k) {
                    const int16_t ps2 = add(ps1, d[5 * k + 2]);
                    const int32_t alp2 = L_mac(L_mac(alp1, c12.at(m, k), k1_8), tmp[k], k1_2);
                    if (b.offer(mult(ps2, ps2), round_fx(alp2))) ix = 5 * m + 1, iy = 5 * k + 2;
                }
            }
            if (L_msu(L_mult(alpk, b.sq), psk, b.alp) > 0) {
                psk = b.sq, alpk = b.alp;
                ip[3] = static_cast<int16_t>(i0), ip[0] = static_cast<int16_t>(i1);
                ip[1] = static_cast<int16_t>(ix), ip[2] = static_cast<int16_t>(iy);
            }
        }
    }
}

/// Folds the signs into the cross terms the Annex A way: an entry is kept
/// (times 32767/32768) when both signs agree and negated (mult by -32768,
/// saturating) when they differ.
void foldSignsA(const int16_t* sign, int16_t* rr) {
    struct Block { int off, ta, tb; };
    constexpr Block blocks[9] = {{kR01, 0, 1}, {kR02, 0, 2}, {kR03, 0, 3}, {kR04, 0, 4}, {kR12, 1, 2},
                                 {kR13, 1, 3}, {kR14, 1, 4}, {kR23, 2, 3}, {kR24, 2, 4}};
    for (const Block& b : blocks)
        for (int m = 0; m < kNbPos; ++m) {
            const bool neg = sign[5 * m + b.ta] < 0;
            for (int n = 0; n < kNbPos; ++n) {
                const int16_t sj = sign[5 * n + b.tb];
                const int16_t f = neg ? (sj < 0 ? MAX_16 : MIN_16) : sj;
                int16_t& e = rr[b.off + m * kNbPos + n];
                e = mult(e, f);
            }
        }
}

void searchA(const int16_t* dn, int16_t* rr, int16_t* cod, int16_t* code) {
    int16_t d[kSubfr], sign[kSubfr];
    for (int n = 0; n < kSubfr; ++n) {
        sign[n] = dn[n] >= 0 ? MAX_16 : MIN_16;
        d[n] = dn[n] >= 0 ? dn[n] : negate(dn[n]);
    }
    foldSignsA(sign, rr);
    int16_t ip[4];
    searchFast(d, rr, ip);
    for (int n = 0; n < kSubfr; ++n) cod[n] = 0;
    bool positive[4];
    for (int k = 0; k < 4; ++k) {
        cod[ip[k]] = shr(sign[ip[k]], 2);
        positive[k] = sign[ip[k]] > 0;
    }
    ownFcbCodeWords4(ip, positive, code);
}

// ---- floating point -----------------------------------------------------------

struct Block { int off, ta, tb; };
constexpr Block kBlocks[9] = {{kR01, 0, 1}, {kR02, 0, 2}, {kR03, 0, 3}, {kR04, 0, 4}, {kR12, 1, 2},
                              {kR13, 1, 3}, {kR14, 1, 4}, {kR23, 2, 3}, {kR24, 2, 4}};

void signsFloat(const float* dn, float* d, float* sign, float* rr) {
    for (int n = 0; n < kSubfr; ++n) {
        sign[n] = dn[n] >= 0.0f ? 1.0f : -1.0f;
        d[n] = dn[n] >= 0.0f ? dn[n] : -dn[n];
    }
    for (const Block& b : kBlocks)
        for (int m = 0; m < kNbPos; ++m)
            for (int n = 0; n < kNbPos; ++n) rr[b.off + m * kNbPos + n] *= sign[5 * m + b.ta] * sign[5 * n + b.tb];
}

void finishFloat(const float* sign, const int16_t* ip, float* cod, int16_t* code) {
    for (int n = 0; n < kSubfr; ++n) cod[n] = 0.0f;
    bool positive[4];
    for (int k = 0; k < 4; ++k) {
        cod[ip[k]] = sign[ip[k]];
        positive[k] = sign[ip[k]] > 0.0f;
    }
    ownFcbCodeWords4(ip, positive, code);
}

/// The float depth-first G.729 search (the floating-point reference d4i40_17).
int searchFloat(const float* d, const float* rr, int time, int16_t* ip) {
    float avg = 0.0f, m0 = d[0], m1 = d[1], m2 = d[2];
    for (int i = 0; i < kSubfr; i += 5) {
        avg += d[i] + d[i + 1] + d[i + 2];
        m0 = std::fmax(m0, d[i]), m1 = std::fmax(m1, d[i + 1]), m2 = std::fmax(m2, d[i + 2]);
    }
    avg *= 0.125f;
    const float thres = avg + (m0 + (m1 + m2) - avg) * 0.4f;
    float psc = 0.0f, alpha = 1000000.0f;
    ip[0] = 0, ip[1] = 1, ip[2] = 2, ip[3] = 3;
    for (int a = 0; a < kNbPos; ++a)
        for (int b = 0; b < kNbPos; ++b) {
            const float ps1 = d[5 * a] + d[5 * b + 1];
            const float alp1 = rr[kR00 + a] + rr[kR11 + b] + 2.0f * rr[kR01 + a * 8 + b];
            for (int c = 0; c < kNbPos; ++c) {
                const float ps2 = ps1 + d[5 * c + 2];
                if (!(ps2 > thres)) continue;
                const float alp2 = alp1 + rr[kR22 + c] + 2.0f * (rr[kR02 + a * 8 + c] + rr[kR12 + b * 8 + c]);
                for (int t = 3; t <= 4; ++t)
                    for (int e = 0; e < kNbPos; ++e) {
                        const float ps3 = ps2 + d[5 * e + t];
                        const float alp3 =
                            alp2 + rr[(t == 3 ? kR33 : kR44) + e] +
                            2.0f * (rr[(t == 3 ? kR13 : kR14) + b * 8 + e] + rr[(t == 3 ? kR03 : kR04) + a * 8 + e] +
                                    rr[(t == 3 ? kR23 : kR24) + c * 8 + e]);
                        const float ps3c = ps3 * ps3;
                        if (ps3c * alpha > psc * alp3) {
                            psc = ps3c, alpha = alp3;
                            ip[0] = static_cast<int16_t>(5 * a), ip[1] = static_cast<int16_t>(5 * b + 1);
                            ip[2] = static_cast<int16_t>(5 * c + 2), ip[3] = static_cast<int16_t>(5 * e + t);
                        }
                    }
                if (--time <= 0) return time;
            }
        }
    return time;
}

/// Float form of the Annex A search: the same passes with float energies
/// (the fixed-point weights 1/2 .. 1/16 are common factors of the ratios).
void searchFastFloat(const float* d, const float* rr, int16_t* ip) {
    auto at = [&](int off, int m, int n) { return rr[off + m * kNbPos + n]; };
    float psk = -1.0f, alpk = 1.0f;
    ip[0] = 0, ip[1] = 1, ip[2] = 2, ip[3] = 3;
    int ix = 0, iy = 0;
    float ps = 0.0f;
    auto trackMaxF = [&](int track, int skip) {
        float mx = -1.0f;
        int pos = track;
        for (int j = track; j < kSubfr; j += 5)
            if (d[j] > mx && j != skip) mx = d[j], pos = j;
        return pos;
    };
    for (int track = 3; track <= 4; ++track) {
        const int o33 = track == 3 ? kR33 : kR44, o03 = track == 3 ? kR03 : kR04, o13 = track == 3 ? kR13 : kR14,
                  o23 = track == 3 ? kR23 : kR24;
        // The fixed-point energies are alp/8 (stage A) and alp/32 (stage B) of these.
        float sq = -1.0f, alp = 1.0f;
        int prev = -1;
        for (int s = 0; s < 2; ++s) {
            const int i0 = trackMaxF(2, prev);
            prev = i0;
            for (int n = 0; n < kNbPos; ++n) {
                const float ps2 = d[i0] + d[5 * n + track];
                const float alp2 = rr[kR22 + i0 / 5] + 2.0f * at(o23, i0 / 5, n) + rr[o33 + n];
                if (alp * ps2 * ps2 > sq * alp2) sq = ps2 * ps2, alp = alp2, ps = ps2, ix = i0, iy = 5 * n + track;
            }
        }
        int i0 = ix, i1 = iy;
        float alp0 = alp, ps0 = ps;
        sq = -1.0f, alp = 1.0f;
        for (int m = 0; m < kNbPos; ++m)
            for (int k = 0; k < kNbPos; ++k) {
                const float ps2 = ps0 + d[5 * m] + d[5 * k + 1];
                const float alp2 = alp0 + rr[kR00 + m] + rr[kR11 + k] +
                                   2.0f * (at(kR02, m, i0 / 5) + at(o03, m, i1 / 5) + at(kR12, k, i0 / 5) +
                                           at(o13, k, i1 / 5) + at(kR01, m, k));
                if (alp * ps2 * ps2 > sq * alp2) sq = ps2 * ps2, alp = alp2, ix = 5 * m, iy = 5 * k + 1;
            }
        if (alpk * sq > psk * alp) {
            psk = sq, alpk = alp;
            ip[2] = static_cast<int16_t>(i0), ip[3] = static_cast<int16_t>(i1);
            ip[0] = static_cast<int16_t>(ix), ip[1] = static_cast<int16_t>(iy);
        }
        sq = -1.0f, alp = 1.0f, prev = -1;
        for (int s = 0; s < 2; ++s) {
            const int t0 = trackMaxF(track, prev);
            prev = t0;
            for (int m = 0; m < kNbPos; ++m) {
                const float ps2 = d[t0] + d[5 * m];
                const float alp2 = rr[o33 + t0 / 5] + 2.0f * at(o03, m, t0 / 5) + rr[kR00 + m];
                if (alp * ps2 * ps2 > sq * alp2) sq = ps2 * ps2, alp = alp2, ps = ps2, ix = t0, iy = 5 * m;
            }
        }
        i0 = ix, i1 = iy;
        alp0 = alp, ps0 = ps;
        sq = -1.0f, alp = 1.0f;
        for (int m = 0; m < kNbPos; ++m)
            for (int k = 0; k < kNbPos; ++k) {
                const float ps2 = ps0 + d[5 * m + 1] + d[5 * k + 2];
                const float alp2 = alp0 + rr[kR11 + m] + rr[kR22 + k] +
                                   2.0f * (at(o13, m, i0 / 5) + at(kR01, i1 / 5, m) + at(o23, k, i0 / 5) +
                                           at(kR02, i1 / 5, k) + at(kR12, m, k));
                if (alp * ps2 * ps2 > sq * alp2) sq = ps2 * ps2, alp = alp2, ix = 5 * m + 1, iy = 5 * k + 2;
            }
        if (alpk * sq > psk * alp) {
            psk = sq, alpk = alp;
            ip[3] = static_cast<int16_t>(i0), ip[0] = static_cast<int16_t>(i1);
            ip[1] = static_cast<int16_t>(ix), ip[2] = static_cast<int16_t>(iy);
        }
    }
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729A_16s(const Xvo16s* pSrcCorr, Xvo16s* pSrcDstMatrix,
                                                      Xvo16s* pDstFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcDstMatrix, pDstFixedVector, pDstCode));
    searchA(pSrcCorr, pSrcDstMatrix, pDstFixedVector, pDstCode);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729A_32s16s(const Xvo16s* pSrcCorr, Xvo32s* pSrcDstMatrix,
                                                         Xvo16s* pDstFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcDstMatrix, pDstFixedVector, pDstCode));
    int16_t rr[kMatrixSize];
    ownFcbMatrixFrom32s(pSrcDstMatrix, rr);
    searchA(pSrcCorr, rr, pDstFixedVector, pDstCode);
    for (int k = 0; k < kMatrixSize; ++k) pSrcDstMatrix[k] = rr[k];
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729A_32f(const Xvo32f* pSrcCorr, Xvo32f* pSrcDstMatrix,
                                                      Xvo32f* pDstFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcDstMatrix, pDstFixedVector, pDstCode));
    float d[kSubfr], sign[kSubfr];
    signsFloat(pSrcCorr, d, sign, pSrcDstMatrix);
    int16_t ip[4];
    searchFastFloat(d, pSrcDstMatrix, ip);
    finishFloat(sign, ip, pDstFixedVector, pDstCode);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729_32f(const Xvo32f* pSrcCorr, Xvo32f* pSrcDstMatrix,
                                                     Xvo32f* pDstFixedVector, Xvo16s* pDstCode,
                                                     Xvo16s* pSrcDstExtra, Xvo16s subFrame) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcDstMatrix, pDstFixedVector));
    XVO_CHECK(xvo::ownCheckPtrs(pSrcDstExtra, pDstCode));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 1, xvoStsRange);
    float d[kSubfr], sign[kSubfr];
    signsFloat(pSrcCorr, d, sign, pSrcDstMatrix);
    int16_t ip[4];
    const int left = searchFloat(d, pSrcDstMatrix, 75 + (subFrame == 0 ? 30 : *pSrcDstExtra), ip);
    *pSrcDstExtra = static_cast<Xvo16s>(left);
    finishFloat(sign, ip, pDstFixedVector, pDstCode);
    return xvoStsOk;
}

}  // extern "C"
