// G.723.1 kernels without golden files, checked against behaviour the code
// did not produce: the open-loop lag of clearly periodic signals, and the
// adaptive vector against a direct wide-arithmetic model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

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
