// Packed correlation matrices of the weighted impulse response for the
// G.729 codebook searches (the reference steps Cor_h / cor_h).
//
// Entry (p, q) of the matrix, for pulse positions p and q, is the partial
// autocorrelation sum_{k=0}^{39-max(p,q)} h[k] h[k+|p-q|]. Every prefix of
// the lag-L sum is needed, so each lag is accumulated once, in ascending k
// (the reference's order, which matters only for saturation), and the
// prefixes are read out into the packed layout through a constant table.
#include <array>
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g729/fcb.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

/// Calls put(index, p, q) for every entry of the packed matrix.
template <typename Put>
constexpr void forEachEntry(Put put) {
    constexpr int diag[5] = {kR00, kR11, kR22, kR33, kR44};
    for (int t = 0; t < 5; ++t)
        for (int m = 0; m < kNbPos; ++m) put(diag[t] + m, 5 * m + t, 5 * m + t);
    struct Block { int off, ta, tb; };
    constexpr Block blocks[9] = {{kR01, 0, 1}, {kR02, 0, 2}, {kR03, 0, 3}, {kR04, 0, 4}, {kR12, 1, 2},
                                 {kR13, 1, 3}, {kR14, 1, 4}, {kR23, 2, 3}, {kR24, 2, 4}};
    for (const Block& b : blocks)
        for (int m = 0; m < kNbPos; ++m)
            for (int n = 0; n < kNbPos; ++n) put(b.off + m * kNbPos + n, 5 * m + b.ta, 5 * n + b.tb);
}

/// Offset in OwnCorrPrefixes::v (flattened) of every packed entry.
constexpr std::array<uint16_t, kMatrixSize> kEntryOffset = [] {
    std::array<uint16_t, kMatrixSize> t{};
    forEachEntry([&](int idx, int p, int q) {
        const int mx = p > q ? p : q, lag = p > q ? p - q : q - p;
        t[idx] = static_cast<uint16_t>((kSubfr - mx) * kSubfr + lag);
    });
    return t;
}();

}  // namespace

void ownCorrPrefixes_16s(const int16_t* H, OwnCorrPrefixes& pre) {
    // Scale h for precision: halve it when its energy is large, else shift it
    // left by half the normalisation count of the energy.
    int32_t energy = 0;
    for (int i = 0; i < kSubfr; ++i) energy = L_mac(energy, H[i], H[i]);
    int16_t h[kSubfr];
    if (extract_h(energy) > 32000) {
        for (int i = 0; i < kSubfr; ++i) h[i] = shr(H[i], 1);
    } else {
        const int k = norm_l(energy) >> 1;
        for (int i = 0; i < kSubfr; ++i) h[i] = shl(H[i], k);
    }
    // All lags advance together, one product each per step, in exact 64-bit
    // sums. They equal the saturating L_mac sums unless a prefix leaves the
    // 32-bit range or a product is -32768 * -32768 (which L_mult saturates);
    // only then are the sums redone the reference way.
    int64_t acc[kSubfr] = {};
    int64_t lo = 0, hi = 0;
    bool minus32768 = false;
    for (int16_t v : h) minus32768 |= v == MIN_16;
    for (int n = 0; n < kSubfr; ++n) {
        const int64_t hn = 2 * int64_t(h[n]);
        for (int lag = 0; lag < kSubfr - n; ++lag) {
            acc[lag] += hn * h[n + lag];
            lo = acc[lag] < lo ? acc[lag] : lo;
            hi = acc[lag] > hi ? acc[lag] : hi;
            pre.v[n + 1][lag] = static_cast<int32_t>(acc[lag]);
        }
    }
    if (lo < MIN_32 || hi > MAX_32 || minus32768) {
        for (int lag = 0; lag < kSubfr; ++lag) {
            int32_t cor = 0;
            for (int k = 0; k + lag < kSubfr; ++k) {
                cor = L_mac(cor, h[k], h[k + lag]);
                pre.v[k + 1][lag] = cor;
            }
        }
    }
}

void ownCorrPrefixes_32f(const float* h, OwnCorrPrefixesF& pre) {
    for (int lag = 0; lag < kSubfr; ++lag) {
        float cor = 0.0f;
        for (int k = 0; k + lag < kSubfr; ++k) {
            cor += h[k] * h[k + lag];
            pre.v[lag][k + 1] = cor;
        }
    }
}

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosToeplizMatrix_G729_16s(const Xvo16s* pSrcImpulseResponse, Xvo16s* pDstMatrix) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcImpulseResponse, pDstMatrix));
    OwnCorrPrefixes pre;
    ownCorrPrefixes_16s(pSrcImpulseResponse, pre);
    const int32_t* flat = &pre.v[0][0];
    for (int i = 0; i < kMatrixSize; ++i) pDstMatrix[i] = xvo::fx::extract_h(flat[kEntryOffset[i]]);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosToeplizMatrix_G729_16s32s(const Xvo16s* pSrcImpulseResponse, Xvo32s* pDstMatrix) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcImpulseResponse, pDstMatrix));
    OwnCorrPrefixes pre;
    ownCorrPrefixes_16s(pSrcImpulseResponse, pre);
    const int32_t* flat = &pre.v[0][0];
    for (int i = 0; i < kMatrixSize; ++i) pDstMatrix[i] = flat[kEntryOffset[i]] >> 1;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosToeplizMatrix_G729_32f(const Xvo32f* pSrcImpulseResponse, Xvo32f* pDstMatrix) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcImpulseResponse, pDstMatrix));
    OwnCorrPrefixesF pre;
    ownCorrPrefixes_32f(pSrcImpulseResponse, pre);
    forEachEntry([&](int idx, int p, int q) { pDstMatrix[idx] = pre.at(p, q); });
    return xvoStsOk;
}

}  // extern "C"
