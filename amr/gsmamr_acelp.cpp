// GSM-AMR algebraic codebook search (TS 26.073 cbsearch.c with c2_9pf.c, c2_11pf.c, c3_14pf.c,
// c4_17pf.c, c8_31pf.c, c1035pf.c, cor_h.c, set_sign.c, s10_8pf.c): the target's correlation with
// the impulse response fixes each position's sign, the impulse response's correlation matrix is
// formed with those signs, and the pulses are searched track by track by the depth-first rules of
// each mode; then the code vector, its filtered version and the index words are built.
#include <algorithm>
#include <cstdlib>

#include "amr/gsmamr_acelp.h"
#include "amr/gsmamr_common.h"
#include "amr/gsmamr_simd.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/generic_kernels.h"
#include "g729/gain.h"
#include "xvosc.h"

namespace xvo::gsmamr {

using namespace fx;

namespace {

constexpr int kL = 40;
constexpr int16_t k1_2 = 16384, k1_4 = 8192, k1_8 = 4096, k1_16 = 2048;
constexpr int16_t kGray[8] = {0, 1, 3, 2, 6, 4, 5, 7};

}  // namespace

void ownCorHX(const int16_t* h, const int16_t* x, int16_t* dn, int sf, int nbTrack, int step) {
    // y32[i] = sum_j L_mac(x[j], h[j - i]): exact sums (core kernel) when Cauchy-Schwarz keeps every
    // partial sum inside 32 bits (4 Ex Eh below (2^31 - 1)^2), else the saturating operators.
    int32_t y32[kL], tot = 5;
    const auto& g = generic::ownGenericKernels();
    if (generic::ownFits32(4 * g.energy(x, kL), g.energy(h, kL))) {
        int64_t c[kL];
        g.xcorrTrunc(h, x, kL, kL, c);
        for (int i = 0; i < kL; ++i) y32[i] = static_cast<int32_t>(2 * c[i]);
    } else {
        for (int i = 0; i < kL; ++i) {
            int32_t s = 0;
            for (int j = i; j < kL; ++j) s = L_mac(s, x[j], h[j - i]);
            y32[i] = s;
        }
    }
    for (int k = 0; k < nbTrack; ++k) {
        int32_t mx = 0;
        for (int i = k; i < kL; i += step) mx = std::max(mx, L_abs(y32[i]));
        tot = L_add(tot, L_shr(mx, 1));
    }
    const int16_t j = sub(norm_l(tot), static_cast<int16_t>(sf));
    for (int i = 0; i < kL; ++i) dn[i] = round_fx(L_shl(y32[i], j));
}

void ownSetSign(int16_t* dn, int16_t* sign, int16_t* dn2, int n) {
    for (int i = 0; i < kL; ++i) {
        int16_t v = dn[i];
        if (v >= 0) {
            sign[i] = 32767;
        } else {
            sign[i] = -32767;
            v = negate(v);
        }
        dn[i] = dn2[i] = v;
    }
    // Per track, all but the n largest magnitudes are marked -1 (excluded as first pulses). When
    // no candidate is below 32767 the position found last is marked again, as the reference does.
    int pos = 0;
    for (int t = 0; t < 5; ++t) {
        for (int k = 0; k < 8 - n; ++k) {
            int16_t mn = 0x7fff;
            for (int j = t; j < kL; j += 5)
                if (dn2[j] >= 0 && dn2[j] < mn) mn = dn2[j], pos = j;
            dn2[pos] = -1;
        }
    }
}

void ownCorH(const int16_t* h, const int16_t* sign, int16_t (*rr)[kL]) {
    int16_t h2[kL];
    // The energy's terms are never negative, so the saturating sum is the exact one capped.
    const auto& g = generic::ownGenericKernels();
    int32_t s = static_cast<int32_t>(std::min<int64_t>(2 + 2 * g.energy(h, kL), MAX_32));
    if (sub(extract_h(s), 32767) == 0) {
        for (int i = 0; i < kL; ++i) h2[i] = shr(h[i], 1);
    } else {
        // Scale the response to unit energy (0.99 of it), in Q9. k is not negative, so
        // round_fx(L_shl(L_mult(h, k), 9)) is the 64-bit product clamped twice.
        const int16_t k = mult(extract_h(L_shl(g729::ownInvSqrt_G729(L_shr(s, 1)), 7)), 32440);
        for (int i = 0; i < kL; ++i) {
            const int64_t v = std::clamp<int64_t>(int64_t(h[i]) * k * 1024, MIN_32, MAX_32);
            h2[i] = static_cast<int16_t>(std::min<int64_t>((v + 0x8000) >> 16, MAX_16));
        }
    }
    // When 2 sum h2^2 fits in 32 bits no partial sum below can saturate (each is bounded by that
    // energy), so plain integer sums are the reference's.
    const int64_t e2 = g.energy(h2, kL);
    if (2 * e2 + 0x8000 <= MAX_32) {
        ownGsmAmrKernels().corH(h2, sign, rr);
        return;
    }
    s = 0;
    for (int k = 0, i = kL - 1; k < kL; ++k, --i) {
        s = L_mac(s, h2[k], h2[k]);
        rr[i][i] = round_fx(s);
    }
    for (int dec = 1; dec < kL; ++dec) {
        s = 0;
        for (int k = 0, j = kL - 1, i = kL - 1 - dec; k < kL - dec; ++k, --i, --j) {
            s = L_mac(s, h2[k], h2[k + dec]);
            rr[j][i] = rr[i][j] = mult(round_fx(s), mult(sign[i], sign[j]));
        }
    }
}

namespace {

/// One step of the depth-first search: the best position from `start` (stride 5) for the next
/// pulse given the partial sum ps0 and energy alp0 (Q of the step), maximising ps^2 / alp.
/// rrs lists the matrix rows of the pulses already placed and their weights.
struct Best {
    int16_t sq = -1, alp = 1, ps = 0;
    int ix;
};
template <int N>
Best ownNextPulse(const int16_t* dn, const int16_t (*rr)[kL], int start, int16_t ps0, int32_t alp0,
                  int16_t diagW, const int (&prev)[N], int16_t crossW) {
    Best b;
    b.ix = start;
    // Plain integers give the operators' results while no sum can leave 32 bits (every matrix
    // entry is at most 32767 in magnitude) and no pulse sum can pass 32767 (dn holds magnitudes).
    int32_t md = 0;
    for (int i = start; i < kL; i += 5) md = std::max(md, int32_t(dn[i]));
    const int64_t bound = std::abs(int64_t(alp0)) + 2 * 32767 * (int64_t(diagW) + int64_t(N) * crossW) + 0x8000;
    if (ps0 >= 0 && ps0 + md <= 32767 && bound <= MAX_32) {
        for (int i = start; i < kL; i += 5) {
            const int32_t ps1 = ps0 + dn[i];
            int32_t a = alp0 + 2 * rr[i][i] * diagW;
            for (int p = N - 1; p >= 0; --p) a += 2 * rr[prev[p]][i] * crossW;
            const int32_t sq1 = (ps1 * ps1) >> 15, alp16 = (a + 0x8000) >> 16;
            if (2 * int64_t(b.alp) * sq1 - 2 * int64_t(b.sq) * alp16 > 0) {
                b.sq = static_cast<int16_t>(sq1), b.ps = static_cast<int16_t>(ps1);
                b.alp = static_cast<int16_t>(alp16), b.ix = i;
            }
        }
        return b;
    }
    for (int i = start; i < kL; i += 5) {
        const int16_t ps1 = add(ps0, dn[i]);
        int32_t a = L_mac(alp0, rr[i][i], diagW);
        for (int p = N - 1; p >= 0; --p) a = L_mac(a, rr[prev[p]][i], crossW);
        const int16_t sq1 = mult(ps1, ps1);
        const int16_t alp16 = round_fx(a);
        if (L_msu(L_mult(b.alp, sq1), b.sq, alp16) > 0) b.sq = sq1, b.ps = ps1, b.alp = alp16, b.ix = i;
    }
    return b;
}

/// Keeps (sq, alp) when sq / alp beats the best so far.
bool ownBetter(int16_t sq, int16_t alp, int16_t& psk, int16_t& alpk) {
    if (L_msu(L_mult(alpk, sq), psk, alp) > 0) {
        psk = sq, alpk = alp;
        return true;
    }
    return false;
}

/// Two pulses: every first-pulse track / second-pulse track pair given.
void ownSearch2(const int16_t* dn, const int16_t (*rr)[kL], const int (*pairs)[2], int nPairs, int* codvec) {
    int16_t psk = -1, alpk = 1;
    codvec[0] = 0, codvec[1] = 1;
    for (int p = 0; p < nPairs; ++p) {
        for (int i0 = pairs[p][0]; i0 < kL; i0 += 5) {
            const int prev[1] = {i0};
            const Best b = ownNextPulse<1>(dn, rr, pairs[p][1], dn[i0], L_mult(rr[i0][i0], k1_4), k1_4, prev, k1_2);
            if (ownBetter(b.sq, b.alp, psk, alpk)) codvec[0] = i0, codvec[1] = b.ix;
        }
    }
}

/// Three or four pulses (c3_14pf / c4_17pf): for each start-track set, each rotation of the tracks;
/// the first pulse only among the positions set_sign kept, the others depth-first.
template <int NP>
void ownSearchDeep(const int16_t* dn, const int16_t* dn2, const int16_t (*rr)[kL], const int (*sets)[NP], int nSets,
                   int* codvec) {
    int16_t psk = -1, alpk = 1;
    for (int i = 0; i < NP; ++i) codvec[i] = i;
    for (int s = 0; s < nSets; ++s) {
        int ipos[NP];
        std::copy(sets[s], sets[s] + NP, ipos);
        for (int rot = 0; rot < NP; ++rot) {
            for (int i0 = ipos[0]; i0 < kL; i0 += 5) {
                if (dn2[i0] < 0) continue;
                const int p0[1] = {i0};
                const Best b1 = ownNextPulse<1>(dn, rr, ipos[1], dn[i0], L_mult(rr[i0][i0], k1_4), k1_4, p0, k1_2);
                const int p1[2] = {i0, b1.ix};
                const Best b2 = ownNextPulse<2>(dn, rr, ipos[2], b1.ps, L_mult(b1.alp, k1_4), k1_16, p1, k1_8);
                Best last = b2;
                int pos[4] = {i0, b1.ix, b2.ix, 0};
                if constexpr (NP == 4) {
                    const int p2[3] = {i0, b1.ix, b2.ix};
                    last = ownNextPulse<3>(dn, rr, ipos[3], b2.ps, L_deposit_h(b2.alp), k1_16, p2, k1_8);
                    pos[3] = last.ix;
                }
                if (ownBetter(last.sq, last.alp, psk, alpk)) std::copy(pos, pos + NP, codvec);
            }
            // Rotate the start tracks: the last becomes the first.
            const int t = ipos[NP - 1];
            for (int k = NP - 1; k > 0; --k) ipos[k] = ipos[k - 1];
            ipos[0] = t;
        }
    }
}

/// Filtered code: the sum of the pulses' shifted responses (h read as zero before its start),
/// rounded. When 2 max|h| sum|sgn| + 0x8000 fits in 32 bits no operator can saturate and the
/// sums are plain.
void ownFilteredCode(const int* codvec, const int16_t* sgn, int np, const int16_t* h, int16_t* y) {
    int64_t w = 0;
    for (int k = 0; k < np; ++k) w += std::abs(int32_t(sgn[k]));
    // The core's vector kernel counts -32768 as 32767, hence the one added.
    if (2 * (int64_t(generic::ownGenericKernels().maxAbs(h, kL)) + 1) * w + 0x8000 <= MAX_32) {
        int32_t y32[kL] = {};
        for (int k = 0; k < np; ++k) {
            const int c = codvec[k];
            const int32_t g = 2 * sgn[k];
            for (int i = c; i < kL; ++i) y32[i] += g * h[i - c];
        }
        for (int i = 0; i < kL; ++i) y[i] = static_cast<int16_t>((y32[i] + 0x8000) >> 16);
        return;
    }
    for (int i = 0; i < kL; ++i) {
        int32_t s = 0;
        for (int k = 0; k < np; ++k) s = L_mac(s, i >= codvec[k] ? h[i - codvec[k]] : int16_t{0}, sgn[k]);
        y[i] = round_fx(s);
    }
}

/// Code vector (pulses of +8191 / -8192), filtered code (the sum of signed shifted responses, h
/// read as zero before its start), and the sign word (bit t set for a positive pulse on index
/// track t); each mode's position coding gives the pulse's index field and sign track.
template <class Code>
int16_t ownBuildCode(const int* codvec, int np, const int16_t* sign, const int16_t* h, int16_t* cod, int16_t* y,
                     int16_t* signWord, Code code) {
    std::fill(cod, cod + kL, int16_t{0});
    int16_t indx = 0, rsign = 0, sgn[4];
    for (int k = 0; k < np; ++k) {
        const int i = codvec[k];
        int16_t index = mult(static_cast<int16_t>(i), 6554);  // position / 5
        int track = i - 5 * index;
        code(k, track, index);
        if (sign[i] > 0) {
            cod[i] = 8191, sgn[k] = 32767;
            rsign = add(rsign, static_cast<int16_t>(1 << track));
        } else {
            cod[i] = -8192, sgn[k] = -32768;
        }
        indx = add(indx, index);
    }
    ownFilteredCode(codvec, sgn, np, h, y);
    *signWord = rsign;
    return indx;
}

}  // namespace

void ownSearchLowRate(int row, int subFrame, const int16_t* x, const int16_t* h, int16_t* code, int16_t* y,
                      int16_t* idx) {
    int16_t dn[kL], dn2[kL], sign[kL], rr[kL][kL];
    ownCorHX(h, x, dn, 1, 5, 5);
    const int np = row <= 2 ? 2 : row == 3 ? 3 : 4;
    ownSetSign(dn, sign, dn2, np == 2 ? 8 : np == 3 ? 6 : 4);
    ownCorH(h, sign, rr);
    int codvec[4];
    if (row <= 1) {
        // 4.75 / 5.15: track pairs depending on the subframe.
        constexpr int kStart[16] = {0, 2, 0, 3, 0, 2, 0, 3, 1, 3, 2, 4, 1, 4, 1, 4};
        const int pairs[2][2] = {{kStart[subFrame * 2], kStart[subFrame * 2 + 1]},
                                 {kStart[subFrame * 2 + 8], kStart[subFrame * 2 + 9]}};
        ownSearch2(dn, rr, pairs, 2, codvec);
        constexpr int8_t kTrackTable[20] = {0, 1, 0, 1, -1, 0, -1, 1, 0, 1, 0, 1, 0, -1, 1, 0, 1, -1, 0, 1};
        const int8_t* pt = kTrackTable + 5 * subFrame;
        idx[0] = ownBuildCode(codvec, 2, sign, h, code, y, &idx[1], [pt](int k, int& track, int16_t& index) {
            const bool msb = pt[track] != 0;
            if (k == 0) track = 0, index = msb ? add(index, 64) : index;
            else track = 1, index = shl(index, 3);
        });
    } else if (row == 2) {
        // 5.9: first pulse on tracks 1 or 3, second on 0, 1, 2 or 4.
        const int pairs[8][2] = {{1, 0}, {1, 1}, {1, 2}, {1, 4}, {3, 0}, {3, 1}, {3, 2}, {3, 4}};
        ownSearch2(dn, rr, pairs, 8, codvec);
        idx[0] = ownBuildCode(codvec, 2, sign, h, code, y, &idx[1], [](int k, int& track, int16_t& index) {
            switch (track) {
                case 0: track = 1, index = shl(index, 6); break;
                case 1:
                    if (k == 0) track = 0, index = shl(index, 1);
                    else track = 1, index = add(shl(index, 6), 16);
                    break;
                case 2: track = 1, index = add(shl(index, 6), 32); break;
                case 3: track = 0, index = add(shl(index, 1), 1); break;
                default: track = 1, index = add(shl(index, 6), 48); break;
            }
        });
    } else if (row == 3) {
        // 6.7: pulses on track 0, track 1 or 3, track 2 or 4.
        const int sets[4][3] = {{0, 1, 2}, {0, 1, 4}, {0, 3, 2}, {0, 3, 4}};
        ownSearchDeep<3>(dn, dn2, rr, sets, 4, codvec);
        idx[0] = ownBuildCode(codvec, 3, sign, h, code, y, &idx[1], [](int, int& track, int16_t& index) {
            switch (track) {
                case 0: break;
                case 1: index = shl(index, 4); break;
                case 2: track = 2, index = shl(index, 8); break;
                case 3: track = 1, index = add(shl(index, 4), 8); break;
                default: track = 2, index = add(shl(index, 8), 128); break;
            }
        });
    } else {
        // 7.4 / 7.95: pulses on tracks 0, 1, 2 and 3 or 4; Gray-coded positions.
        const int sets[2][4] = {{0, 1, 2, 3}, {0, 1, 2, 4}};
        ownSearchDeep<4>(dn, dn2, rr, sets, 2, codvec);
        idx[0] = ownBuildCode(codvec, 4, sign, h, code, y, &idx[1], [](int, int& track, int16_t& index) {
            index = kGray[index];
            switch (track) {
                case 0: break;
                case 1: index = shl(index, 3); break;
                case 2: index = shl(index, 6); break;
                case 3: index = shl(index, 10); break;
                default: track = 3, index = add(shl(index, 10), 512); break;
            }
        });
    }
}

namespace {

/// Signs from the normalised sum of the target correlation and the long-term residual; the
/// position of the largest per track; the track order starting with the track of the overall
/// largest (ipos holds it twice over, 2 nbTrack entries).
void ownSetSign12k2(int16_t* dn, const int16_t* cn, int16_t* sign, int16_t* posMax, int nbTrack, int* ipos,
                    int step) {
    int32_t s = 256;
    for (int i = 0; i < kL; ++i) s = L_mac(s, cn[i], cn[i]);
    const int16_t kCn = extract_h(L_shl(g729::ownInvSqrt_G729(s), 5));
    s = 256;
    for (int i = 0; i < kL; ++i) s = L_mac(s, dn[i], dn[i]);
    const int16_t kDn = extract_h(L_shl(g729::ownInvSqrt_G729(s), 5));
    int16_t en[kL];
    for (int i = 0; i < kL; ++i) {
        int16_t val = dn[i];
        int16_t cor = round_fx(L_shl(L_mac(L_mult(kCn, cn[i]), kDn, val), 10));
        if (cor >= 0) {
            sign[i] = 32767;
        } else {
            sign[i] = -32767;
            cor = negate(cor);
            val = negate(val);
        }
        dn[i] = val;
        en[i] = cor;
    }
    int16_t maxAll = -1;
    int pos = 0;
    ipos[0] = 0;
    for (int t = 0; t < nbTrack; ++t) {
        int16_t mx = -1;
        for (int j = t; j < kL; j += step)
            if (sub(en[j], mx) > 0) mx = en[j], pos = j;
        posMax[t] = static_cast<int16_t>(pos);
        if (sub(mx, maxAll) > 0) maxAll = mx, ipos[0] = t;
    }
    pos = ipos[0];
    ipos[nbTrack] = pos;
    for (int i = 1; i < nbTrack; ++i) {
        if (++pos >= nbTrack) pos = 0;
        ipos[i] = ipos[i + nbTrack] = pos;
    }
}

/// Bounds of the diagonal and off-diagonal magnitudes of the correlation matrix.
struct OwnRrBound {
    int32_t diag = 0, off = 0;
};
OwnRrBound ownRrBound(const int16_t (*rr)[kL]) {
    OwnRrBound b;
    // The whole matrix's largest magnitude stands for the off-diagonal one (the core's vector
    // kernel counts -32768 as 32767, so the bound adds one).
    b.off = generic::ownGenericKernels().maxAbs(&rr[0][0], kL * kL) + 1;
    for (int i = 0; i < kL; ++i) b.diag = std::max(b.diag, std::abs(int32_t(rr[i][i])));
    return b;
}

/// The 8- and 10-pulse search (search_10and8i40): pulses 0 and 1 at the track maxima, then pairs
/// of pulses searched jointly, level by level, for each of the nbTracks - 1 rotations of the
/// track order.
void ownSearch10and8(int nbPulse, int step, int nbTracks, const int16_t* dn, const int16_t (*rr)[kL], int* ipos,
                     const int16_t* posMax, int* codvec) {
    // Per pair level: weights of the second pulse's precomputed row (diagonal, cross), of the first
    // pulse (diagonal, cross), and of the pair terms (row, mutual).
    constexpr int16_t kW[4][6] = {{4096, 8192, 2048, 4096, 16384, 4096},
                                  {4096, 8192, 1024, 2048, 8192, 2048},
                                  {2048, 4096, 512, 1024, 8192, 1024},
                                  {2048, 4096, 256, 512, 4096, 512}};
    const int levels = nbPulse / 2 - 1;
    const OwnRrBound bound = ownRrBound(rr);
    int16_t psk = -1, alpk = 1;
    for (int i = 0; i < nbPulse; ++i) codvec[i] = i;
    const int i0 = posMax[ipos[0]];
    for (int rot = 1; rot < nbTracks; ++rot) {
        int pulse[10];
        pulse[0] = i0;
        pulse[1] = posMax[ipos[1]];
        int16_t ps = add(dn[pulse[0]], dn[pulse[1]]);
        int32_t alp0 = L_mult(rr[pulse[0]][pulse[0]], 2048);
        alp0 = L_mac(alp0, rr[pulse[1]][pulse[1]], 2048);
        alp0 = L_mac(alp0, rr[pulse[0]][pulse[1]], 4096);
        int16_t sq = -1, alp = 1;
        for (int lv = 0; lv < levels; ++lv) {
            const int16_t* w = kW[lv];
            const int np = 2 * (lv + 1), a0 = ipos[np], b0 = ipos[np + 1];
            if (lv > 0) alp0 = L_mult(alp, 16384);
            // While every sum below stays inside 32 bits (bounded from the largest diagonal and
            // off-diagonal entries, the precomputed row and the carried energy) and no pulse sum
            // can pass 32767 (the correlations are magnitudes), plain integers give the
            // operators' results.
            int16_t rrv[kL];
            const bool rrvPlain = 2 * (int64_t(bound.diag) * w[0] + int64_t(np) * bound.off * w[1]) + 0x8000 <= MAX_32;
            int32_t v = 0;
            for (int ib = b0; ib < kL; ib += step) {
                if (rrvPlain) {
                    int32_t t = 2 * rr[ib][ib] * w[0];
                    for (int p = 0; p < np; ++p) t += 2 * rr[pulse[p]][ib] * w[1];
                    rrv[ib] = static_cast<int16_t>((t + 0x8000) >> 16);
                } else {
                    int32_t t = L_mult(rr[ib][ib], w[0]);
                    for (int p = 0; p < np; ++p) t = L_mac(t, rr[pulse[p]][ib], w[1]);
                    rrv[ib] = round_fx(t);
                }
                v = std::max(v, std::abs(int32_t(rrv[ib])));
            }
            const int64_t alpBound = std::abs(int64_t(alp0)) + 2 * (int64_t(bound.diag) * w[2] + int64_t(np) * bound.off * w[3]) +
                                     2 * (int64_t(v) * w[4] + int64_t(bound.off) * w[5]) + 0x8000;
            const int16_t ps0 = ps;
            sq = -1, alp = 1, ps = 0;
            int ia = a0, ibBest = b0;
            int32_t ma = 0, mb = 0;
            for (int a = a0; a < kL; a += step) ma = std::max(ma, int32_t(dn[a]));
            for (int b = b0; b < kL; b += step) mb = std::max(mb, int32_t(dn[b]));
            if (ps0 >= 0 && ps0 + ma + mb <= 32767 && alpBound <= MAX_32) {
                // The candidates in compact rows for the pair kernel.
                int32_t psA[16], alpA[16], dnB[16] = {}, rvB[16] = {};
                int16_t rAB[16][16] = {};
                int na = 0, nb = 0;
                for (int b = b0; b < kL; b += step, ++nb) dnB[nb] = dn[b], rvB[nb] = 2 * rrv[b] * w[4];
                for (int a = a0; a < kL; a += step, ++na) {
                    psA[na] = ps0 + dn[a];
                    int32_t alp1 = alp0 + 2 * rr[a][a] * w[2];
                    for (int p = 0; p < np; ++p) alp1 += 2 * rr[pulse[p]][a] * w[3];
                    alpA[na] = alp1;
                    for (int b = b0, m = 0; b < kL; b += step, ++m) rAB[na][m] = rr[a][b];
                }
                const OwnPairBest best = ownGsmAmrKernels().pairSearch(na, nb, psA, alpA, dnB, rvB, rAB, 2 * w[5]);
                sq = best.sq, alp = best.alp, ps = best.ps;
                ia = a0 + step * best.a, ibBest = b0 + step * best.b;
                pulse[np] = ia, pulse[np + 1] = ibBest;
                continue;
            }
            for (int a = a0; a < kL; a += step) {
                const int16_t ps1 = add(ps0, dn[a]);
                int32_t alp1 = L_mac(alp0, rr[a][a], w[2]);
                for (int p = 0; p < np; ++p) alp1 = L_mac(alp1, rr[pulse[p]][a], w[3]);
                for (int b = b0; b < kL; b += step) {
                    const int16_t ps2 = add(ps1, dn[b]);
                    int32_t alp2 = L_mac(alp1, rrv[b], w[4]);
                    alp2 = L_mac(alp2, rr[a][b], w[5]);
                    const int16_t sq2 = mult(ps2, ps2), alp16 = round_fx(alp2);
                    if (L_msu(L_mult(alp, sq2), sq, alp16) > 0) sq = sq2, ps = ps2, alp = alp16, ia = a, ibBest = b;
                }
            }
            pulse[np] = ia, pulse[np + 1] = ibBest;
        }
        if (ownBetter(sq, alp, psk, alpk)) std::copy(pulse, pulse + nbPulse, codvec);
        // Rotate the track order of pulses 1.. nbPulse - 1.
        const int pos = ipos[1];
        for (int j = 1; j < nbPulse - 1; ++j) ipos[j] = ipos[j + 1];
        ipos[nbPulse - 1] = pos;
    }
}

/// Three positions (each 0..9 with a sign-order bit) packed as in compress10.
int16_t ownCompress10(int16_t a, int16_t b, int16_t c) {
    int16_t indx = shl(add(shr(a, 1), add(static_cast<int16_t>(5 * shr(b, 1)), static_cast<int16_t>(25 * shr(c, 1)))), 3);
    return add(indx, static_cast<int16_t>((a & 1) + ((b & 1) << 1) + ((c & 1) << 2)));
}

}  // namespace

void ownSearch102(const int16_t* x, const int16_t* cn, const int16_t* h, int16_t* cod, int16_t* y, int16_t* idx) {
    int16_t dn[kL], sign[kL], posMax[4], rr[kL][kL];
    int ipos[8], codvec[8];
    ownCorHX(h, x, dn, 2, 4, 4);
    ownSetSign12k2(dn, cn, sign, posMax, 4, ipos, 4);
    ownCorH(h, sign, rr);
    ownSearch10and8(8, 4, 4, dn, rr, ipos, posMax, codvec);
    // Two pulses per track (position / 4): the track's sign, and the positions ordered so that the
    // order tells the second pulse's sign.
    std::fill(cod, cod + kL, int16_t{0});
    int16_t pos[8], sgnIdx[4], sgn[8];
    std::fill(pos, pos + 8, int16_t{-1});
    std::fill(sgnIdx, sgnIdx + 4, int16_t{-1});
    for (int k = 0; k < 8; ++k) {
        const int i = codvec[k];
        const int16_t p = static_cast<int16_t>(i >> 2);
        const int t = i & 3;
        int16_t si;
        if (sign[i] > 0) cod[i] = add(cod[i], 8191), sgn[k] = 32767, si = 0;
        else cod[i] = sub(cod[i], 8191), sgn[k] = -32768, si = 1;
        if (pos[t] < 0) {
            pos[t] = p, sgnIdx[t] = si;
        } else if (((si ^ sgnIdx[t]) & 1) == 0) {
            if (pos[t] <= p) pos[t + 4] = p;
            else pos[t + 4] = pos[t], pos[t] = p, sgnIdx[t] = si;
        } else {
            if (pos[t] <= p) pos[t + 4] = pos[t], pos[t] = p, sgnIdx[t] = si;
            else pos[t + 4] = p;
        }
    }
    ownFilteredCode(codvec, sgn, 8, h, y);
    std::copy(sgnIdx, sgnIdx + 4, idx);
    idx[4] = ownCompress10(pos[0], pos[4], pos[1]);
    idx[5] = ownCompress10(pos[2], pos[6], pos[5]);
    const int16_t ib = static_cast<int16_t>(shr(pos[7], 1) & 1);
    const int16_t ia = ib == 1 ? sub(4, shr(pos[3], 1)) : shr(pos[3], 1);
    const int16_t t = add(shl(add(ia, static_cast<int16_t>(5 * shr(pos[7], 1))), 5), 12);
    idx[6] = add(static_cast<int16_t>((pos[3] & 1) + ((pos[7] & 1) << 1)), shl(mult(t, 1311), 2));
}

void ownSearch122(const int16_t* x, const int16_t* cn, const int16_t* h, int16_t* cod, int16_t* y, int16_t* idx) {
    int16_t dn[kL], sign[kL], posMax[5], rr[kL][kL];
    int ipos[10], codvec[10];
    ownCorHX(h, x, dn, 2, 5, 5);
    ownSetSign12k2(dn, cn, sign, posMax, 5, ipos, 5);
    ownCorH(h, sign, rr);
    ownSearch10and8(10, 5, 5, dn, rr, ipos, posMax, codvec);
    // Two pulses of +-4096 per track (position / 5, bit 3 the sign); the order of the pair carries
    // the second sign; positions Gray-coded.
    std::fill(cod, cod + kL, int16_t{0});
    int16_t ind[10], sgn[10];
    std::fill(ind, ind + 5, int16_t{-1});
    for (int k = 0; k < 10; ++k) {
        const int i = codvec[k];
        int16_t index = mult(static_cast<int16_t>(i), 6554);
        const int t = i - 5 * index;
        if (sign[i] > 0) {
            cod[i] = add(cod[i], 4096), sgn[k] = 8192;
        } else {
            cod[i] = sub(cod[i], 4096), sgn[k] = -8192;
            index = add(index, 8);
        }
        if (ind[t] < 0) {
            ind[t] = index;
        } else if (((index ^ ind[t]) & 8) == 0) {
            if (ind[t] <= index) ind[t + 5] = index;
            else ind[t + 5] = ind[t], ind[t] = index;
        } else {
            if ((ind[t] & 7) <= (index & 7)) ind[t + 5] = ind[t], ind[t] = index;
            else ind[t + 5] = index;
        }
    }
    ownFilteredCode(codvec, sgn, 10, h, y);
    for (int i = 0; i < 10; ++i)
        idx[i] = static_cast<int16_t>(i < 5 ? (ind[i] & 8) | kGray[ind[i] & 7] : kGray[ind[i] & 7]);
}

}  // namespace xvo::gsmamr

using namespace xvo;

XVOSC_API XvoStatus xvosAlgebraicCodebookSearch_GSMAMR_16s(Xvo16s valIntPitchLag, Xvo16s valShrapGain,
                                                          const Xvo16s* pSrcFixedTarget, const Xvo16s* pSrcLtpResidual,
                                                          Xvo16s* pSrcDstImpulseResponse, Xvo16s* pDstFixedVector,
                                                          Xvo16s* pDstFltFixedVector, Xvo16s* pDstEncPosSign,
                                                          Xvo16s subFrame, XvoSpeechRate mode) {
    using namespace fx;
    XVO_CHECK(ownCheckPtrs(pSrcFixedTarget, pSrcDstImpulseResponse, pDstFixedVector, pDstFltFixedVector,
                           pDstEncPosSign));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsRange);
    XVO_RETURN_IF(valIntPitchLag < 17 || valIntPitchLag > 144, xvoStsRange);
    const int row = ownGsmAmrRow(mode, true);
    XVO_RETURN_IF(row < 0, xvoStsRange);
    XVO_RETURN_IF(row >= 6 && pSrcLtpResidual == nullptr, xvoStsNullPtr);
    const int lag = valIntPitchLag;
    int16_t code[40], y[40], idx[10];
    if (row < 6) {
        // The lower rates sharpen a copy of h with the doubled gain (saturating), search on it and
        // sharpen the code vector the same way; the caller's h is left as it was.
        const int16_t sharp = shl(valShrapGain, 1);
        int16_t h[40];
        std::copy(pSrcDstImpulseResponse, pSrcDstImpulseResponse + 40, h);
        for (int i = lag; i < 40; ++i) h[i] = add(h[i], mult(h[i - lag], sharp));
        gsmamr::ownSearchLowRate(row, subFrame, pSrcFixedTarget, h, code, y, idx);
        for (int i = lag; i < 40; ++i) code[i] = add(code[i], mult(code[i - lag], sharp));
        std::copy(idx, idx + 2, pDstEncPosSign);
    } else {
        // 10.2 doubles the gain as a plain 16-bit value, 12.2 with saturation; both sharpen the
        // caller's h and the code vector with the generic harmonic filter.
        const int16_t gain = row == 6 ? wrap16(2 * int32_t(valShrapGain)) : shl(valShrapGain, 1);
        int16_t* h = pSrcDstImpulseResponse;
        if (lag < 40) xvosHarmonicFilter_16s_I(gain, lag, h + lag, 40 - lag);
        if (row == 6) gsmamr::ownSearch102(pSrcFixedTarget, pSrcLtpResidual, h, code, y, idx);
        else gsmamr::ownSearch122(pSrcFixedTarget, pSrcLtpResidual, h, code, y, idx);
        if (lag < 40) xvosHarmonicFilter_16s_I(gain, lag, code + lag, 40 - lag);
        std::copy(idx, idx + (row == 6 ? 7 : 10), pDstEncPosSign);
    }
    std::copy(code, code + 40, pDstFixedVector);
    std::copy(y, y + 40, pDstFltFixedVector);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAlgebraicCodebookSearchEX_GSMAMR_16s(Xvo16s valIntPitchLag, Xvo16s valShrapGain,
                                                            const Xvo16s* pSrcFixedTarget,
                                                            const Xvo16s* pSrcLtpResidual,
                                                            Xvo16s* pSrcDstImpulseResponse, Xvo16s* pDstFixedVector,
                                                            Xvo16s* pDstFltFixedVector, Xvo16s* pDstEncPosSign,
                                                            Xvo16s subFrame, XvoSpeechRate mode, Xvo8u* pBuffer) {
    XVO_CHECK(ownCheckPtrs(pBuffer));
    return xvosAlgebraicCodebookSearch_GSMAMR_16s(valIntPitchLag, valShrapGain, pSrcFixedTarget, pSrcLtpResidual,
                                                  pSrcDstImpulseResponse, pDstFixedVector, pDstFltFixedVector,
                                                  pDstEncPosSign, subFrame, mode);
}
