// G.723.1 kernels without golden files, checked against behaviour the code
// did not produce: the open-loop lag of clearly periodic signals, and the
// adaptive vector against a direct wide-arithmetic model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "g723/g723_internal.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace {

TEST(G723OpenLoopPitch, FindsThePeriodOfPeriodicSignals) {
    std::mt19937 rng(723);
    for (int period : {18, 23, 37, 58, 60, 71, 97, 120, 142}) {
        for (int amp : {100, 800, 2500}) {  // below the level where the 32-bit sums saturate
            std::uniform_int_distribution<int> d(-amp, amp), n(-amp / 50, amp / 50);
            std::vector<int> base(period);
            for (auto& v : base) v = d(rng);
            std::vector<Xvo16s> x(262);
            for (size_t i = 0; i < x.size(); ++i) x[i] = Xvo16s(std::clamp(base[i % period] + n(rng), -32768, 32767));
            Xvo16s lag = 0;
            ASSERT_EQ(xvosOpenLoopPitchSearch_G723_16s(x.data() + 142, &lag), xvoStsOk);
            EXPECT_EQ(lag, period) << "amplitude " << amp;
        }
    }
}

// Direct model: the excitation extended periodically past its end, each
// output 4 x sum(x w) over the five taps, saturated to 32 bits, then rounded
// to the high half with saturation.
std::vector<Xvo16s> modelAdaptive(const std::vector<Xvo16s>& hist, int lag, const int16_t* w) {
    std::vector<int> e(hist.begin(), hist.end());
    const int n0 = static_cast<int>(e.size());
    for (int i = 0; i < 62; ++i) e.push_back(e[n0 + i - lag]);
    std::vector<Xvo16s> out(60);
    for (int i = 0; i < 60; ++i) {
        int64_t s = 0;
        for (int j = 0; j < 5; ++j) s += int64_t(e[n0 - lag - 2 + i + j]) * w[j];
        s = std::clamp<int64_t>(4 * s, INT32_MIN, INT32_MAX);
        out[i] = Xvo16s(std::clamp<int64_t>((s + 0x8000) >> 16, -32768, 32767));
    }
    return out;
}

TEST(G723DecodeAdaptiveVector, MatchesDirectModel) {
    std::mt19937 rng(1723);
    for (int rate : {4, 2})
        for (int base : {18, 19, 40, 57, 58, 100, 143, 145})
            for (int li = 0; li < 4; ++li)
                for (int amp : {2000, 9000}) {
                    std::uniform_int_distribution<int> d(-amp, amp);
                    std::vector<Xvo16s> hist(160);
                    for (auto& v : hist) v = Xvo16s(d(rng));
                    const bool big = rate == 2 || base >= 58;
                    const int gi = std::uniform_int_distribution<int>(0, big ? 169 : 84)(rng);
                    const int16_t* w = (big ? xvo::g723::kAcbkGain170 : xvo::g723::kAcbkGain085) + 20 * gi;
                    Xvo16s out[60];
                    ASSERT_EQ(xvosDecodeAdaptiveVector_G723_16s(hist.data() + 160, out, Xvo16s(base), Xvo16s(li),
                                                                Xvo16s(gi), rate),
                              xvoStsOk);
                    const auto want = modelAdaptive(hist, base - 1 + li, w);
                    EXPECT_TRUE(std::equal(out, out + 60, want.begin())) << base << " " << li << " " << rate;
                }
}

}  // namespace

namespace {

// The correlation matrix written out as the reference's pointer walk fills
// it: diagonals as cumulative energies read backwards, cross blocks filled
// along their diagonals from the last element, 9 apart.
TEST(G723Toeplitz, MatchesPointerWalkModel) {
    std::mt19937 rng(5300);
    for (int amp : {50, 3000, 12000, 32767}) {
        std::uniform_int_distribution<int> d(-amp, amp);
        int16_t H[60];
        for (int i = 0; i < 60; ++i) H[i] = int16_t(d(rng) * std::max(0.05, 1.0 - i / 30.0));
        int64_t en = 0;
        for (int16_t v : H) en = std::min<int64_t>(en + 2 * int64_t(v) * v, INT32_MAX);
        int64_t h[64] = {};
        int k = 0;
        while (k < 31 && (en << (k + 1)) <= INT32_MAX && en > 0) ++k;  // norm_l
        for (int i = 0; i < 60; ++i)
            h[i + 4] = (en >> 16) > 32000 ? (H[i] >> 1) : std::clamp<int64_t>(int64_t(H[i]) << (k / 2), -32768, 32767);
        auto hi = [](int64_t s) { return int16_t(std::clamp<int64_t>(2 * s, INT32_MIN, INT32_MAX) >> 16); };
        int16_t want[416];
        // Diagonals: cumulative energy, the last position first.
        int64_t cor = 0;
        for (int i = 0; i < 8; ++i)
            for (int t = 3; t >= 0; --t) {
                cor += h[8 * i + 2 * (3 - t)] * h[8 * i + 2 * (3 - t)] + h[8 * i + 2 * (3 - t) + 1] * h[8 * i + 2 * (3 - t) + 1];
                want[8 * t + 7 - i] = hi(cor);
            }
        // Cross blocks: start offset 2, 4 or 6 and the four blocks they feed.
        int16_t* blk[6];
        for (int b = 0; b < 6; ++b) blk[b] = want + 32 + 64 * b;  // 01 02 03 12 13 23
        struct Walk { int off; int16_t* dst[4]; bool inf[4]; };
        const Walk walks[3] = {{2, {blk[5], blk[3], blk[0], blk[2]}, {false, false, false, true}},
                               {4, {blk[4], blk[1], blk[4], blk[1]}, {false, false, true, true}},
                               {6, {blk[2], blk[5], blk[3], blk[0]}, {false, true, true, true}}};
        for (const auto& w : walks)
            for (int kk = 0; kk < 8; ++kk) {
                const int sup = 63 - 8 * kk;  // inf positions run 62 - kk
                int64_t c = 0;
                int n = 0;
                for (int i = kk; i < 8; ++i) {
                    const int lastStep = i == 7;
                    for (int s = 0; s < 4; ++s) {
                        if (lastStep && s >= 4 - (w.off / 2)) break;
                        c += h[n] * h[n + 8 * kk + w.off], ++n;
                        c += h[n] * h[n + 8 * kk + w.off], ++n;
                        const int idx = (w.inf[s] ? (62 - kk) : sup) - 9 * (i - kk);
                        w.dst[s][idx] = hi(c);
                    }
                }
            }
        int16_t got[416];
        ASSERT_EQ(xvosToeplizMatrix_G723_16s(H, got), xvoStsOk);
        for (int i = 0; i < 416; ++i) ASSERT_EQ(got[i], want[i]) << "amp " << amp << " entry " << i;
        // Away from the scaling threshold the 32-bit form holds the same sums in full.
        int32_t wide[416];
        ASSERT_EQ(xvosToeplizMatrix_G723_16s32s(H, wide), xvoStsOk);
        for (int i = 0; i < 416; ++i) ASSERT_EQ(int16_t(wide[i] >> 16), want[i]) << "amp " << amp << " entry " << i;
        ASSERT_EQ(int64_t(wide[0]), [&] { int64_t s = 0; for (int n = 0; n < 64; ++n) s += 2 * h[n] * h[n]; return std::min<int64_t>(s, INT32_MAX); }());
    }
}

}  // namespace

// The vector dot product either declines or gives the reference's saturating chain exactly.
TEST(G723WideDot, DeclinesOrEqualsTheSaturatingChain) {
    using namespace xvo::fx;
    std::mt19937 rng(1723);
    int taken = 0;
    for (int c = 0; c < 20000; ++c) {
        const int n = 1 + int(rng() % 64), amp = c % 4 == 0 ? 32768 : int(1 + rng() % 12000);
        std::vector<int16_t> a(n), b(n);
        for (int j = 0; j < n; ++j) {
            a[j] = int16_t(std::clamp(int(rng() % (2 * amp + 1)) - amp, -32768, 32767));
            b[j] = int16_t(c % 97 == 0 ? -32768 : std::clamp(int(rng() % (2 * amp + 1)) - amp, -32768, 32767));
        }
        for (int k : {1, 2}) {
            int32_t want = 0, got = 0;
            for (int j = 0; j < n; ++j)
                want = k == 2 ? L_mac(want, a[j], b[j]) : L_add(want, L_shr(L_mult(a[j], b[j]), 1));
            if (xvo::g723::ownWideDot(a.data(), b.data(), n, k, &got)) {
                ++taken;
                ASSERT_EQ(got, want) << "case " << c << " k " << k;
            }
        }
    }
    EXPECT_GT(taken, 10000);
}
