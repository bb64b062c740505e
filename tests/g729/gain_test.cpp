// G.729 gain decoding and gain control against the reference golden vectors,
// plus the edge cases the goldens do not pin down.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "g729/excitation_tables.h"
#include "g729/g729_tables.h"
#include "vectors.h"
#include "xvosc.h"

using xvotest::as;

namespace {

std::vector<int64_t> asRow(std::initializer_list<std::span<const int64_t>> parts) {
    std::vector<int64_t> v;
    for (auto p : parts) v.insert(v.end(), p.begin(), p.end());
    return v;
}

/// Replays a DecodeGain golden; `call` gets (row, pastEnergy, indexOrNull, gain).
template <typename Call>
void replayDecodeGain(const std::string& file, Call call) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/" + file);
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 1000u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        auto past = as<Xvo16s>(g.in_(row, "pastEnergy"));
        auto idx = as<Xvo16s>(g.in_(row, "gainIndex"));
        auto gain = as<Xvo16s>(g.in_(row, "gain"));
        const bool erased = g.in_(row, "erased")[0] != 0;
        const XvoStatus st = call(g, row, past.data(), erased ? nullptr : idx.data(), gain.data());
        const std::vector<int64_t> got = {st, past[0], past[1], past[2], past[3], gain[0], gain[1]};
        ASSERT_EQ(got, asRow({g.out_(row, "status"), g.out_(row, "pastEnergy"), g.out_(row, "gain")})) << "line " << r;
    }
}

TEST(G729GainGolden, DecodeGain) {
    replayDecodeGain("xvosDecodeGain_G729_16s.txt", [](const auto& g, const auto& row, Xvo16s* past, const Xvo16s* idx,
                                                        Xvo16s* gain) {
        return xvosDecodeGain_G729_16s(static_cast<Xvo32s>(g.in_(row, "energy")[0]), past, idx, gain);
    });
}

TEST(G729GainGolden, DecodeGain6k4) {
    replayDecodeGain("xvosDecodeGain_G729I_16s.txt", [](const auto& g, const auto& row, Xvo16s* past, const Xvo16s* idx,
                                                         Xvo16s* gain) {
        return xvosDecodeGain_G729I_16s(static_cast<Xvo32s>(g.in_(row, "energy")[0]),
                                        static_cast<Xvo16s>(g.in_(row, "valAttenuation")[0]), past, idx, gain);
    });
}

template <typename Fn>
void replayGainControl(const std::string& file, Fn fn) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/" + file);
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 1000u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        const auto src = as<Xvo16s>(g.in_(row, "src"));
        auto dst = as<Xvo16s>(g.in_(row, "srcDst"));
        Xvo16s gain = static_cast<Xvo16s>(g.in_(row, "gain")[0]);
        ASSERT_EQ(fn(src.data(), dst.data(), &gain), g.out_(row, "status")[0]) << "line " << r;
        ASSERT_EQ(dst, as<Xvo16s>(g.out_(row, "srcDst"))) << "line " << r;
        ASSERT_EQ(gain, g.out_(row, "gain")[0]) << "line " << r;
    }
}

TEST(G729GainGolden, GainControl) { replayGainControl("xvosGainControl_G729_16s_I.txt", xvosGainControl_G729_16s_I); }

TEST(G729GainGolden, GainControlAnnexA) {
    replayGainControl("xvosGainControl_G729A_16s_I.txt", xvosGainControl_G729A_16s_I);
}

TEST(G729Gain, ErasureAndMaskingEdges) {
    // A pitch gain of 32767 on erasure becomes (32767*29491)>>15 = 29490.
    Xvo16s past[4] = {-14336, -14336, -14336, -14336}, gain[2] = {32767, 1000};
    ASSERT_EQ(xvosDecodeGain_G729_16s(0, past, nullptr, gain), xvoStsOk);
    EXPECT_EQ(gain[0], 29490);
    EXPECT_EQ(gain[1], 979);
    EXPECT_EQ(past[0], -14336);  // the floor
    // GA = 9 decodes as GA = 1 (masking).
    Xvo16s p1[4] = {0, 0, 0, 0}, p2[4] = {0, 0, 0, 0}, g1[2], g2[2];
    const Xvo16s i1[2] = {9, 20}, i2[2] = {1, 4};
    ASSERT_EQ(xvosDecodeGain_G729_16s(1 << 20, p1, i1, g1), xvoStsOk);
    ASSERT_EQ(xvosDecodeGain_G729_16s(1 << 20, p2, i2, g2), xvoStsOk);
    EXPECT_EQ(g1[0], g2[0]);
    EXPECT_EQ(g1[1], g2[1]);
    EXPECT_EQ(xvosDecodeGain_G729_16s(0, nullptr, i1, g1), xvoStsNullPtr);
    EXPECT_EQ(xvosDecodeGain_G729I_16s(0, 0, p1, i1, nullptr), xvoStsNullPtr);
}

TEST(G729Gain, GainControlZeroSignals) {
    // All-zero input: g0 = 0, the gain decays by 0.9875 per sample.
    Xvo16s zero[40] = {}, sig[40];
    for (int i = 0; i < 40; ++i) sig[i] = static_cast<Xvo16s>(1000 - 50 * i);
    Xvo16s gain = 16384;
    ASSERT_EQ(xvosGainControl_G729_16s_I(zero, sig, &gain), xvoStsOk);
    EXPECT_LT(gain, 16384 * 0.62);
    // All-zero output with a live input: gain 0, signal untouched.
    Xvo16s out[40] = {};
    gain = 12345;
    ASSERT_EQ(xvosGainControl_G729_16s_I(sig, out, &gain), xvoStsOk);
    EXPECT_EQ(gain, 0);
    gain = 4096;
    ASSERT_EQ(xvosGainControl_G729A_16s_I(sig, out, &gain), xvoStsOk);
    EXPECT_EQ(gain, 0);
    // The float form: equal input and output keep a unit gain.
    float a[40], b[40], gf = 1.0f;
    for (int i = 0; i < 40; ++i) a[i] = b[i] = static_cast<float>(sig[i]);
    ASSERT_EQ(xvosGainControl_G729_32f_I(a, b, &gf), xvoStsOk);
    EXPECT_NEAR(gf, 1.0f, 1e-5f);
    EXPECT_NEAR(b[7], a[7], 1e-2f);
}

// ---- encoder gains -------------------------------------------------------------

/// Deterministic generator shared with the script that ran the reference.
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
};

int16_t sat(int v) { return static_cast<int16_t>(std::clamp(v, -32768, 32767)); }

/// The reference coder's <y2,y2>, -2<xn,y2>, 2<y1,y2> with their Q formats
/// (Corr_xy2), to feed the quantiser realistic coefficients.
void corrXy2(const int16_t* xn, const int16_t* y1, const int16_t* y2, int16_t* g, int16_t* e) {
    auto norm = [](int64_t acc, int16_t& mant) {
        const auto s = static_cast<int32_t>(std::clamp<int64_t>(acc, INT32_MIN, INT32_MAX));
        const int n = s == 0 ? 0 : __builtin_clrsb(s);
        const int32_t sh = static_cast<int32_t>(static_cast<uint32_t>(s) << n);
        mant = static_cast<int16_t>(std::min<int64_t>((int64_t(sh) + 0x8000) >> 16, 32767));
        return n;
    };
    int16_t s2[40];
    for (int i = 0; i < 40; ++i) s2[i] = static_cast<int16_t>(y2[i] >> 3);
    int64_t a = 1, b = 1, c = 1;
    for (int i = 0; i < 40; ++i) {
        a = std::clamp<int64_t>(a + 2 * s2[i] * s2[i], INT32_MIN, INT32_MAX);
        b = std::clamp<int64_t>(b + 2 * xn[i] * s2[i], INT32_MIN, INT32_MAX);
        c = std::clamp<int64_t>(c + 2 * y1[i] * s2[i], INT32_MIN, INT32_MAX);
    }
    int16_t m;
    e[2] = static_cast<int16_t>(norm(a, m) + 3), g[2] = m;
    e[3] = static_cast<int16_t>(norm(b, m) - 6 - 1), g[3] = static_cast<int16_t>(m == -32768 ? 32767 : -m);
    e[4] = static_cast<int16_t>(norm(c, m) - 6 - 1), g[4] = m;
}

// Hashes of the ITU-T reference G_pitch + Qua_gain (main body) and
// G_pitch + Qua_gain_6k (Annex D) on the same generated subframes: gain,
// G_pitch coefficients, quantised gains, codes and updated past energies.
TEST(G729GainReference, QuantisersMatchTheReference) {
    for (int form = 0; form < 2; ++form) {
        Lcg g{7293};
        Fnv hash;
        for (int it = 0; it < 400; ++it) {
            const int a = g.next(-2, 6), amp = g.next(1, 4) * 1500;
            int16_t xn[40], y1[40], y2[40], code[40] = {};
            for (auto& v : xn) v = static_cast<int16_t>(g.next(-amp, amp));
            for (int i = 0; i < 40; ++i) y1[i] = sat(((xn[i] * a) >> 2) + g.next(-500, 500));
            for (auto& v : y2) v = static_cast<int16_t>(g.next(-8000, 8000));
            for (int k = 0; k < 4; ++k) {
                const int p = g.next(0, 39);
                code[p] = g.next(0, 1) ? 8191 : -8192;
            }
            const auto tame = static_cast<Xvo16s>(g.next(0, 1));
            Xvo16s past[4];
            for (auto& v : past) v = static_cast<Xvo16s>(g.next(-14336, 6000));
            Xvo16s cc[4], gp, gc[5], ec[5], gain[2], idx[2];
            ASSERT_EQ(xvosAdaptiveCodebookGain_G729_16s(xn, y1, cc, &gp), xvoStsOk);
            Xvo16s ccA[4], gpA;
            ASSERT_EQ(xvosAdaptiveCodebookGain_G729A_16s(xn, y1, ccA, &gpA), xvoStsOk);
            ASSERT_TRUE(gpA == gp && std::equal(cc, cc + 4, ccA));
            gc[0] = cc[0], ec[0] = static_cast<int16_t>(-cc[1]);
            gc[1] = static_cast<int16_t>(cc[2] == -32768 ? 32767 : -cc[2]), ec[1] = static_cast<int16_t>(-(cc[3] + 1));
            corrXy2(xn, y1, y2, gc, ec);
            int64_t energy = 0;
            for (int16_t v : code) energy = std::min<int64_t>(energy + 2 * v * v, INT32_MAX);
            const auto quant = form == 0 ? xvosGainQuant_G729_16s : xvosGainQuant_G729D_16s;
            ASSERT_EQ(quant(static_cast<Xvo32s>(energy), gc, ec, tame, past, gain, idx), xvoStsOk);
            hash.add(gp);
            for (Xvo16s v : cc) hash.add(v);
            hash.add(gain[0]), hash.add(gain[1]);
            hash.add(static_cast<int16_t>((idx[0] << (form == 0 ? 4 : 3)) + idx[1]));
            for (Xvo16s v : past) hash.add(v);
        }
        EXPECT_EQ(hash.h, form == 0 ? 0x0ed2941bbcb638a2ull : 0x71558f6773e94fe4ull) << "form " << form;
    }
}

// The float search against the floating-point reference qua_gain (single
// precision) with the predicted gain forced: codes and gain bit patterns.
TEST(G729GainReference, FloatSearchMatchesTheReference) {
    Lcg g{7294};
    Fnv hash;
    for (int it = 0; it < 400; ++it) {
        float c[5];
        c[0] = static_cast<float>(g.next(1, 1000000));
        c[1] = static_cast<float>(g.next(-1000000, 1000000) * 2.0);
        c[2] = static_cast<float>(g.next(1, 10000));
        c[3] = static_cast<float>(g.next(-10000, 10000) * 2.0);
        c[4] = static_cast<float>(g.next(-10000, 10000) * 2.0);
        const auto g0 = static_cast<float>(g.next(1, 3000) / 100.0);
        const auto tame = static_cast<Xvo16s>(g.next(0, 1));
        Xvo16s idx[2];
        float gain[2];
        ASSERT_EQ(xvosGainCodebookSearch_G729_32f(c, g0, tame, idx, gain), xvoStsOk);
        hash.add(static_cast<int16_t>(idx[0] * 16 + idx[1]));
        for (float v : gain) {
            uint32_t bits;
            std::memcpy(&bits, &v, 4);
            hash.add(static_cast<int16_t>(bits & 0xffff)), hash.add(static_cast<int16_t>(bits >> 16));
        }
        Xvo16s idx6[2];
        float gain6[2];
        ASSERT_EQ(xvosGainCodebookSearch_G729D_32f(c, g0, tame, idx6, gain6), xvoStsOk);
        ASSERT_TRUE(idx6[0] >= 0 && idx6[0] < 8 && idx6[1] >= 0 && idx6[1] < 8);
    }
    EXPECT_EQ(hash.h, 0x0f98cbdfd2ce04c2ull);
    Xvo16s idx[2];
    float gain[2], c[5] = {1, 1, 1, 1, 1};
    EXPECT_EQ(xvosGainCodebookSearch_G729_32f(c, 1.0f, 2, idx, gain), xvoStsRange);
    EXPECT_EQ(xvosGainCodebookSearch_G729D_32f(nullptr, 1.0f, 0, idx, gain), xvoStsNullPtr);
}

TEST(G729Gain, FloatTablesFollowTheFixedOnes) {
    using namespace xvo::g729;
    EXPECT_FLOAT_EQ(kGbk1F[7][1], 3.3157f);
    EXPECT_FLOAT_EQ(kGbk2F[15][0], 1.158039f);
    EXPECT_FLOAT_EQ(kThr2F[7], 0.932089f);
    for (int i = 0; i < 8; ++i) {
        // The design values round to the fixed-point codebooks (Q14 pitch, Q13 code).
        EXPECT_NEAR(kGbk1F[i][0] * 16384, kGbk1[i][0], 1.0);
        EXPECT_NEAR(kGbk1F[i][1] * 8192, kGbk1[i][1], 1.0);
        EXPECT_FLOAT_EQ(kGbk1F_6k[i][0] * 16384, kGbk1_6k[i][0]);
        EXPECT_FLOAT_EQ(kGbk2F_6k[i][1] * 16384, kGbk2_6k[i][1]);
    }
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(kGbk2F[i][1] * 8192, kGbk2[i][1], 1.0);
}

}  // namespace
