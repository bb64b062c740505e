// G.729 Annex B SID quantiser and decoder against the reference golden
// vectors, and the properties the goldens do not spell out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "g729/g729_tables.h"
#include "vectors.h"
#include "xvosc.h"

using xvotest::as;

namespace {

TEST(G729AnnexBGolden, SidLsfDecode) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosLSFDecode_G729B_16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 1000u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        const auto idx = as<Xvo16s>(g.in_(row, "indices"));
        auto prev = as<Xvo16s>(g.in_(row, "prevFreq"));
        std::vector<Xvo16s> lsf(10);
        ASSERT_EQ(xvosLSFDecode_G729B_16s(idx.data(), prev.data(), lsf.data()), g.out_(row, "status")[0]) << "line " << r;
        ASSERT_EQ(lsf, as<Xvo16s>(g.out_(row, "lsf"))) << "line " << r;
        ASSERT_EQ(prev, as<Xvo16s>(g.out_(row, "prevFreq"))) << "line " << r;
    }
}

TEST(G729AnnexBGolden, SidLsfQuant) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosLSFQuant_G729B_16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 1000u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        const auto lsf = as<Xvo16s>(g.in_(row, "lsf"));
        auto prev = as<Xvo16s>(g.in_(row, "prevFreq"));
        std::vector<Xvo16s> q(10), idx(3);
        ASSERT_EQ(xvosLSFQuant_G729B_16s(lsf.data(), prev.data(), q.data(), idx.data()), g.out_(row, "status")[0])
            << "line " << r;
        ASSERT_EQ(idx, as<Xvo16s>(g.out_(row, "indices"))) << "line " << r;
        ASSERT_EQ(q, as<Xvo16s>(g.out_(row, "qlsf"))) << "line " << r;
        ASSERT_EQ(prev, as<Xvo16s>(g.out_(row, "prevFreq"))) << "line " << r;
    }
}

// The float forms on the golden quantiser inputs (Q13 scaled to radians):
// on the captured lines (the first 480; the synthetic ones saturate the
// fixed-point errors) they mostly pick the fixed-point indices, and decoding
// the golden indices gives the fixed-point LSF within rounding everywhere.
TEST(G729AnnexBGolden, FloatFormsFollowTheFixedPoint) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosLSFQuant_G729B_16s.txt");
    const auto g = xvotest::loadGolden(path);
    int same = 0;
    for (const auto& row : g.rows) {
        const auto lsf = as<Xvo16s>(g.in_(row, "lsf"));
        const auto prev = as<Xvo16s>(g.in_(row, "prevFreq"));
        std::vector<float> lf(10), pf(40), pf2(40), q(10), q2(10);
        for (int j = 0; j < 10; ++j) lf[j] = lsf[j] / 8192.0f;
        for (int j = 0; j < 40; ++j) pf[j] = pf2[j] = prev[j] / 8192.0f;
        Xvo16s idx[3];
        ASSERT_EQ(xvosLSFQuant_G729B_32f(lf.data(), pf.data(), q.data(), idx), xvoStsOk);
        const auto want = g.out_(row, "indices");
        if (&row - g.rows.data() < 480) same += idx[0] == want[0] && idx[1] == want[1] && idx[2] == want[2];
        const Xvo16s wi[3] = {static_cast<Xvo16s>(want[0]), static_cast<Xvo16s>(want[1]), static_cast<Xvo16s>(want[2])};
        ASSERT_EQ(xvosLSFDecode_G729B_32f(wi, pf2.data(), q2.data()), xvoStsOk);
        const auto qlsf = g.out_(row, "qlsf");
        for (int j = 0; j < 10; ++j) ASSERT_NEAR(q2[j], qlsf[j] / 8192.0f, 2e-3f);
        const auto pOut = g.out_(row, "prevFreq");
        for (int j = 0; j < 10; ++j) ASSERT_NEAR(pf2[j], pOut[j] / 8192.0f, 2e-3f);
    }
    EXPECT_GT(same, 480 * 95 / 100);
}

TEST(G729AnnexB, SidIndexZeroUsesTheMappedRowsAndShiftsTheMemory) {
    // (0, 0, 0): first-stage row 96, second-stage rows 31 (low half) and 16 (high half).
    using namespace xvo::g729;
    Xvo16s prev[40];
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j < 10; ++j) prev[k * 10 + j] = kFreqPrevReset[j];
    const Xvo16s idx[3] = {0, 0, 0};
    Xvo16s lsf[10];
    ASSERT_GE(xvosLSFDecode_G729B_16s(idx, prev, lsf), 0);
    for (int j = 0; j < 10; ++j) {
        const int want = kLspcb1[96][j] + kLspcb2[j < 5 ? 31 : 16][j];
        EXPECT_NEAR(prev[j], want, 40) << j;  // row 0 = the rearranged code vector
        EXPECT_EQ(prev[10 + j], kFreqPrevReset[j]);
    }
    EXPECT_EQ(xvosLSFDecode_G729B_16s(idx, prev, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvosLSFQuant_G729B_16s(lsf, prev, lsf, nullptr), xvoStsNullPtr);
}

// ---- analysis and comfort-noise kernels ------------------------------------

struct Lcg {
    uint32_t s;
    int next(int lo, int hi) {
        s = s * 1664525u + 1013904223u;
        return lo + static_cast<int>((s >> 8) % static_cast<uint32_t>(hi - lo + 1));
    }
};

struct Fnv {
    uint64_t h = 0xcbf29ce484222325ull;
    void add(int16_t w) {
        for (int b : {w & 0xff, (w >> 8) & 0xff}) h = (h ^ uint64_t(b)) * 0x100000001b3ull;
    }
    void add32(uint32_t w) { add(static_cast<int16_t>(w & 0xffff)), add(static_cast<int16_t>(w >> 16)); }
};

int16_t sat(int v) { return static_cast<int16_t>(std::clamp(v, -32768, 32767)); }

// Hashes of the ITU-T G.729 Annex B reference (Autocorr of order 12, then
// Levinson on it, one process keeping the Levinson memory; Calc_exc_rand)
// and of the floating-point Annex C+ calc_exc_rand, on generated inputs.
TEST(G729AnnexBReference, AnalysisAndComfortNoise) {
    Lcg g{7296};
    Fnv hAc;
    Xvo16s prevA[11] = {4096}, prevRc[2] = {0, 0};
    for (int r = 0; r < 300; ++r) {
        static const int amps[5] = {10, 300, 3000, 20000, 32767};
        const int amp = amps[g.next(0, 4)], P = g.next(2, 60), noise = amp / g.next(2, 200);
        int base[60];
        for (int i = 0; i < P; ++i) base[i] = g.next(-amp, amp);
        Xvo16s x[240];
        for (int i = 0; i < 240; ++i) x[i] = sat(base[i % P] + g.next(-noise, noise));
        Xvo32s ac[13];
        Xvo16s norm, A[11], rc[10] = {}, err = -1;
        ASSERT_EQ(xvosAutoCorr_G729B(x, ac, 12, &norm), xvoStsOk);
        ASSERT_EQ(xvosLevinsonDurbin_G729B(ac, prevA, prevRc, A, rc, &err), xvoStsOk);
        for (Xvo32s v : ac) hAc.add32(static_cast<uint32_t>(v));
        hAc.add(norm);
        for (Xvo16s v : A) hAc.add(v);
        for (Xvo16s v : rc) hAc.add(v);
        hAc.add(err);
    }
    EXPECT_EQ(hAc.h, 0x104dfdef40f2bb85ull);

    Fnv h16;
    for (int r = 0; r < 300; ++r) {
        const int gains[6] = {0, 1, 50, 1000, 4000, g.next(1, 8000)};
        const auto gain = static_cast<Xvo16s>(gains[g.next(0, 5)]);
        auto seed = static_cast<Xvo16s>(g.next(-32768, 32767));
        const int amp = std::array<int, 4>{0, 100, 3000, 20000}[g.next(0, 3)];
        Xvo16s exc[234], tam[4] = {};
        for (auto& v : exc) v = static_cast<Xvo16s>(g.next(-amp, amp));
        ASSERT_EQ(xvosRandomNoiseExcitation_G729B_16s(gain, &seed, exc, tam), xvoStsOk);
        h16.add(seed);
        for (int i = 154; i < 234; ++i) h16.add(exc[i]);
        for (Xvo16s v : tam) h16.add(v);
    }
    EXPECT_EQ(h16.h, 0xf1dfaac3e22a4c49ull);

    Fnv hf;
    for (int r = 0; r < 300; ++r) {
        const auto gain = static_cast<float>(g.next(0, 3000));
        auto seed = static_cast<Xvo16s>(g.next(-32768, 32767));
        const int amp = std::array<int, 3>{0, 10, 1000}[g.next(0, 2)];
        float exc[234], tam[4] = {};
        for (auto& v : exc) v = static_cast<float>(g.next(-amp, amp));
        ASSERT_EQ(xvosRandomNoiseExcitation_G729B_16s32f(gain, &seed, exc, tam), xvoStsOk);
        hf.add(seed);
        auto addF = [&](float v) {
            uint32_t b;
            std::memcpy(&b, &v, 4);
            hf.add32(b);
        };
        for (int i = 154; i < 234; ++i) addF(exc[i]);
        for (float v : tam) addF(v);
    }
    EXPECT_EQ(hf.h, 0x4f9737e3105b9172ull);
}

TEST(G729AnnexB, LevinsonKeepsThePreviousFilterWhenUnstable) {
    // A correlation sequence no stable filter has: the reference stops at the
    // fifth order (|k| = 32767) and keeps the previous filter.
    const int16_t rh[11] = {32767, 32000, 30000, 27000, 23000, 18000, 12000, 6000, 0, -6000, -12000};
    Xvo32s r[11];
    for (int i = 0; i < 11; ++i) r[i] = static_cast<Xvo32s>(static_cast<uint32_t>(static_cast<uint16_t>(rh[i])) << 16);
    Xvo16s prevA[11] = {4096, 100, -200}, prevRc[2] = {-1234, 567}, A[11], rc[10] = {}, err = -1;
    ASSERT_EQ(xvosLevinsonDurbin_G729B(r, prevA, prevRc, A, rc, &err), xvoStsOk);
    EXPECT_TRUE(std::equal(A, A + 11, prevA));
    const Xvo16s wantRc[10] = {-1234, 567, 4608, 17803, 18347, 32767, 0, 0, 0, 0};
    EXPECT_TRUE(std::equal(rc, rc + 10, wantRc));
    EXPECT_EQ(err, -1);
    EXPECT_EQ(prevRc[0], -1234);
    Xvo16s norm;
    EXPECT_EQ(xvosAutoCorr_G729B(rh, r, 0, &norm), xvoStsSize);
    EXPECT_EQ(xvosAutoCorr_G729B(rh, r, 13, &norm), xvoStsRange);
    EXPECT_EQ(xvosRandomNoiseExcitation_G729B_16s(1, nullptr, A, nullptr), xvoStsNullPtr);
}

}  // namespace
