// The GSM-AMR pitch gain against a plain model of its arithmetic written in
// 64-bit integers (no golden file covers it): speech-like, loud (saturating
// energy) and negative-correlation subframes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

#include "xvosc.h"

namespace {

struct Dot {
    int v, e;
};

// 1 + 2 sum a b accumulated with saturation at every term, as a 32-bit accumulator does; any
// saturation on the way starts a second pass with the operands divided by `div` and 4.
Dot model(const int16_t* a, const int16_t* b, int div, int fix, bool& sat) {
    auto pass = [&](int da, int db, bool& flag) {
        int64_t s = 1;
        flag = false;
        for (int i = 0; i < 40; ++i) {
            s += 2LL * (a[i] >> da) * (b[i] >> db);
            if (s > INT32_MAX || s < INT32_MIN) flag = true, s = std::clamp<int64_t>(s, INT32_MIN, INT32_MAX);
        }
        return s;
    };
    bool again;
    int64_t s = pass(0, 0, sat);
    if (sat) s = pass(div == 4 ? 2 : 0, 2, again);
    int e = 0;
    while (e < 31 && (s << e) < (1LL << 30) && (s << e) >= -(1LL << 30)) ++e;
    const int64_t n = s << e;
    const int v = static_cast<int>(std::min<int64_t>((n + 0x8000) >> 16, 32767));
    return {v, e - (sat ? fix : 0)};
}

}  // namespace

TEST(GsmAmrPitchGain, EqualsAPlainModel) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 3000; ++trial) {
        const int amp = trial % 3 == 0 ? 32767 : trial % 3 == 1 ? 3000 : 300;
        std::uniform_int_distribution<int> d(-amp, amp);
        int16_t xn[40], y1[40];
        const double rho = (trial % 7) / 3.0 - 1.0;  // correlation from -1 to 1
        for (int i = 0; i < 40; ++i) {
            y1[i] = static_cast<int16_t>(d(rng));
            xn[i] = static_cast<int16_t>(std::clamp<int>(static_cast<int>(rho * y1[i]) + d(rng) / 4, -32768, 32767));
        }
        bool s1, s2;
        const Dot yy = model(y1, y1, 4, 4, s1), xy = model(xn, y1, 1, 2, s2);
        int want = 0;
        if (xy.v >= 4) {
            const int q = static_cast<int>((static_cast<int64_t>(xy.v >> 1) << 15) / yy.v);
            const int sh = xy.e - yy.e;
            want = sh >= 0 ? q >> std::min(sh, 15) : std::min(q << std::min(-sh, 15), 32767);
            want = std::min(want, 19661);
        }
        int16_t coeff[4], gain = -1, gain2 = -1;
        ASSERT_EQ(xvosAdaptiveCodebookGainCoeffs_GSMAMR_16s(xn, y1, coeff, &gain), xvoStsOk);
        ASSERT_EQ(xvosAdaptiveCodebookGain_GSMAMR_16s(xn, y1, &gain2), xvoStsOk);
        ASSERT_EQ(gain, want) << "trial " << trial;
        ASSERT_EQ(gain2, want);
        const int16_t wantCoeff[4] = {int16_t(yy.v), int16_t(15 - yy.e), int16_t(xy.v), int16_t(15 - xy.e)};
        ASSERT_TRUE(std::equal(coeff, coeff + 4, wantCoeff)) << "trial " << trial;
    }
}
