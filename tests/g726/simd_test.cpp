// Every SIMD twin of the G.726 kernels that this machine runs against the
// scalar kernels: identical codes, samples and final state on speech-like,
// full-range random and tone-then-burst input, the G.726 normal conformance
// input (tone and transition detectors at every rate) and random codes, at
// every rate and output law.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "g726/g726_kernel.h"
#include "g726/g726_tables.h"
#include "vectors.h"

using namespace xvo;
using namespace xvo::g726;

namespace {

Work initial() {
    Work w{};
    w.yu = 544;
    w.yl = 34816;
    for (auto& f : w.flt) f = 32;
    return w;
}

void expectSame(const Work& a, const Work& b, const std::string& what) {
    EXPECT_EQ(a.yl, b.yl) << what;
    EXPECT_EQ(a.yu, b.yu) << what;
    EXPECT_EQ(a.ap, b.ap) << what;
    EXPECT_EQ(a.dms, b.dms) << what;
    EXPECT_EQ(a.dml, b.dml) << what;
    EXPECT_EQ(a.td, b.td) << what;
    EXPECT_EQ(a.pk1, b.pk1) << what;
    EXPECT_EQ(a.pk2, b.pk2) << what;
    for (int k = 0; k < 8; ++k) {
        EXPECT_EQ(a.coef[k], b.coef[k]) << what << " coef " << k;
        EXPECT_EQ(a.flt[k], b.flt[k]) << what << " flt " << k;
    }
}

std::vector<std::vector<int16_t>> inputs() {
    std::mt19937 rng(2024);
    std::vector<std::vector<int16_t>> in;
    std::vector<int16_t> speech(6000), noise(3000), tone(6000);
    double ph = 0;
    for (size_t i = 0; i < speech.size(); ++i) {
        ph += 2 * M_PI * (140 + 50 * std::sin(i / 3000.0)) / 8000;
        speech[i] = static_cast<int16_t>(3000 * std::sin(ph) + 1500 * std::sin(3 * ph) + int(rng() % 200) - 100);
    }
    for (auto& v : noise) v = static_cast<int16_t>(rng());  // full 16-bit range
    for (size_t i = 0; i < tone.size(); ++i)  // a 3 kHz tone, then bursts of full scale
        tone[i] = i < 4000 ? static_cast<int16_t>(4000 * std::sin(2 * M_PI * 3000 * i / 8000.0))
                           : static_cast<int16_t>((i / 7) % 2 ? 8191 : -8192);
    std::vector<std::vector<int16_t>> all = {speech, noise, tone};
    // The conformance input drives the tone and transition detectors at every rate.
    if (auto nrm = xvotest::findVector("conformance/g726/nrm.m")) {
        std::vector<int16_t> x;
        for (uint8_t b : xvotest::readBytes(*nrm)) x.push_back(static_cast<int16_t>(kG711Expand[0][b] >> 2));
        all.push_back(x);
    }
    return all;
}

TEST(G726Simd, TwinsMatchScalar) {
    const auto ins = inputs();
    std::mt19937 rng(77);
    int levels = 0;
    for (auto level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        ++levels;
        const Kernels& simd = ownKernels(level);
        for (int r = 0; r < 4; ++r) {
            const std::string tag = std::string(ownCpuLevelName(level)) + " rate " + std::to_string(r);
            for (size_t s = 0; s < ins.size(); ++s) {
                const auto& x = ins[s];
                const int n = static_cast<int>(x.size());
                Work a = initial(), b = initial();
                std::vector<uint8_t> ca(n), cb(n);
                kScalarKernels.encode[r](a, x.data(), ca.data(), n);
                simd.encode[r](b, x.data(), cb.data(), n);
                ASSERT_EQ(ca, cb) << tag << " input " << s;
                expectSame(a, b, tag + " encoder");
                // Decode the codes, and random codes, in every law.
                std::vector<uint8_t> rnd(n);
                for (auto& c : rnd) c = static_cast<uint8_t>(rng() & ((1 << (r + 2)) - 1));
                for (const auto* codes : {&ca, &rnd})
                    for (int law = 0; law < 3; ++law) {
                        Work da = initial(), db = initial();
                        std::vector<int16_t> ya(n), yb(n);
                        kScalarKernels.decode[r](law, da, codes->data(), ya.data(), n);
                        simd.decode[r](law, db, codes->data(), yb.data(), n);
                        ASSERT_EQ(ya, yb) << tag << " law " << law;
                        expectSame(da, db, tag + " decoder");
                    }
            }
        }
    }
    if (levels == 0) GTEST_SKIP() << "no SIMD level on this machine";
}

}  // namespace
