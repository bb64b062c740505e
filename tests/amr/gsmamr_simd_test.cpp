// The GSM-AMR vector kernels give their scalar forms' results: the pitch-search lag kernel on
// quiet, loud and full-scale excitations (where the correlation falls back and the updates
// saturate), the correlation matrix up to the largest energy it accepts, and the pair search with
// many equal ratios and with energies rounding to <= 0 (where the vector form hands over), and
// the FFT stages up to the largest input they accept, and the VAD filter bank's first stages on
// full-scale inputs and memories (where they saturate).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <climits>
#include <random>
#include <string>

#include "amr/gsmamr_simd.h"

using namespace xvo;
using namespace xvo::gsmamr;

namespace {

using Kernels = OwnGsmAmrKernels;

void lagCase(const Kernels& ref, const Kernels& k, std::mt19937& rng, int n) {
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
    ASSERT_EQ(eA, eB);
    ASSERT_EQ(dA, dB);
    ASSERT_EQ(excfA, excfB);
}

void corHCase(const Kernels& ref, const Kernels& k, std::mt19937& rng, int n) {
    std::array<int16_t, 40> h2{}, sign;
    for (auto& s : sign) s = rng() % 2 ? 32767 : -32767;
    if (n < 2) {
        h2[0] = n == 0 ? 32767 : -32767;  // a lone full-scale spike: the largest energy accepted
    } else {
        const int amp = (1 + int(rng() % 32768)) >> (n % 4);
        for (auto& v : h2) v = int16_t(int(rng() % (2 * amp + 1)) - amp);
        int64_t e = 0;
        for (auto v : h2) e += int32_t(v) * v;
        while (2 * e + 0x8000 > INT32_MAX) {  // halve down to the accepted energy
            e = 0;
            for (auto& v : h2) v = int16_t(v / 2), e += int32_t(v) * v;
        }
    }
    int16_t rrA[40][40], rrB[40][40];
    ref.corH(h2.data(), sign.data(), rrA);
    k.corH(h2.data(), sign.data(), rrB);
    for (int i = 0; i < 40; ++i)
        for (int j = 0; j < 40; ++j) ASSERT_EQ(rrA[i][j], rrB[i][j]) << i << "," << j;
}

void pairCase(const Kernels& ref, const Kernels& k, std::mt19937& rng, int n) {
    const int na = n % 2 ? 8 : 10, nb = n % 3 ? 8 : 10, distinct = n % 4 == 0 ? 3 : 30000;
    const bool low = n % 5 == 0;  // energies around zero
    int32_t psA[16], alpA[16], dnB[16] = {}, rvB[16] = {};
    int16_t rAB[16][16] = {};
    const int64_t span = low ? 30000 : 1 << 27;
    for (int a = 0; a < na; ++a) {
        psA[a] = int(rng() % distinct) % 16000;
        alpA[a] = int32_t(int64_t(rng() % span) + (low ? -20000 : 1 << 29));
        for (int b = 0; b < nb; ++b) rAB[a][b] = int16_t(int(rng() % distinct) % 32768 - 16384);
    }
    for (int b = 0; b < nb; ++b) dnB[b] = int(rng() % distinct) % 16000, rvB[b] = int32_t(int64_t(rng() % span) - span / 2);
    const int32_t w = low ? 0 : 2 * 4096;
    const OwnPairBest x = ref.pairSearch(na, nb, psA, alpA, dnB, rvB, rAB, w);
    const OwnPairBest y = k.pairSearch(na, nb, psA, alpA, dnB, rvB, rAB, w);
    ASSERT_TRUE(x.sq == y.sq && x.alp == y.alp && x.ps == y.ps && x.a == y.a && x.b == y.b);
}

void fftCase(const Kernels& ref, const Kernels& k, std::mt19937& rng, int n) {
    // cos and -sin of 2 pi k / 128 in Q15 from a rotation in doubles: any table gives the same
    // check, as long as both forms read it and -32768 appears.
    int16_t phs[128];
    for (int i = 0; i < 64; ++i) {
        phs[2 * i] = int16_t(std::lround(std::min(32767.0, 32768 * std::cos(6.283185307179586 * i / 128))));
        phs[2 * i + 1] = int16_t(std::lround(std::max(-32768.0, -32768 * std::sin(6.283185307179586 * i / 128))));
    }
    const int amp = n % 3 == 0 ? 13499 : 1 + int(rng() % 13499);
    std::array<int16_t, 128> a, b;
    for (auto& v : a) v = n % 3 == 0 ? int16_t(rng() % 2 ? amp : -amp) : int16_t(int(rng() % (2 * amp + 1)) - amp);
    b = a;
    ref.fftStage(a.data(), n % 6, phs);
    k.fftStage(b.data(), n % 6, phs);
    ASSERT_EQ(a, b);
}

void vadBankCase(const Kernels& ref, const Kernels& k, std::mt19937& rng, int n) {
    const int amp = n % 3 == 0 ? 32768 : n % 3 == 1 ? 3000 : 1 + int(rng() % 32768);
    auto r16 = [&](int a) { return int16_t(std::clamp(int(rng() % (2 * a + 1)) - a, -32768, 32767)); };
    std::array<int16_t, 160> in, bA, bB;
    int16_t dA[3][2], dB[3][2];
    for (auto& v : in) v = n % 7 == 0 ? int16_t(rng() % 2 ? 32767 : -32768) : r16(amp);
    for (auto& r : dA)
        for (auto& v : r) v = r16(n % 2 ? 32768 : 2000);
    std::memcpy(dB, dA, sizeof dA);
    ref.vadBank5(in.data(), bA.data(), dA);
    k.vadBank5(in.data(), bB.data(), dB);
    ASSERT_EQ(bA, bB);
    ASSERT_EQ(0, std::memcmp(dA, dB, sizeof dA));
    // The third stage on the raw input (full scale included) with the first memories.
    int16_t mA[3] = {dA[0][0], dA[1][1], dA[2][0]}, mB[3] = {mA[0], mA[1], mA[2]};
    bA = in, bB = in;
    ref.vadBank3(bA.data(), mA);
    k.vadBank3(bB.data(), mB);
    ASSERT_EQ(bA, bB);
    ASSERT_EQ(0, std::memcmp(mA, mB, sizeof mA));
}

}  // namespace

TEST(GsmAmrSimd, TwinsEqualScalar) {
    struct Case {
        const char* name;
        void (*run)(const Kernels&, const Kernels&, std::mt19937&, int);
        int count;
    };
    const Case cases[] = {{"acbLags", lagCase, 600}, {"corH", corHCase, 300}, {"pairSearch", pairCase, 2000},
                           {"fftStage", fftCase, 600}, {"vadBank5", vadBankCase, 400}};
    const auto& ref = ownGsmAmrKernelsFor(OwnCpuLevel::Scalar);
    int levels = 0;
    for (auto level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        ++levels;
        for (const Case& c : cases) {
            std::mt19937 rng(26073);
            for (int n = 0; n < c.count; ++n) {
                SCOPED_TRACE(std::string(ownCpuLevelName(level)) + " " + c.name + " case " + std::to_string(n));
                c.run(ref, ownGsmAmrKernelsFor(level), rng, n);
                if (HasFatalFailure()) return;
            }
        }
    }
    if (levels == 0) GTEST_SKIP() << "SKIPPED: no vector level on this CPU";
}
