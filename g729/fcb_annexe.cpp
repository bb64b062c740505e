// G.729 Annex E algebraic codebook search of the forward-adaptive mode at
// 11.8 kbit/s (E.3.8, the reference ACELP_10i40_35bits): 10 signed pulses,
// two on each of the 5 tracks, found by a depth-first search of 4 stages of
// pulse pairs from 3 starting track pairs. The search computes its own
// correlations (the backward-filtered target and the sign-folded pair
// correlations of adjacent tracks), so it takes the target, the LTP
// residual and the impulse response.
#include <cmath>

#include "core/check.h"
#include "core/fixed.h"
#include "g729/fcb.h"
#include "g729/gain.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int kTracks = 5, kMsize = 64;
constexpr int kIpos[16] = {0, 1, 2, 3, 4, 0, 1, 2, 3, 4, 0, 1, 2, 3, 4, 0};

/// Backward-filtered target, scaled so that twice the sum of the track
/// maxima does not saturate (cor_h_x_e).
void corrTarget(const int16_t* h, const int16_t* x, int16_t* dn) {
    int32_t y32[kSubfr], tot = 5;
    for (int k = 0; k < kTracks; ++k) {
        int32_t mx = 0;
        for (int i = k; i < kSubfr; i += 5) {
            int32_t s = 0;
            for (int j = i; j < kSubfr; ++j) s = L_mac(s, x[j], h[j - i]);
            y32[i] = s;
            if (L_sub(L_abs(s), mx) > 0) mx = L_abs(s);
        }
        tot = L_add(tot, L_shr(mx, 1));
    }
    const int16_t j = sub(norm_l(tot), 2);
    for (int i = 0; i < kSubfr; ++i) dn[i] = round_fx(L_shl(y32[i], j));
}

/// Pulse signs from cn and dn weighted by their inverse norms; |dn| with the
/// sign folded in; the position of the largest weighted value per track.
void setSign(const int16_t* cn, int16_t* dn, int16_t* sign, int16_t* invSign, int* posMax, int32_t* corr) {
    auto invNorm = [](const int16_t* v) {
        int32_t s = 0;
        for (int i = 0; i < kSubfr; ++i) s = L_mac(s, v[i], v[i]);
        if (s < 512) s = 512;
        return extract_h(L_shl(ownInvSqrt_G729(s), 5));
    };
    const int16_t kCn = mult(invNorm(cn), 32767), kDn = invNorm(dn);
    for (int k = 0; k < kTracks; ++k) {
        int32_t mx = -1;
        int pos = k;
        for (int i = k; i < kSubfr; i += 5) {
            int16_t val = dn[i];
            int32_t s = L_mac(L_mult(kCn, cn[i]), kDn, val);
            if (s >= 0) {
                sign[i] = 32767, invSign[i] = -32768;
            } else {
                sign[i] = -32768, invSign[i] = 32767;
                val = negate(val);
            }
            dn[i] = val;
            s = L_abs(s);
            if (s > mx) mx = s, pos = i;
        }
        posMax[k] = pos;
        corr[k] = mx;
    }
}

/// Scaled impulse response (energy about 1/8) and the correlations of the
/// search: rrixix[t][m] is half the energy of h from position 5m+t,
/// rrixiy[t][m*8+n] the correlation of positions 5m+t and 5n+(t+1)%5,
/// sign-folded (cor_h_e).
void corrMatrix(const int16_t* H, const int16_t* sign, const int16_t* invSign, int16_t* h,
                int16_t (*rrixix)[kNbPos], int16_t (*rrixiy)[kMsize]) {
    int32_t cor = 0;
    for (int i = 0; i < kSubfr; ++i) cor = L_mac(cor, H[i], H[i]);
    int16_t k = shr(norm_l(cor), 1);
    for (int i = 0; i < kSubfr; ++i) h[i] = shl(H[i], k);
    cor = L_shl(cor, add(k, k));
    k = extract_h(L_shl(ownInvSqrt_G729(L_shr(cor, 12)), 8));
    for (int i = 0; i < kSubfr; ++i) h[i] = mult(h[i], k);

    // Energies, accumulated from the end of the subframe with a rounding 1.0.
    cor = 0x00010000;
    for (int i = 0; i < kSubfr; ++i) {
        cor = L_mac(cor, h[i], h[i]);
        const int pos = kSubfr - 1 - i;  // position whose energy this prefix is
        rrixix[pos % 5][pos / 5] = extract_h(cor);
    }
    for (int t = 0; t < kTracks; ++t)
        for (int m = 0; m < kNbPos; ++m) rrixix[t][m] = shr(rrixix[t][m], 1);

    // Pair correlations: entry (p, q) = sum over k <= 39 - max(p, q) of
    // h[k] h[k + |p - q|], with a rounding 0.5, accumulated per lag.
    int32_t pre[kSubfr][kSubfr + 1];
    for (int lag = 1; lag < kSubfr; ++lag) {
        int32_t c = 0x00008000;
        for (int n = 0; n + lag < kSubfr; ++n) {
            c = L_mac(c, h[n], h[n + lag]);
            pre[lag][n + 1] = c;
        }
    }
    for (int t = 0; t < kTracks; ++t) {
        const int u = (t + 1) % kTracks;
        for (int m = 0; m < kNbPos; ++m) {
            const int p = 5 * m + t;
            const int16_t* ps = sign[p] < 0 ? invSign : sign;
            for (int n = 0; n < kNbPos; ++n) {
                const int q = 5 * n + u;
                const int lag = p > q ? p - q : q - p;
                const int16_t v = extract_h(pre[lag][kSubfr - (p > q ? p : q)]);
                rrixiy[t][m * kNbPos + n] = mult(v, ps[q]);
            }
        }
    }
}

/// Correlation of the pulses of one track with the fixed pulses (vec),
/// sign-folded, plus the pulse energies (cor_h_vec).
void corrVec(const int16_t* h, const int16_t* vec, int track, const int16_t* sign, const int16_t (*rrixix)[kNbPos],
             int16_t* cor) {
    for (int i = 0, pos = track; i < kNbPos; ++i, pos += 5) {
        int32_t s = 0;
        for (int j = pos; j < kSubfr; ++j) s = L_mac(s, h[j - pos], vec[j]);
        cor[i] = add(mult(round_fx(s), sign[pos]), rrixix[track][i]);
    }
}

/// Best pair (x on trackX, y on trackY) added to the fixed pulses (search_ixiy).
void searchPair(int trackX, int trackY, int16_t& ps, int16_t& alp, int& ix, int& iy, const int16_t* dn,
                const int16_t* corX, const int16_t* corY, const int16_t (*rrixiy)[kMsize]) {
    const int16_t* r = rrixiy[trackX];
    int16_t sqk = -1, alpk = 1;
    for (int m = 0, x = trackX; x < kSubfr; ++m, x += 5) {
        const int16_t ps1 = add(ps, dn[x]), alp1 = add(alp, corX[m]);
        int pos = -1;
        for (int n = 0, y = trackY; y < kSubfr; ++n, y += 5) {
            const int16_t ps2 = add(ps1, dn[y]);
            const int16_t alp2 = add(alp1, add(corY[n], r[m * kNbPos + n]));
            const int16_t sq = mult(ps2, ps2);
            if (L_msu(L_mult(alpk, sq), sqk, alp2) > 0) sqk = sq, alpk = alp2, pos = y;
        }
        if (pos >= 0) ix = x, iy = pos;
    }
    ps = add(ps, add(dn[ix], dn[iy]));
    alp = alpk;
}

/// Code vector (Q12), filtered code vector (Q11) and the 5 track indices.
void buildCode(const int* codvec, const int16_t* sign, const int16_t* H, int16_t* code, int16_t* y, int16_t* indx) {
    int16_t h2[kSubfr];
    for (int i = 0; i < kSubfr; ++i) h2[i] = shr(H[i], 1), code[i] = 0, y[i] = 0;
    for (int t = 0; t < kTracks; ++t) indx[t] = -1;
    for (int k = 0; k < 10; ++k) {
        const int p = codvec[k], track = p % 5;
        int16_t index = static_cast<int16_t>(p / 5);
        if (sign[p] > 0) {
            code[p] = add(code[p], 4096);
            for (int i = p; i < kSubfr; ++i) y[i] = add(y[i], h2[i - p]);
        } else {
            code[p] = sub(code[p], 4096);
            index = add(index, 8);
            for (int i = p; i < kSubfr; ++i) y[i] = sub(y[i], h2[i - p]);
        }
        int16_t& ix = indx[track];
        if (ix < 0) {
            ix = index;
        } else if (((index ^ ix) & 8) == 0) {  // equal signs: smaller position first
            ix = ix <= index ? static_cast<int16_t>(add(shl(ix, 4), index) | 256)
                             : static_cast<int16_t>(add(shl(index, 4), ix) | 256);
        } else {  // different signs: the order carries the second sign
            ix = (ix & 7) <= (index & 7) ? static_cast<int16_t>(add(shl(index, 4), ix) | 256)
                                         : static_cast<int16_t>(add(shl(ix, 4), index) | 256);
        }
    }
    for (int t = 0; t < kTracks; ++t) indx[t] = static_cast<int16_t>(indx[t] & 127);
}

void search16(const int16_t* x, const int16_t* cn, const int16_t* H, int16_t* code, int16_t* y, int16_t* indx) {
    int16_t dn[kSubfr], sign[kSubfr], invSign[kSubfr];
    int posMax[kTracks];
    int32_t corr[kTracks];
    corrTarget(H, x, dn);
    setSign(cn, dn, sign, invSign, posMax, corr);
    // h and -h with 40 zeros before them, so that h - pos reads zeros.
    int16_t hBuf[2 * kSubfr] = {}, hInvBuf[2 * kSubfr] = {};
    int16_t* h = hBuf + kSubfr;
    int16_t* hInv = hInvBuf + kSubfr;
    int16_t rrixix[kTracks][kNbPos], rrixiy[kTracks][kMsize];
    corrMatrix(H, sign, invSign, h, rrixix, rrixiy);
    for (int i = 0; i < kSubfr; ++i) hInv[i] = negate(h[i]);

    // Starting pairs: the 3 adjacent track pairs of largest correlation.
    const int32_t c40 = L_add(corr[4], corr[0]);
    for (int k = 0; k < kTracks - 1; ++k) corr[k] = L_add(corr[k], corr[k + 1]);
    corr[4] = c40;
    int itrk[3];
    for (int k = 0; k < 3; ++k) {
        int32_t s = corr[0];
        int track = 0;
        for (int i = 1; i < kTracks; ++i)
            if (L_sub(corr[i], s) > 0) s = corr[i], track = i;
        corr[track] = -1;
        itrk[k] = track;
    }

    int16_t psk = -1, alpk = 1;
    int codvec[10] = {};
    for (int start = 0; start < 3; ++start) {
        const int k = itrk[start];
        int ix = posMax[kIpos[k]], iy = posMax[kIpos[k + 1]];
        int16_t ps = add(dn[ix], dn[iy]);
        const int mi = ix / 5, mj = iy / 5;
        int16_t alp = add(add(rrixix[kIpos[k]][mi], rrixix[kIpos[k + 1]][mj]), rrixiy[kIpos[k]][mi * kNbPos + mj]);
        int ip[10];
        ip[0] = ix, ip[1] = iy;
        int16_t vec[kSubfr] = {};
        for (int j = 2; j < 10; j += 2) {
            const int16_t* p0 = (sign[ix] < 0 ? hInv : h) - ix;
            const int16_t* p1 = (sign[iy] < 0 ? hInv : h) - iy;
            for (int i = 0; i < kSubfr; ++i) vec[i] = add(vec[i], add(p0[i], p1[i]));
            int16_t corX[kNbPos], corY[kNbPos];
            corrVec(h, vec, kIpos[k + j], sign, rrixix, corX);
            corrVec(h, vec, kIpos[k + j + 1], sign, rrixix, corY);
            searchPair(kIpos[k + j], kIpos[k + j + 1], ps, alp, ix, iy, dn, corX, corY, rrixiy);
            ip[j] = ix, ip[j + 1] = iy;
        }
        ps = mult(ps, ps);
        if (L_msu(L_mult(alpk, ps), psk, alp) > 0) {
            psk = ps, alpk = alp;
            for (int i = 0; i < 10; ++i) codvec[i] = ip[i];
        }
    }
    buildCode(codvec, sign, H, code, y, indx);
}

/// The floating-point search (ACELP_10i40_35bits of the floating-point
/// reference for Annexes C+): the same stages on the unscaled h, with plain
/// float correlations and energies.
void search32f(const float* x, const float* cn, const float* H, float* code, float* y, int16_t* indx) {
    float dn[kSubfr], sign[kSubfr], invSign[kSubfr];
    for (int i = 0; i < kSubfr; ++i) {
        float s = 0.0f;
        for (int j = i; j < kSubfr; ++j) s += x[j] * H[j - i];
        dn[i] = s;
    }
    auto invNorm = [](const float* v) {
        float s = 0.0f;
        for (int i = 0; i < kSubfr; ++i) s += v[i] * v[i];
        return 1.0f / static_cast<float>(std::sqrt(static_cast<double>(s < 0.01f ? 0.01f : s)));
    };
    const float kCn = invNorm(cn), kDn = invNorm(dn);
    int posMax[kTracks] = {};
    float corr[kTracks];
    for (int k = 0; k < kTracks; ++k) {
        float mx = -1.0f;
        for (int i = k; i < kSubfr; i += 5) {
            float val = dn[i];
            float s = kCn * cn[i] + kDn * val;
            if (s >= 0.0f) {
                sign[i] = 1.0f, invSign[i] = -1.0f;
            } else {
                sign[i] = -1.0f, invSign[i] = 1.0f, val = -val;
            }
            dn[i] = val;
            s = std::fabs(s);
            if (s > mx) mx = s, posMax[k] = i;
        }
        corr[k] = mx;
    }
    float hBuf[2 * kSubfr] = {}, hInvBuf[2 * kSubfr] = {};
    float* h = hBuf + kSubfr;
    float* hInv = hInvBuf + kSubfr;
    for (int i = 0; i < kSubfr; ++i) h[i] = H[i], hInv[i] = -H[i];
    float rrixix[kTracks][kNbPos], rrixiy[kTracks][kMsize];
    float cor = 0.0f;
    for (int i = 0; i < kSubfr; ++i) {
        cor += h[i] * h[i];
        const int pos = kSubfr - 1 - i;
        rrixix[pos % 5][pos / 5] = cor * 0.5f;
    }
    OwnCorrPrefixesF pre;
    ownCorrPrefixes_32f(h, pre);
    for (int t = 0; t < kTracks; ++t)
        for (int m = 0; m < kNbPos; ++m) {
            const int p = 5 * m + t;
            const float* ps = sign[p] < 0.0f ? invSign : sign;
            for (int n = 0; n < kNbPos; ++n) {
                const int q = 5 * n + (t + 1) % kTracks;
                rrixiy[t][m * kNbPos + n] = pre.at(p, q) * ps[q];
            }
        }
    const float c40 = corr[4] + corr[0];
    for (int k = 0; k < kTracks - 1; ++k) corr[k] += corr[k + 1];
    corr[4] = c40;
    int itrk[3];
    for (int k = 0; k < 3; ++k) {
        float s = corr[0];
        int track = 0;
        for (int i = 1; i < kTracks; ++i)
            if (corr[i] - s > 0.0f) s = corr[i], track = i;
        corr[track] = -1.0f;
        itrk[k] = track;
    }
    float psk = -1.0f, alpk = 1.0f;
    int codvec[10] = {};
    for (int start = 0; start < 3; ++start) {
        const int k = itrk[start];
        int ix = posMax[kIpos[k]], iy = posMax[kIpos[k + 1]];
        float ps = dn[ix] + dn[iy];
        float alp = rrixix[kIpos[k]][ix / 5] + rrixix[kIpos[k + 1]][iy / 5];
        alp += rrixiy[kIpos[k]][(ix / 5) * kNbPos + iy / 5];
        int ip[10];
        ip[0] = ix, ip[1] = iy;
        float vec[kSubfr] = {};
        for (int j = 2; j < 10; j += 2) {
            const float* p0 = (sign[ix] < 0.0f ? hInv : h) - ix;
            const float* p1 = (sign[iy] < 0.0f ? hInv : h) - iy;
            for (int i = 0; i < kSubfr; ++i) vec[i] += p0[i] + p1[i];
            float corXY[2][kNbPos];
            for (int w = 0; w < 2; ++w) {
                const int track = kIpos[k + j + w];
                for (int i = 0, pos = track; i < kNbPos; ++i, pos += 5) {
                    float s = 0.0f;
                    for (int jj = pos; jj < kSubfr; ++jj) s += h[jj - pos] * vec[jj];
                    corXY[w][i] = s * sign[pos] + rrixix[track][i];
                }
            }
            const int tx = kIpos[k + j], ty = kIpos[k + j + 1];
            float sqk = -1.0f, alpK = 1.0f;
            for (int m = 0, xx = tx; xx < kSubfr; ++m, xx += 5) {
                const float ps1 = ps + dn[xx], alp1 = alp + corXY[0][m];
                int pos = -1;
                for (int n = 0, yy = ty; yy < kSubfr; ++n, yy += 5) {
                    const float ps2 = ps1 + dn[yy];
                    const float alp2 = alp1 + corXY[1][n] + rrixiy[tx][m * kNbPos + n];
                    const float sq = ps2 * ps2;
                    if (alpK * sq - sqk * alp2 > 0.0f) sqk = sq, alpK = alp2, pos = yy;
                }
                if (pos >= 0) ix = xx, iy = pos;
            }
            ps = ps + dn[ix] + dn[iy];
            alp = alpK;
            ip[j] = ix, ip[j + 1] = iy;
        }
        ps *= ps;
        if (alpk * ps - psk * alp > 0.0f) {
            psk = ps, alpk = alp;
            for (int i = 0; i < 10; ++i) codvec[i] = ip[i];
        }
    }
    for (int i = 0; i < kSubfr; ++i) code[i] = 0.0f, y[i] = 0.0f;
    int ix16[kTracks];
    for (int t = 0; t < kTracks; ++t) ix16[t] = -1;
    for (int k = 0; k < 10; ++k) {
        const int p = codvec[k], track = p % 5;
        int index = p / 5;
        const float sg = sign[p] > 0.0f ? 1.0f : -1.0f;
        if (sg < 0.0f) index += 8;
        code[p] += sg;
        for (int i = p; i < kSubfr; ++i) y[i] += sg * H[i - p];
        int& ix = ix16[track];
        if (ix < 0) ix = index;
        else if (((index ^ ix) & 8) == 0) ix = (ix <= index ? (ix << 4) + index : (index << 4) + ix) | 256;
        else ix = ((ix & 7) <= (index & 7) ? (index << 4) + ix : (ix << 4) + index) | 256;
    }
    for (int t = 0; t < kTracks; ++t) indx[t] = static_cast<int16_t>(ix16[t] & 127);
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729E_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcLtpResidual,
                                                      const Xvo16s* pSrcImpulseResponse, Xvo16s* pDstFixedVector,
                                                      Xvo16s* pDstFltFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcTarget, pSrcLtpResidual, pSrcImpulseResponse, pDstFixedVector,
                                pDstFltFixedVector, pDstCode));
    search16(pSrcTarget, pSrcLtpResidual, pSrcImpulseResponse, pDstFixedVector, pDstFltFixedVector, pDstCode);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729E_32f(const Xvo32f* pSrcTarget, const Xvo32f* pSrcLtpResidual,
                                                      const Xvo32f* pSrcImpulseResponse, Xvo32f* pDstFixedVector,
                                                      Xvo32f* pDstFltFixedVector, Xvo16s* pDstCode) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcTarget, pSrcLtpResidual, pSrcImpulseResponse, pDstFixedVector,
                                pDstFltFixedVector, pDstCode));
    search32f(pSrcTarget, pSrcLtpResidual, pSrcImpulseResponse, pDstFixedVector, pDstFltFixedVector, pDstCode);
    return xvoStsOk;
}

}  // extern "C"
