// The GSM-AMR pitch-search lag kernel's vector forms give the scalar form's results, on quiet,
// loud and full-scale excitations (where the correlation falls back and the updates saturate).
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "amr/gsmamr_simd.h"

using namespace xvo;
using namespace xvo::gsmamr;

TEST(GsmAmrSimd, LagKernelTwinsEqualScalar) {
    const auto& ref = ownGsmAmrKernelsFor(OwnCpuLevel::Scalar);
    std::mt19937 rng(26073);
    int levels = 0;
    for (auto level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        ++levels;
        const auto& k = ownGsmAmrKernelsFor(level);
        for (int n = 0; n < 600; ++n) {
            const int amp = n < 200 ? 500 : n < 400 ? 8000 : 32768;
            auto r16 = [&](int a) { return int16_t(std::clamp(int(rng() % (2 * a + 1)) - a, -32768, 32767)); };
            std::array<int16_t, 194> exc;
            std::array<int16_t, 40> xn, h, excfA, excfB;
            for (auto& v : exc) v = r16(amp);
            for (auto& v : xn) v = r16(amp);
            for (auto& v : h) v = r16(n % 3 ? 4096 : 32768);
            for (auto& v : excfA) v = r16(amp);
            excfB = excfA;
            const int tMin = 18 + int(rng() % 100), nLags = 1 + int(rng() % 28), hFac = n % 2 ? 3 : 1;
            const int scaling = hFac == 3 ? 0 : 2;
            std::array<int32_t, 32> eA{}, dA{}, eB{}, dB{};
            ref.acbLags(exc.data() + 154, xn.data(), h.data(), tMin, nLags, hFac, scaling, excfA.data(), eA.data(), dA.data());
            k.acbLags(exc.data() + 154, xn.data(), h.data(), tMin, nLags, hFac, scaling, excfB.data(), eB.data(), dB.data());
            ASSERT_EQ(eA, eB) << ownCpuLevelName(level) << " case " << n;
            ASSERT_EQ(dA, dB) << ownCpuLevelName(level) << " case " << n;
            ASSERT_EQ(excfA, excfB) << ownCpuLevelName(level) << " case " << n;
        }
    }
    if (levels == 0) GTEST_SKIP() << "SKIPPED: no vector level on this CPU";
}

// Correlation-matrix twins on responses from tiny to the largest energy the kernel accepts
// (a lone full-scale spike, and random ones scaled to the limit), every sign pattern random.
TEST(GsmAmrSimd, CorHTwinsEqualScalar) {
    const auto& ref = ownGsmAmrKernelsFor(OwnCpuLevel::Scalar);
    std::mt19937 rng(26074);
    int levels = 0;
    for (auto level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        ++levels;
        const auto& k = ownGsmAmrKernelsFor(level);
        for (int n = 0; n < 300; ++n) {
            std::array<int16_t, 40> h2{}, sign;
            for (auto& s : sign) s = rng() % 2 ? 32767 : -32767;
            if (n < 2) {
                h2[0] = n == 0 ? 32767 : -32767;
            } else {
                const int amp = (1 + int(rng() % 32768)) >> (n % 4);
                for (auto& v : h2) v = int16_t(int(rng() % (2 * amp + 1)) - amp);
                int64_t e = 0;
                for (auto v : h2) e += int32_t(v) * v;
                // Scale down to the largest energy the kernel accepts.
                while (2 * e + 0x8000 > INT32_MAX) {
                    e = 0;
                    for (auto& v : h2) v = int16_t(v / 2), e += int32_t(v) * v;
                }
            }
            int16_t rrA[40][40], rrB[40][40];
            ref.corH(h2.data(), sign.data(), rrA);
            k.corH(h2.data(), sign.data(), rrB);
            for (int i = 0; i < 40; ++i)
                for (int j = 0; j < 40; ++j)
                    ASSERT_EQ(rrA[i][j], rrB[i][j]) << ownCpuLevelName(level) << " case " << n << " at " << i << "," << j;
        }
    }
    if (levels == 0) GTEST_SKIP() << "SKIPPED: no vector level on this CPU";
}

// Pair-search twins: 8 or 10 candidates a side, energies from small to the 32-bit edge (where
// some alp16 turn non-positive and the vector form hands over), many equal ratios from few
// distinct values.
TEST(GsmAmrSimd, PairSearchTwinsEqualScalar) {
    const auto& ref = ownGsmAmrKernelsFor(OwnCpuLevel::Scalar);
    std::mt19937 rng(26075);
    int levels = 0;
    for (auto level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        ++levels;
        const auto& k = ownGsmAmrKernelsFor(level);
        for (int n = 0; n < 2000; ++n) {
            const int na = n % 2 ? 8 : 10, nb = n % 3 ? 8 : 10, distinct = n % 4 == 0 ? 3 : 30000;
            int32_t psA[16], alpA[16], dnB[16] = {}, rvB[16] = {};
            int16_t rAB[16][16] = {};
            for (int a = 0; a < na; ++a) psA[a] = int(rng() % distinct) % 16000;
            for (int b = 0; b < nb; ++b) dnB[b] = int(rng() % distinct) % 16000;
            const int32_t w = 2 * 4096;
            const int64_t span = n % 5 == 0 ? 30000 : 1 << 27;  // alp16 near zero, or large
            for (int a = 0; a < na; ++a) alpA[a] = int32_t(int64_t(rng() % span) + (n % 5 == 0 ? -20000 : 1 << 29));
            for (int b = 0; b < nb; ++b) rvB[b] = int32_t(int64_t(rng() % span) - span / 2);
            for (int a = 0; a < na; ++a)
                for (int b = 0; b < nb; ++b) rAB[a][b] = int16_t(int(rng() % distinct) % 32768 - 16384);
            const OwnPairBest x = ref.pairSearch(na, nb, psA, alpA, dnB, rvB, rAB, n % 5 == 0 ? 0 : w);
            const OwnPairBest y = k.pairSearch(na, nb, psA, alpA, dnB, rvB, rAB, n % 5 == 0 ? 0 : w);
            ASSERT_TRUE(x.sq == y.sq && x.alp == y.alp && x.ps == y.ps && x.a == y.a && x.b == y.b)
                << ownCpuLevelName(level) << " case " << n;
        }
    }
    if (levels == 0) GTEST_SKIP() << "SKIPPED: no vector level on this CPU";
}
