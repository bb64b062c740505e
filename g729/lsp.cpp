// G.729 line-spectral parameters, 16-bit forms: the LPC-to-LSP root finder
// (G.729 3.2.3, Annex A, and the GSM-AMR caller), LSP/LSF conversions, the
// lag window (3.2.1) and the switched-MA predictive LSF quantiser (3.2.4).
// Every step keeps the basic-operator arithmetic of the ITU-T reference,
// saturations included, so a coder built on it reproduces the ITU vectors.
#include "g729/lsp.h"

#include <emmintrin.h>

#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "core/helpers_tables.h"
#include "g729/g729_tables.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace xvo::fx;

namespace {

constexpr int kNC = 5;           // half the LPC order
constexpr int16_t kGap1 = 10;    // rearrangement gaps, Q13
constexpr int16_t kGap2 = 5;
constexpr int16_t kGap3 = 321;   // minimum LSF distance, Q13
constexpr int16_t kLLimit = 40;  // lowest LSF, Q13 (0.005)
constexpr int16_t kMLimit = 25681;  // highest LSF, Q13 (3.135)

// ---- root finder -------------------------------------------------------------

/// 32-bit saturation with a flag (the reference's Overflow).
inline int32_t sat32Flag(int64_t v, bool& o) {
    if (v > MAX_32) { o = true; return MAX_32; }
    if (v < MIN_32) { o = true; return MIN_32; }
    return static_cast<int32_t>(v);
}
inline int16_t sat16Flag(int32_t v, bool& o) {
    if (v > MAX_16) { o = true; return MAX_16; }
    if (v < MIN_16) { o = true; return MIN_16; }
    return static_cast<int16_t>(v);
}
inline int16_t sat16(int32_t v) { return static_cast<int16_t>(v > MAX_16 ? MAX_16 : v < MIN_16 ? MIN_16 : v); }

/// Sum and difference polynomials F1(z)/(1+z^-1), F2(z)/(1-z^-1). The
/// coefficient Q is 23 - shift. Reports whether a saturation occurred.
bool formPolynomials(const int16_t* a, int shift, int16_t* f1, int16_t* f2) {
    // L_mult(a, 2^(26-shift)) then L_mac / L_msu: (a[i+1] +- a[M-i]) * 2^(27-shift),
    // saturated once; the products alone cannot saturate.
    const int64_t mul = int64_t(1) << (27 - shift);
    const int16_t one = static_cast<int16_t>(1 << (23 - shift));
    bool ovf = false;
    f1[0] = one;
    f2[0] = one;
    for (int i = 0; i < kNC; ++i) {
        const int32_t s = sat32Flag((int64_t(a[i + 1]) + a[kM - i]) * mul, ovf);
        const int32_t d = sat32Flag((int64_t(a[i + 1]) - a[kM - i]) * mul, ovf);
        f1[i + 1] = sat16Flag((s >> 16) - f1[i], ovf);
        f2[i + 1] = sat16Flag((d >> 16) + f2[i], ovf);
    }
    return ovf;
}

/// Linear interpolation of the root between (xlow, ylow) and (xhigh, yhigh),
/// the reference's operator sequence on plain integers.
int16_t interpolateRoot(int16_t xlow, int16_t ylow, int16_t xhigh, int16_t yhigh) {
    const int32_t x = sat16(int32_t(xhigh) - xlow);
    const int32_t dy = sat16(int32_t(yhigh) - ylow);
    if (dy == 0) return xlow;
    const int32_t ay = dy < 0 ? (dy == MIN_16 ? MAX_16 : -dy) : dy;  // abs_s
    const int e = __builtin_clz(static_cast<uint32_t>(ay)) - 17;      // norm_s
    const int32_t q = (int32_t(16383) << 15) / (ay << e);              // div_s(16383, y), y in 16384..32767
    int32_t y = static_cast<int16_t>((2 * x * q) >> (20 - e));         // L_mult, L_shr, extract_l: Q11
    if (dy < 0) y = y == MIN_16 ? MAX_16 : -y;                          // negate
    const int32_t t = (ylow == MIN_16 && y == MIN_16) ? MAX_32 : 2 * ylow * y;  // L_mult
    return sat16(int32_t(xlow) - static_cast<int16_t>(t >> 11));
}

const int16_t* gridFor(int intervals) { return intervals == 50 ? kGrid50 : kGrid60; }

}  // namespace

int16_t ownChebpsExact_16s(int16_t x, const int16_t* f, int shift, bool q23) {
    // C(x) = T5(x) + f1 T4(x) + ... + f4 T1(x) + f5/2 by the Clenshaw recursion in
    // double-precision format, Q24 (Q23 for the overflow form).
    const int16_t b2init = q23 ? 128 : 256;
    const int16_t twoX = q23 ? 256 : 512;
    const int16_t fmul = static_cast<int16_t>(1 << shift);
    const int16_t fhalf = static_cast<int16_t>(1 << (shift - 1));
    int16_t b2h = b2init, b2l = 0, b1h, b1l, b0h, b0l;
    int32_t t0 = L_mult(x, twoX);
    t0 = L_mac(t0, f[1], fmul);
    L_Extract(t0, b1h, b1l);
    for (int i = 2; i < kNC; ++i) {
        t0 = Mpy_32_16(b1h, b1l, x);
        t0 = L_shl(t0, 1);
        t0 = L_mac(t0, b2h, MIN_16);
        t0 = L_msu(t0, b2l, 1);
        t0 = L_mac(t0, f[i], fmul);
        L_Extract(t0, b0h, b0l);
        b2l = b1l;
        b2h = b1h;
        b1l = b0l;
        b1h = b0h;
    }
    t0 = Mpy_32_16(b1h, b1l, x);
    t0 = L_mac(t0, b2h, MIN_16);
    t0 = L_msu(t0, b2l, 1);
    t0 = L_mac(t0, f[kNC], fhalf);
    t0 = L_shl(t0, q23 ? 7 : 6);
    return extract_h(t0);
}

bool ownChebpsFastOk(const int16_t* f, int shift) {
    // Every coefficient term 2 * f[i] * 2^shift within 2^28 in magnitude.
    const int lim = 1 << (27 - shift);
    for (int i = 1; i <= kNC; ++i)
        if (f[i] > lim || f[i] < -lim) return false;
    return true;
}

namespace {

/// One polynomial prepared for repeated evaluation: its coefficient terms as
/// the recursion adds them, and whether the plain 32-bit form applies.
struct ChebPoly {
    const int16_t* f;
    int shift;
    bool q23;
    bool fast;
    int32_t term[kNC + 1];  // term[i] = L_mult(f[i], 2^shift); term[5] = L_mult(f[5], 2^(shift-1))
};

ChebPoly prepare(const int16_t* f, int shift, bool q23) {
    ChebPoly c{f, shift, q23, ownChebpsFastOk(f, shift), {}};
    for (int i = 1; i < kNC; ++i) c.term[i] = f[i] * (int32_t(2) << shift);
    c.term[kNC] = f[kNC] * (int32_t(1) << shift);
    return c;
}

/// The recursion on 32-bit values with every partial sum and product tested
/// for leaving the 32-bit range: where none does, every saturating operator
/// is exact, so the result is the same; otherwise the operator form is run.
int16_t chebChecked(int16_t x, const ChebPoly& c) {
    const int32_t X = x;
    bool o = false;
    int32_t b2 = c.q23 ? (128 << 16) : (256 << 16);
    int32_t b1 = X * (c.q23 ? 512 : 1024) + c.term[1];  // |2^10 x| + |term| < 2^31: no overflow
    int32_t t = 0;
    for (int i = 2; i <= kNC; ++i) {
        int32_t p;
        o |= __builtin_mul_overflow((b1 >> 16) * X, 2, &p);                      // L_mult(hi, x)
        o |= __builtin_add_overflow(p, 2 * ((((b1 >> 1) & 0x7fff) * X) >> 15), &t);  // + mult(lo, x)
        if (i < kNC) o |= __builtin_add_overflow(t, t, &t);                       // L_shl(t, 1)
        o |= __builtin_mul_overflow(b2 >> 16, -65536, &p);                         // L_mult(b2h, -32768)
        o |= __builtin_add_overflow(t, p, &t);
        o |= __builtin_sub_overflow(t, 2 * ((b2 >> 1) & 0x7fff), &t);             // L_msu(t, b2l, 1)
        o |= __builtin_add_overflow(t, c.term[i], &t);
        b2 = b1;
        b1 = t;
    }
    if (o) return ownChebpsExact_16s(x, c.f, c.shift, c.q23);
    const int32_t y = t >> (c.q23 ? 9 : 10);  // L_shl by 7 or 6, extract_h
    return static_cast<int16_t>(y > MAX_16 ? MAX_16 : y < MIN_16 ? MIN_16 : y);
}

/// The recursion on plain 32-bit values. While every stored b stays below
/// 2^29 in magnitude (and the coefficient terms within 2^28, c.fast) no
/// partial sum of a step reaches 2^31 and no product saturates, so each
/// saturating operator is exact; otherwise the checked form is run.
inline int16_t chebFast(int16_t x, const ChebPoly& c) {
    if (!c.fast) return chebChecked(x, c);
    const int32_t X = x;
    int32_t b2 = c.q23 ? (128 << 16) : (256 << 16);
    int32_t b1 = X * (c.q23 ? 512 : 1024) + c.term[1];  // within 2^29 by the coefficient bound
    for (int i = 2; i < kNC; ++i) {
        const int32_t m = 2 * (b1 >> 16) * X + 2 * ((((b1 >> 1) & 0x7fff) * X) >> 15);  // Mpy_32_16
        const int32_t b0 = 2 * m - (b2 & ~1) + c.term[i];
        if (static_cast<uint32_t>(b0) + (1u << 29) >= (1u << 30)) return chebChecked(x, c);
        b2 = b1;
        b1 = b0;
    }
    const int32_t m = 2 * (b1 >> 16) * X + 2 * ((((b1 >> 1) & 0x7fff) * X) >> 15);
    const int32_t y = (m - (b2 & ~1) + c.term[kNC]) >> (c.q23 ? 9 : 10);  // L_shl by 7 or 6, extract_h
    return static_cast<int16_t>(y > MAX_16 ? MAX_16 : y < MIN_16 ? MIN_16 : y);
}

}  // namespace

int16_t ownChebps_16s(int16_t x, const int16_t* f, int shift, bool q23) { return chebFast(x, prepare(f, shift, q23)); }

int ownLPCToLSP_16s(const int16_t* a, int16_t* lsp, const OwnLpcToLspParams& p) {
    return ownLPCToLSP_16s(a, lsp, p, ownLspKernels());
}

namespace {

/// Bit j (1..n) set where the grid values j-1 and j do not have one strict
/// sign (L_mult(y[j], y[j-1]) <= 0): the intervals that hold a root. y has
/// at least 72 readable elements.
uint64_t signChanges(const int16_t* y, int n) {
    const __m128i zero = _mm_setzero_si128();
    uint64_t bits = 0;
    for (int c = 0; c < 8; c += 2) {
        __m128i m[2];
        for (int h = 0; h < 2; ++h) {
            const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(y + 8 * (c + h)));
            const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(y + 8 * (c + h) + 1));
            m[h] = _mm_or_si128(_mm_cmplt_epi16(_mm_xor_si128(lo, hi), zero),
                                _mm_or_si128(_mm_cmpeq_epi16(lo, zero), _mm_cmpeq_epi16(hi, zero)));
        }
        const uint32_t mm = static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(m[0], m[1])));
        bits |= static_cast<uint64_t>(mm) << (8 * c);
    }
    bits <<= 1;  // pair (i, i+1) is interval i+1
    return bits & ((uint64_t(2) << n) - 1);
}

}  // namespace

int ownLPCToLSP_16s(const int16_t* a, int16_t* lsp, const OwnLpcToLspParams& p, const OwnLspKernels& k) {
    alignas(32) int16_t f[2][8] = {};
    int shift = p.shift;
    bool q23 = false;
    if (formPolynomials(a, shift, f[0], f[1]) && p.selector == 1) {
        // Q11 coefficients overflowed: redo them in Q10 and evaluate in Q23.
        formPolynomials(a, shift + 1, f[0], f[1]);
        q23 = true;
    }
    const int16_t* grid = gridFor(p.intervals);
    const int n = p.intervals;

    // Both polynomials at every grid point, computed up front by the vector twin,
    // and for each the grid intervals where its sign changes.
    alignas(32) int16_t gx[64] = {};
    alignas(32) int16_t gy[2][72] = {};
    for (int j = 0; j <= n; ++j) gx[j] = grid[j];
    const int padded = (n + 1 + 7) & ~7;
    k.chebGrid(gx, padded, f[0], shift, q23, gy[0]);
    k.chebGrid(gx, padded, f[1], shift, q23, gy[1]);
    const uint64_t change[2] = {signChanges(gy[0], n), signChanges(gy[1], n)};
    const ChebPoly poly[2] = {prepare(f[0], shift, q23), prepare(f[1], shift, q23)};

    // The reference's walk over the grid. While ylow is a grid value of the
    // current polynomial the walk goes straight to its next sign change; after
    // a root, ylow is the other polynomial at the root and one step is compared.
    int nf = 0, ip = 0, j = 0;
    int16_t xlow = grid[0];
    int16_t ylow = gy[0][0];
    bool onGrid = true;
    while (nf < kM && j < n) {
        if (onGrid) {
            const uint64_t rest = change[ip] & (~uint64_t(0) << (j + 1));
            if (rest == 0) break;  // no further root of this polynomial
            j = __builtin_ctzll(rest) - 1;
            xlow = grid[j];
            ylow = gy[ip][j];
        }
        ++j;
        int16_t xhigh = xlow, yhigh = ylow;
        xlow = grid[j];
        ylow = gy[ip][j];
        onGrid = L_mult(ylow, yhigh) > 0;
        if (!onGrid) {
            for (int i = 0; i < p.bisections; ++i) {
                const int16_t xmid = add(shr(xlow, 1), shr(xhigh, 1));
                const int16_t ymid = chebFast(xmid, poly[ip]);
                if (L_mult(ylow, ymid) <= 0) {
                    yhigh = ymid;
                    xhigh = xmid;
                } else {
                    ylow = ymid;
                    xlow = xmid;
                }
            }
            const int16_t xint = interpolateRoot(xlow, ylow, xhigh, yhigh);
            lsp[nf++] = xint;
            xlow = xint;
            ip ^= 1;
            ylow = chebFast(xlow, poly[ip]);
        }
    }
    return nf;
}

// ---- conversions ---------------------------------------------------------------

namespace {

/// For each high byte h of v + 32768, the largest k (0..63) with cos_table[k] >= (h << 8) - 32768:
/// the walk for any v in that byte's range ends at or below it.
struct WalkStart {
    uint8_t k[256];
};
constexpr WalkStart makeWalkStart() {
    WalkStart w{};
    for (int h = 0; h < 256; ++h) {
        const int v = (h << 8) - 32768;
        int k = 63;
        while (k > 0 && kCosTable64[k] < v) --k;
        w.k[h] = static_cast<uint8_t>(k);
    }
    return w;
}
constexpr WalkStart kWalkStart = makeWalkStart();

/// The index where the reference's downward table walk from `ind` stops for v:
/// the largest k <= ind with cos_table[k] >= v (cos_table[0] = 32767 ends it).
int walkDown(int ind, int16_t v) {
    int k = kWalkStart.k[(v + 32768) >> 8];
    while (kCosTable64[k] < v) --k;
    return k < ind ? k : ind;
}

}  // namespace

void ownLSPToLSF_16s(const int16_t* lsp, int16_t* lsf) {
    int ind = 63;  // the table walk only moves down: the input is ordered
    for (int i = kM - 1; i >= 0; --i) {
        ind = walkDown(ind, lsp[i]);
        const int16_t offset = sub(lsp[i], kTable2[ind]);
        const int32_t t = L_mult(kSlopeAcos[ind], offset);  // Q28
        const int16_t freq = add(shl(static_cast<int16_t>(ind), 9), extract_l(L_shr(t, 12)));
        lsf[i] = mult(freq, 25736);  // 2*pi in Q12
    }
}

void ownLSPToLSFNorm_16s(const int16_t* lsp, int16_t* lsf) {
    int ind = 63;
    for (int i = kM - 1; i >= 0; --i) {
        ind = walkDown(ind, lsp[i]);
        const int32_t t = L_mult(sub(lsp[i], kTable[ind]), kSlope[ind]);
        const int16_t frac = round_fx(L_shl(t, 3));
        lsf[i] = add(frac, shl(static_cast<int16_t>(ind), 8));
    }
}

int ownLSFToLSP_16s(const int16_t* lsf, int16_t* lsp) {
    // Radians (Q13) to the 16384-for-pi scale: times 1/(2 pi) in Q17.
    int16_t freq[kM];
    for (int i = 0; i < kM; ++i) freq[i] = mult(lsf[i], 20861);
    return ownLSFToLSPTable_16s(kSlopeCos, 12, freq, lsp);
}

void ownLagWindow_32s(int32_t* r, int len) {
    for (int k = 0; k < len; ++k) {
        const int16_t hi = static_cast<int16_t>(r[k] >> 16);
        const int16_t lo = static_cast<int16_t>((r[k] >> 1) & 0x7fff);
        r[k] = Mpy_32(hi, lo, kLagH[k], kLagL[k]);
    }
}

// ---- quantiser building blocks ----------------------------------------------------

namespace {

/// Lsp_expand_1_2 over [from, to): pulls neighbours apart to at least gap.
void expand(int16_t* buf, int16_t gap, int from, int to) {
    for (int j = from; j < to; ++j) {
        const int16_t diff = sub(buf[j - 1], buf[j]);
        const int16_t tmp = shr(add(diff, gap), 1);
        if (tmp > 0) {
            buf[j - 1] = sub(buf[j - 1], tmp);
            buf[j] = add(buf[j], tmp);
        }
    }
}

/// The MA sums of both directions in 64 bits, column by column so that they
/// vectorise: acc[j] = start[j] + sign * sum_k 2 * prevFreq[k][j] * fg[k][j].
/// Returns true when a partial sum left the 32-bit range, where the reference's
/// saturating L_mac / L_msu chain would differ from the plain sum.
bool maSums(int64_t* acc, const int16_t* prevFreq, const int16_t (*fg)[kM], int sign) {
    uint64_t out = 0;
    for (int k = 0; k < kMaNp; ++k)
        for (int j = 0; j < kM; ++j) {  // fg >= 0: L_mult cannot saturate
            acc[j] += sign * 2 * int64_t(prevFreq[k * kM + j]) * fg[k][j];
            out |= static_cast<uint64_t>(acc[j] + 0x80000000LL) >> 32;
        }
    return out != 0;
}

}  // namespace

void ownMaCompose_16s(const int16_t* buf, const int16_t* prevFreq, const int16_t (*fg)[kM], const int16_t* fgSum,
                      int16_t* lsf) {
    int64_t acc[kM];
    for (int j = 0; j < kM; ++j) acc[j] = 2 * int64_t(buf[j]) * fgSum[j];
    if (maSums(acc, prevFreq, fg, 1)) {
        for (int j = 0; j < kM; ++j) {
            int32_t t = L_mult(buf[j], fgSum[j]);
            for (int k = 0; k < kMaNp; ++k) t = L_mac(t, prevFreq[k * kM + j], fg[k][j]);
            acc[j] = t;
        }
    }
    for (int j = 0; j < kM; ++j) lsf[j] = static_cast<int16_t>(acc[j] >> 16);
}

void ownMaExtract_16s(const int16_t* lsf, const int16_t* prevFreq, const int16_t (*fg)[kM], const int16_t* fgSumInv,
                      int16_t* res) {
    int64_t acc[kM];
    for (int j = 0; j < kM; ++j) acc[j] = int64_t(lsf[j]) * 65536;
    if (maSums(acc, prevFreq, fg, -1)) {
        for (int j = 0; j < kM; ++j) {
            int32_t t = L_deposit_h(lsf[j]);
            for (int k = 0; k < kMaNp; ++k) t = L_msu(t, prevFreq[k * kM + j], fg[k][j]);
            acc[j] = t;
        }
    }
    for (int j = 0; j < kM; ++j) {
        const int16_t tmp = static_cast<int16_t>(acc[j] >> 16);
        res[j] = extract_h(sat32(int64_t(L_mult(tmp, fgSumInv[j])) * 8));  // L_shl(., 3)
    }
}

namespace {

/// Lsp_prev_compose with the main-body predictor ma.
void composePrediction(const int16_t* buf, const int16_t* prevFreq, int ma, int16_t* lsf) {
    ownMaCompose_16s(buf, prevFreq, kFg[ma], kFgSum[ma], lsf);
}

/// Lsp_prev_extract with the main-body predictor ma.
void prevExtract(const int16_t* lsf, const int16_t* prevFreq, int ma, int16_t* res) {
    ownMaExtract_16s(lsf, prevFreq, kFg[ma], kFgSumInv[ma], res);
}

/// Index of the first smallest of n keys (the reference keeps the first of equal distances).
int firstMin(const int32_t* d, int n) {
    int32_t m = d[0];
    int c = 0;
    for (int i = 1; i < n; ++i)
        if (d[i] < m) {
            m = d[i];
            c = i;
        }
    return c;
}

/// Lsp_select_1 / Lsp_select_2: weighted second-stage search over one half.
int selectHalf(const OwnLspKernels& kern, const int16_t* r, const int16_t* cb1row, const int16_t* w, int from) {
    int16_t buf[kM];
    for (int j = from; j < from + kNC; ++j) buf[j] = sub(r[j], cb1row[j]);
    alignas(32) int32_t d[kNC1];
    kern.dist2(buf, w, from, d);
    return firstMin(d, kNC1);
}

}  // namespace

int ownLSFDecode_16s(int l0, int l1, int l2, int l3, int16_t* prevFreq, int16_t* lsf) {
    const int ma = l0 & 1;
    l1 &= kNC0 - 1;
    l2 &= kNC1 - 1;
    l3 &= kNC1 - 1;
    int16_t buf[kM];
    for (int j = 0; j < kNC; ++j) buf[j] = add(kLspcb1[l1][j], kLspcb2[l2][j]);
    for (int j = kNC; j < kM; ++j) buf[j] = add(kLspcb1[l1][j], kLspcb2[l3][j]);
    expand(buf, kGap1, 1, kM);
    expand(buf, kGap2, 1, kM);
    composePrediction(buf, prevFreq, ma, lsf);
    ownPushMemory(prevFreq, buf);
    return ownStabilise<int16_t>(lsf, kLLimit, kGap3, kMLimit, [](int16_t v) { return add(v, kGap3); });
}

void ownLSFDecodeErased_16s(int ma, int16_t* prevFreq, const int16_t* lsf) {
    int16_t res[kM];
    prevExtract(lsf, prevFreq, ma & 1, res);
    ownPushMemory(prevFreq, res);
}

void ownLSFQuantSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx) {
    ownLSFQuantSearch_16s(lsf, prevFreq, idx, ownLspKernels());
}

void ownLSFQuantSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx, const OwnLspKernels& kern) {
    int16_t w[kM];
    ownLsfWeights_16s(lsf, w);
    int cand[2], t1[2], t2[2];
    int32_t tdist[2];
    for (int ma = 0; ma < 2; ++ma) {
        alignas(32) int16_t r[16] = {};
        prevExtract(lsf, prevFreq, ma, r);
        // Lsp_pre_select: nearest first-stage vector (first of equal ones).
        alignas(32) int32_t d[kNC0];
        kern.dist1(r, d);
        const int c = firstMin(d, kNC0);
        cand[ma] = c;
        t1[ma] = selectHalf(kern, r, kLspcb1[c], w, 0);
        t2[ma] = selectHalf(kern, r, kLspcb1[c], w, kNC);
        int16_t buf[kM];
        for (int j = 0; j < kNC; ++j) buf[j] = add(kLspcb1[c][j], kLspcb2[t1[ma]][j]);
        expand(buf, kGap1, 1, kNC);
        for (int j = kNC; j < kM; ++j) buf[j] = add(kLspcb1[c][j], kLspcb2[t2[ma]][j]);
        expand(buf, kGap1, kNC, kM);
        expand(buf, kGap2, 1, kM);
        int32_t td = 0;  // Lsp_get_tdist
        for (int j = 0; j < kM; ++j) {
            const int16_t tmp = mult(sub(buf[j], r[j]), kFgSum[ma][j]);
            const int16_t tmp2 = extract_h(L_shl(L_mult(w[j], tmp), 4));
            td = L_mac(td, tmp2, tmp);
        }
        tdist[ma] = td;
    }
    const int m = L_sub(tdist[1], tdist[0]) < 0 ? 1 : 0;
    idx[0] = static_cast<int16_t>(m);
    idx[1] = static_cast<int16_t>(cand[m]);
    idx[2] = static_cast<int16_t>(t1[m]);
    idx[3] = static_cast<int16_t>(t2[m]);
}

void ownLsfWeights_16s(const int16_t* lsf, int16_t* w) {
    constexpr int16_t kPi04 = 1029, kPi92 = 23677, kConst10 = 10 << 11, kConst12 = 19661;
    int16_t buf[kM];
    buf[0] = sub(lsf[1], kPi04 + 8192);
    for (int i = 1; i < kM - 1; ++i) buf[i] = sub(sub(lsf[i + 1], lsf[i - 1]), 8192);
    buf[kM - 1] = sub(kPi92 - 8192, lsf[kM - 2]);
    for (int i = 0; i < kM; ++i) {
        if (buf[i] > 0) {
            w[i] = 2048;
        } else {
            int16_t t = extract_h(L_shl(L_mult(buf[i], buf[i]), 2));
            t = extract_h(L_shl(L_mult(t, kConst10), 2));
            w[i] = add(t, 2048);
        }
    }
    w[4] = extract_h(L_shl(L_mult(w[4], kConst12), 1));
    w[5] = extract_h(L_shl(L_mult(w[5], kConst12), 1));
    int16_t mx = 0;
    for (int i = 0; i < kM; ++i)
        if (w[i] > mx) mx = w[i];
    const int16_t sft = norm_s(mx);
    for (int i = 0; i < kM; ++i) w[i] = shl(w[i], sft);
}


}  // namespace xvo::g729

// ---- exported functions ------------------------------------------------------------

using namespace xvo;
using namespace xvo::g729;

namespace {

XvoStatus lpcToLsp(const Xvo16s* a, const Xvo16s* prev, Xvo16s* lsp, const OwnLpcToLspParams& p) {
    XVO_CHECK(ownCheckPtrs(a, prev, lsp));
    int16_t roots[kM];
    const int nf = ownLPCToLSP_16s(a, roots, p);
    const int16_t* src = nf < kM ? prev : roots;  // a partial set is never returned
    for (int i = 0; i < kM; ++i) lsp[i] = src[i];
    return xvoStsOk;
}

}  // namespace

extern "C" {

XVOSC_API XvoStatus xvosLPCToLSP_G729_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSP, Xvo16s* pDstLSP) {
    return lpcToLsp(pSrcLPC, pSrcPrevLSP, pDstLSP, kLpcToLspG729);
}

XVOSC_API XvoStatus xvosLPCToLSP_G729A_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSP, Xvo16s* pDstLSP) {
    return lpcToLsp(pSrcLPC, pSrcPrevLSP, pDstLSP, kLpcToLspG729A);
}

XVOSC_API XvoStatus xvosLSPToLSF_G729_16s(const Xvo16s* pSrcLSP, Xvo16s* pDstLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcLSP, pDstLSF));
    ownLSPToLSF_16s(pSrcLSP, pDstLSF);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLSPToLSF_Norm_G729_16s(const Xvo16s* pSrcLSP, Xvo16s* pDstLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcLSP, pDstLSF));
    ownLSPToLSFNorm_16s(pSrcLSP, pDstLSF);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLSFToLSP_G729_16s(const Xvo16s* pSrcLSF, Xvo16s* pDstLSP) {
    XVO_CHECK(ownCheckPtrs(pSrcLSF, pDstLSP));
    return ownLSFToLSP_16s(pSrcLSF, pDstLSP);
}

XVOSC_API XvoStatus xvosLagWindow_G729_32s_I(Xvo32s* pSrcDst, int len) {
    XVO_CHECK(ownCheckPtrs(pSrcDst));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(len > 12, xvoStsRange);
    ownLagWindow_32s(pSrcDst, len);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLSFDecode_G729_16s(const Xvo16s* pSrcIndices, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcIndices, pSrcDstPrevFreq, pDstLSF));
    XVO_RETURN_IF(static_cast<uint16_t>(pSrcIndices[0]) > 3, xvoStsBadCodecParam);
    return ownLSFDecode_16s(pSrcIndices[0], pSrcIndices[1], pSrcIndices[2], pSrcIndices[3], pSrcDstPrevFreq, pDstLSF);
}

XVOSC_API XvoStatus xvosLSFDecodeErased_G729_16s(Xvo16s maIndex, Xvo16s* pSrcDstPrevFreq, const Xvo16s* pSrcLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcDstPrevFreq, pSrcLSF));
    XVO_RETURN_IF(static_cast<uint16_t>(maIndex) > 3, xvoStsBadCodecParam);
    ownLSFDecodeErased_16s(maIndex, pSrcDstPrevFreq, pSrcLSF);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLSFQuant_G729_16s(const Xvo16s* pSrcLSF, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstQLSF,
                                          Xvo16s* pDstIndices) {
    XVO_CHECK(ownCheckPtrs(pSrcLSF, pSrcDstPrevFreq, pDstQLSF, pDstIndices));
    int16_t idx[4];
    ownLSFQuantSearch_16s(pSrcLSF, pSrcDstPrevFreq, idx);
    for (int i = 0; i < 4; ++i) pDstIndices[i] = idx[i];
    return ownLSFDecode_16s(idx[0], idx[1], idx[2], idx[3], pSrcDstPrevFreq, pDstQLSF);
}

XVOSC_API XvoStatus xvosLSPQuant_G729_16s(const Xvo16s* pSrcLSP, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstQLSP,
                                          Xvo16s* pDstCode) {
    XVO_CHECK(ownCheckPtrs(pSrcLSP, pSrcDstPrevFreq, pDstQLSP, pDstCode));
    int16_t lsf[kM], qlsf[kM], idx[4];
    ownLSPToLSF_16s(pSrcLSP, lsf);
    ownLSFQuantSearch_16s(lsf, pSrcDstPrevFreq, idx);
    ownLSFDecode_16s(idx[0], idx[1], idx[2], idx[3], pSrcDstPrevFreq, qlsf);  // warnings are not reported here
    pDstCode[0] = static_cast<int16_t>((idx[0] << 7) | idx[1]);
    pDstCode[1] = static_cast<int16_t>((idx[2] << 5) | idx[3]);
    return ownLSFToLSP_16s(qlsf, pDstQLSP);
}

}  // extern "C"
