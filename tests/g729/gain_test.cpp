// G.729 gain decoding and gain control against the reference golden vectors,
// plus the edge cases the goldens do not pin down.
#include <gtest/gtest.h>

#include <string>
#include <vector>

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

}  // namespace
