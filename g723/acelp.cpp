// G.723.1 algebraic codebook search of the 5.3 kbit/s mode (G.723.1 2.16):
// 4 signed pulses on tracks of 8 positions (track t at 8p + 2t, the last two
// tracks' position 60/62 meaning "no pulse"), all shifted by one on request,
// found by a thresholded depth-first search with a per-frame effort budget,
// then the 24-level gain and the pitch sharpening of the code vector.
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_internal.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {

constexpr int kLen2 = kSubFrLen + 4;  // target correlation extended by zeros
constexpr int kPos = 8;               // positions per track
constexpr int16_t kThreshold = 16384; // 0.5: threshold between mean and maximum
constexpr int16_t kMaxTime = 120;     // 4th-loop entries granted per subframe
constexpr int16_t kSharpenBelow = kSubFrLen - 2;
constexpr int kGainLevels = 24;

struct Track {
    const int16_t* diag[4];    // track t diagonal, 8 values
    const int16_t* cross[16];  // [a * 4 + b], a < b: 8 x 8 block [pa * 8 + pb]
};

// Backward-filtered target scaled so its maximum fits on 13 bits (Cor_h_X).
void ownCorrTarget(const int16_t* x, const int16_t* h, int16_t* dn) {
    int32_t y32[kSubFrLen];
    // When 2 sum|x| max|h| stays below 2^31 no partial sum can saturate and
    // plain sums equal the saturating ones.
    int64_t sx = 0;
    int32_t mh = 0;
    for (int i = 0; i < kSubFrLen; ++i) {
        sx += x[i] < 0 ? -int32_t(x[i]) : x[i];
        mh = h[i] < 0 ? (-h[i] > mh ? -h[i] : mh) : (h[i] > mh ? h[i] : mh);
    }
    const bool plain = 2 * sx * mh < MAX_32;
    int32_t mx = 0;
    for (int i = 0; i < kSubFrLen; ++i) {
        int32_t s = 0;
        if (plain) {
            for (int j = i; j < kSubFrLen; ++j) s += 2 * x[j] * h[j - i];
        } else {
            for (int j = i; j < kSubFrLen; ++j) s = L_mac(s, x[j], h[j - i]);
        }
        y32[i] = s;
        s = L_abs(s);
        if (s > mx) mx = s;
    }
    int16_t j = norm_l(mx);
    if (j > 16) j = 16;
    j = static_cast<int16_t>(18 - j);
    for (int i = 0; i < kSubFrLen; ++i) dn[i] = extract_l(L_shr(y32[i], j));
    for (int i = kSubFrLen; i < kLen2; ++i) dn[i] = 0;
}

// Threshold on the best sum of three pulses for one shift (off = 0 or 1):
// mean + (max - mean) / 2 of dn over tracks 0..2.
int16_t ownThreshold(const int16_t* dn, int off) {
    int16_t m0 = dn[off], m1 = dn[off + 2], m2 = dn[off + 4];
    for (int i = 8 + off; i < kSubFrLen; i += kPos) {
        if (dn[i] > m0) m0 = dn[i];
        if (dn[i + 2] > m1) m1 = dn[i + 2];
        if (dn[i + 4] > m2) m2 = dn[i + 4];
    }
    const int16_t mx = add(add(m0, m1), m2);
    int32_t s = 0;
    for (int i = off; i < kSubFrLen; i += kPos) {
        s = L_mac(s, dn[i], 1);
        s = L_mac(s, dn[i + 2], 1);
        s = L_mac(s, dn[i + 4], 1);
    }
    const int16_t mean = extract_l(L_shr(s, 4));
    return add(mult(sub(mx, mean), kThreshold), mean);
}

// Gain of the filtered code y (Q12) against the target and its nearest level
// of the 24-level table (G_code); returns the index, *gq the level.
int16_t ownCodeGain(const int16_t* x, const int16_t* y, int16_t* gq) {
    int16_t ys[kSubFrLen];
    for (int i = 0; i < kSubFrLen; ++i) ys[i] = shr(y[i], 3);
    int32_t lxy = 0;
    for (int i = 0; i < kSubFrLen; ++i) lxy = L_mac(lxy, x[i], ys[i]);
    const int16_t exy = norm_l(lxy);
    int16_t xy = extract_h(L_shl(lxy, exy));
    if (xy <= 0) {
        *gq = kFcbkGain[0];
        return 0;
    }
    int32_t lyy = 0;
    for (int i = 0; i < kSubFrLen; ++i) lyy = L_mac(lyy, ys[i], ys[i]);
    const int16_t eyy = norm_l(lyy);
    const int16_t yy = extract_h(L_shl(lyy, eyy));
    xy = shr(xy, 1);  // xy < yy for div_s
    const int16_t g = shr(div_s(xy, yy), static_cast<int16_t>(exy + 5 - eyy));
    int16_t best = 0;
    int16_t dmin = abs_s(sub(g, kFcbkGain[0]));
    for (int i = 1; i < kGainLevels; ++i) {
        const int16_t d = abs_s(sub(g, kFcbkGain[i]));
        if (d < dmin) dmin = d, best = static_cast<int16_t>(i);
    }
    *gq = kFcbkGain[best];
    return best;
}

// h[i] += gain h[i - lag] for i = lag .. 59, in place (earlier results feed later ones).
void ownSharpen(int16_t* v, int16_t lag, int16_t gain) {
    if (lag >= kSharpenBelow) return;
    for (int i = lag; i < kSubFrLen; ++i) v[i] = add(v[i], mult(v[i - lag], gain));
}

}  // namespace

// T: element type of the correlation matrix (int16_t high halves or int32_t
// full sums, reduced to their high halves here).
template <typename T>
void ownAcelpSearch_G723(const int16_t* x, const int16_t* hIn, int16_t* code, int16_t* gainIndex, int16_t* shiftOut,
                         int16_t* signOut, int16_t* posOut, int16_t* extra, int16_t t0, int16_t gainT0) {
    // Response in Q12 with the pitch sharpening folded in.
    int16_t h[kSubFrLen];
    for (int i = 0; i < kSubFrLen; ++i) h[i] = shr(hIn[i], 1);
    ownSharpen(h, t0, gainT0);

    int32_t en = 0;
    for (int i = 0; i < kSubFrLen; ++i) en = L_mac(en, h[i], h[i]);
    T raw[416];
    ownToeplitz_G723(h, raw, extract_h(en) > 32000, en);
    int16_t rr[416];
    for (int i = 0; i < 416; ++i) {
        if constexpr (sizeof(T) == 2)
            rr[i] = raw[i];
        else
            rr[i] = extract_h(raw[i]);
    }

    int16_t dn[kLen2];
    ownCorrTarget(x, h, dn);

    // Each pair of positions (2i, 2i + 1) takes the sign of its summed
    // correlation; the matrix and dn are made sign-free accordingly.
    int16_t sgn[kLen2 / 2];
    for (int i = 0; i < kSubFrLen; i += 2) {
        if (add(dn[i], dn[i + 1]) >= 0) {
            sgn[i / 2] = 1;
        } else {
            sgn[i / 2] = -1;
            dn[i] = negate(dn[i]);
            dn[i + 1] = negate(dn[i + 1]);
        }
    }
    sgn[30] = sgn[31] = 1;
    int16_t thres = ownThreshold(dn, 0);
    const int16_t t1 = ownThreshold(dn, 1);
    if (t1 > thres) thres = t1;

    const int16_t* d[4] = {rr, rr + 8, rr + 16, rr + 24};
    int16_t* c[4][4] = {};
    int16_t* blk = rr + 32;
    for (int a = 0; a < 4; ++a)
        for (int b = a + 1; b < 4; ++b, blk += 64) {
            c[a][b] = blk;
            for (int pa = 0; pa < kPos; ++pa)
                for (int pb = 0; pb < kPos; ++pb)
                    if (sgn[4 * pa + a] != sgn[4 * pb + b])
                        blk[pa * kPos + pb] = extract_l(-int32_t(blk[pa * kPos + pb]));
        }

    int ip0 = 0, ip1 = 2, ip2 = 4, ip3 = 6, shif = 0;
    int16_t psc = 0, alpha = 32767;
    int32_t time = add(kMaxTime, *extra);
    for (int p0 = 0; p0 < kPos; ++p0) {
        const int i0 = 8 * p0;
        const int16_t ps0 = dn[i0], ps0a = dn[i0 + 1];
        const int16_t alp0 = d[0][p0];
        for (int p1 = 0; p1 < kPos; ++p1) {
            const int i1 = 8 * p1 + 2;
            const int16_t ps1 = add(ps0, dn[i1]), ps1a = add(ps0a, dn[i1 + 1]);
            int32_t alp1 = L_mult(alp0, 1);
            alp1 = L_mac(alp1, d[1][p1], 1);
            alp1 = L_mac(alp1, c[0][1][p0 * kPos + p1], 2);
            for (int p2 = 0; p2 < kPos; ++p2) {
                const int i2 = 8 * p2 + 4;
                int16_t ps2 = add(ps1, dn[i2]);
                const int16_t ps2a = add(ps1a, dn[i2 + 1]);
                int32_t alp2 = L_mac(alp1, d[2][p2], 1);
                alp2 = L_mac(alp2, c[0][2][p0 * kPos + p2], 2);
                alp2 = L_mac(alp2, c[1][2][p1 * kPos + p2], 2);
                int shift = 0;
                if (ps2a > ps2) shift = 1, ps2 = ps2a;
                if (ps2 <= thres) continue;
                for (int p3 = 0; p3 < kPos; ++p3) {
                    const int i3 = 8 * p3 + 6;
                    const int16_t ps3 = add(ps2, dn[i3 + shift]);
                    int32_t alp3 = L_mac(alp2, d[3][p3], 1);
                    alp3 = L_mac(alp3, c[0][3][p0 * kPos + p3], 2);
                    alp3 = L_mac(alp3, c[1][3][p1 * kPos + p3], 2);
                    alp3 = L_mac(alp3, c[2][3][p2 * kPos + p3], 2);
                    const int16_t alp = extract_l(L_shr(alp3, 5));
                    const int16_t ps3c = mult(ps3, ps3);
                    if (L_mult(ps3c, alpha) > L_mult(psc, alp)) {
                        psc = ps3c, alpha = alp;
                        ip0 = i0, ip1 = i1, ip2 = i2, ip3 = i3, shif = shift;
                    }
                }
                if (--time <= 0) goto done;
            }
        }
    }
done:
    *extra = static_cast<int16_t>(time);

    const int16_t s[4] = {sgn[ip0 >> 1], sgn[ip1 >> 1], sgn[ip2 >> 1], sgn[ip3 >> 1]};
    const int ip[4] = {ip0 + shif, ip1 + shif, ip2 + shif, ip3 + shif};
    int16_t cod[kSubFrLen] = {}, y[kSubFrLen] = {};
    for (int k = 0; k < 4; ++k) {
        if (ip[k] >= kSubFrLen) continue;
        cod[ip[k]] = s[k];
        for (int i = ip[k]; i < kSubFrLen; ++i) y[i] = s[k] > 0 ? add(y[i], h[i - ip[k]]) : sub(y[i], h[i - ip[k]]);
    }
    int16_t sign = 0;
    for (int k = 0; k < 4; ++k)
        if (s[k] > 0) sign = static_cast<int16_t>(sign + (1 << k));
    int16_t gq;
    const int16_t gi = ownCodeGain(x, y, &gq);
    for (int i = 0; i < kSubFrLen; ++i) y[i] = static_cast<int16_t>(cod[i] * gq);
    ownSharpen(y, t0, gainT0);
    for (int i = 0; i < kSubFrLen; ++i) code[i] = y[i];
    *gainIndex = gi;
    *shiftOut = static_cast<int16_t>(shif);
    *signOut = sign;
    *posOut = static_cast<int16_t>((ip[0] >> 3) + ((ip[1] >> 3) << 3) + ((ip[2] >> 3) << 6) + ((ip[3] >> 3) << 9));
}

}  // namespace xvo::g723

using namespace xvo;

namespace {

template <typename T>
XvoStatus ownAcelpExport(const Xvo16s* pSrcTarget, const Xvo16s* pSrcImpulseResponse, Xvo16s* pDstFixedVector,
                         Xvo16s* pDstGainIndex, Xvo16s* pDstShift, Xvo16s* pDstSignCode, Xvo16s* pDstPositionCode,
                         Xvo16s* pSrcDstExtra, Xvo16s valLag, Xvo16s valLagGain) {
    XVO_CHECK(ownCheckPtrs(pSrcTarget, pSrcImpulseResponse, pDstFixedVector, pDstGainIndex, pDstShift, pDstSignCode,
                           pDstPositionCode, pSrcDstExtra));
    XVO_RETURN_IF(valLag < 16 || valLag > 146, xvoStsRange);
    g723::ownAcelpSearch_G723<T>(pSrcTarget, pSrcImpulseResponse, pDstFixedVector, pDstGainIndex, pDstShift,
                                 pDstSignCode, pDstPositionCode, pSrcDstExtra, valLag, valLagGain);
    return xvoStsOk;
}

}  // namespace

extern "C" {

XVOSC_API XvoStatus xvosACELPFixedCodebookSearch_G723_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcImpulseResponse,
                                                          Xvo16s* pDstFixedVector, Xvo16s* pDstGainIndex,
                                                          Xvo16s* pDstShift, Xvo16s* pDstSignCode,
                                                          Xvo16s* pDstPositionCode, Xvo16s* pSrcDstExtra,
                                                          Xvo16s valLag, Xvo16s valLagGain) {
    return ownAcelpExport<int16_t>(pSrcTarget, pSrcImpulseResponse, pDstFixedVector, pDstGainIndex, pDstShift,
                                   pDstSignCode, pDstPositionCode, pSrcDstExtra, valLag, valLagGain);
}

XVOSC_API XvoStatus xvosACELPFixedCodebookSearch_G723_32s16s(const Xvo16s* pSrcTarget,
                                                             const Xvo16s* pSrcImpulseResponse,
                                                             Xvo16s* pDstFixedVector, Xvo16s* pDstGainIndex,
                                                             Xvo16s* pDstShift, Xvo16s* pDstSignCode,
                                                             Xvo16s* pDstPositionCode, Xvo16s* pSrcDstExtra,
                                                             Xvo16s valLag, Xvo16s valLagGain) {
    return ownAcelpExport<int32_t>(pSrcTarget, pSrcImpulseResponse, pDstFixedVector, pDstGainIndex, pDstShift,
                                   pDstSignCode, pDstPositionCode, pSrcDstExtra, valLag, valLagGain);
}

}  // extern "C"
