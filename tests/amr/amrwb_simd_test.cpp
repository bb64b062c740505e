// The AMR-WB vector kernels give the scalar kernels' results: codebook distances on random and
// extreme residuals (where the reference sums saturate), and open-loop correlations on inputs
// inside the bound the caller checks.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "amr/amrwb_simd.h"
#include "amr/amrwb_tables.h"

using namespace xvo;
using namespace xvo::amrwb;

TEST(AmrwbSimd, TwinsEqualScalar) {
    const auto& ref = ownAmrwbKernelsFor(OwnCpuLevel::Scalar);
    const OwnVqPairs* books[] = {&kDico1IsfP,  &kDico2IsfP,     &kDico21IsfP,    &kDico22IsfP,   &kDico23IsfP,
                                 &kDico24IsfP, &kDico25IsfP,    &kDico21Isf36bP, &kDico22Isf36bP, &kDico23Isf36bP};
    std::mt19937 rng(26173);
    int levels = 0;
    for (auto level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        ++levels;
        const auto& k = ownAmrwbKernelsFor(level);
        for (int n = 0; n < 300; ++n) {
            const int spread = n < 100 ? 2000 : n < 200 ? 20000 : 32768;
            int16_t x[10];
            for (auto& v : x) v = int16_t(std::clamp<int>(int(rng() % (2 * spread + 1)) - spread, -32768, 32767));
            if (n % 50 == 0) std::fill(std::begin(x), std::end(x), int16_t(-32768));
            for (const OwnVqPairs* cb : books) {
                uint32_t xp[5];
                ownPackPairs(x, 2 * cb->pairs, xp);
                std::vector<int32_t> a(cb->rows), b(cb->rows);
                ref.vqDist(xp, *cb, a.data());
                k.vqDist(xp, *cb, b.data());
                ASSERT_EQ(a, b) << ownCpuLevelName(level) << " case " << n;
            }
            // Correlations: len 64 or 128, samples inside 2 len max^2 < 2^31.
            const int len = n % 2 ? 64 : 128, peak = len == 64 ? 4095 : 2895;
            std::vector<int16_t> w(256 + len);
            for (auto& v : w) v = int16_t(int(rng() % (2 * peak + 1)) - peak);
            std::vector<int32_t> ca(200), cb2(200);
            const int lmin = 1 + n % 20, lmax = std::min(256, lmin + 1 + int(rng() % 198));
            ref.olCorr(w.data() + 256, lmin, lmax, len, ca.data());
            k.olCorr(w.data() + 256, lmin, lmax, len, cb2.data());
            ASSERT_EQ(ca, cb2) << ownCpuLevelName(level) << " case " << n;
        }
    }
    if (levels == 0) GTEST_SKIP() << "SKIPPED: no vector level on this CPU";
}
