// G.729 postfilter stages against the ITU-T reference programs: the stages
// run as the reference decoder chains them (pst_ltp, calc_st_filt with
// 1/A(z/0.7), filt_mu; Annex A pit_pst_filt) on periodic residuals and the
// captured LPC of the G.729 golden set, and the outputs must hash to what
// the reference gives on the same inputs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "vectors.h"
#include "xvosc.h"

namespace {

struct Lcg {
    uint32_t s;
    int next(int lo, int hi) {
        s = s * 1664525u + 1013904223u;
        return lo + static_cast<int>((s >> 8) % static_cast<uint32_t>(hi - lo + 1));
    }
    /// A residual repeating a random period P with a little noise.
    std::vector<Xvo16s> residual(int n, int P) {
        static const int amps[5] = {50, 500, 3000, 12000, 30000};
        const int amp = amps[next(0, 4)], noise = amp / next(2, 40);
        std::vector<int> base(P);
        for (auto& v : base) v = next(-amp, amp);
        std::vector<Xvo16s> x(n);
        for (int i = 0; i < n; ++i) x[i] = static_cast<Xvo16s>(std::clamp(base[i % P] + next(-noise, noise), -32768, 32767));
        return x;
    }
};

struct Fnv {
    uint64_t h = 0xcbf29ce484222325ull;
    void add(int16_t w) {
        for (int b : {w & 0xff, (w >> 8) & 0xff}) h = (h ^ uint64_t(b)) * 0x100000001b3ull;
    }
    template <typename C>
    void addAll(const C& c) {
        for (auto v : c) add(static_cast<int16_t>(v));
    }
};

TEST(G729PostfilterReference, StagesMatchTheReference) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosLPCToLSP_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 400u);
    Lcg lcg{7295};
    Fnv hash;
    int active = 0;
    for (int r = 0; r < 400; ++r) {
        const auto t0 = static_cast<Xvo16s>(lcg.next(20, 143));
        const auto res = lcg.residual(192, std::max(2, t0 + lcg.next(-1, 2)));
        Xvo16s mem[10];
        for (auto& v : mem) v = static_cast<Xvo16s>(lcg.next(-3000, 3000));
        const auto lpc = xvotest::as<Xvo16s>(g.in_(g.rows[r], "lpc"));
        Xvo16s ltp[40], vo, ltpB[40], voB, st[41], par, tilt[40];
        ASSERT_EQ(xvosLongTermPostFilter_G729_16s(t0, res.data(), ltp, &vo), xvoStsOk);
        ASSERT_EQ(xvosLongTermPostFilter_G729B_16s(t0, res.data(), ltpB, &voB, 1), xvoStsOk);
        ASSERT_TRUE(std::equal(ltp, ltp + 40, ltpB) && vo == voB);
        active += vo != 0;
        st[0] = mem[9];
        ASSERT_EQ(xvosShortTermPostFilter_G729_16s(lpc.data(), ltp, mem, &par, st + 1), xvoStsOk);
        ASSERT_EQ(xvosTiltCompensation_G729_16s(par, st, tilt), xvoStsOk);
        hash.add(vo), hash.addAll(ltp), hash.add(par), hash.addAll(std::vector<Xvo16s>(st + 1, st + 41));
        hash.addAll(mem), hash.addAll(tilt);
    }
    EXPECT_EQ(hash.h, 0x133d15055ca7f2baull);
    EXPECT_GT(active, 300);
    Fnv hashA;
    for (int r = 0; r < 400; ++r) {
        const auto T = static_cast<Xvo16s>(lcg.next(20, 146));
        const auto res = lcg.residual(183, std::max(2, T + lcg.next(-2, 3)));
        Xvo16s out[40];
        ASSERT_EQ(xvosLongTermPostFilter_G729A_16s(T, res.data(), out), xvoStsOk);
        hashA.addAll(out);
    }
    EXPECT_EQ(hashA.h, 0xe5b238712381952bull);
}

TEST(G729Postfilter, FrameTypeRangesAndFloatSynthesis) {
    std::vector<Xvo16s> res(192);
    for (int i = 0; i < 192; ++i) res[i] = static_cast<Xvo16s>((i % 50) * 300 - 7000);
    Xvo16s out[40], vo = -1;
    ASSERT_EQ(xvosLongTermPostFilter_G729B_16s(50, res.data(), out, &vo, 0), xvoStsOk);  // SID: copy
    EXPECT_EQ(vo, 0);
    EXPECT_TRUE(std::equal(out, out + 40, res.begin() + 152));
    EXPECT_EQ(xvosLongTermPostFilter_G729_16s(19, res.data(), out, &vo), xvoStsRange);
    EXPECT_EQ(xvosLongTermPostFilter_G729_16s(144, res.data(), out, &vo), xvoStsRange);
    EXPECT_EQ(xvosLongTermPostFilter_G729A_16s(2, res.data(), out), xvoStsRange);
    EXPECT_EQ(xvosLongTermPostFilter_G729A_16s(50, nullptr, out), xvoStsNullPtr);
    // 1/(1 - 0.5 z^-1) on an impulse gives 0.5^n; the memory keeps the last 10 outputs.
    float a[11] = {1.0f, -0.5f}, x[12] = {1.0f}, y[12], mem[10] = {};
    ASSERT_EQ(xvosSynthesisFilter_G729_32f(a, x, y, 12, mem), xvoStsOk);
    for (int n = 0; n < 12; ++n) EXPECT_FLOAT_EQ(y[n], std::ldexp(1.0f, -n));
    EXPECT_FLOAT_EQ(mem[9], y[11]);
    EXPECT_EQ(xvosSynthesisFilter_G729_32f(a, x, y, 0, mem), xvoStsSize);
}

}  // namespace
