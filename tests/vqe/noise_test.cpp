// The noise suppressor's contract, its set-up values and the deliberate
// corners of its block processing, checked against independent
// computations (window sums, smoothing filters, the ramp's 16-bit wrap).
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "vqe/fft.h"
#include "vqe/noise_filter.h"
#include "xvosc.h"

using namespace xvo;

namespace {

constexpr int kRates[] = {8000, 16000, 22050, 32000};

/// A state in a heap block at a chosen misalignment.
struct Ns {
    std::vector<unsigned char> mem;
    XvoFilterNoiseState_EC_32f* st = nullptr;
    explicit Ns(int rate, int offset = 8) {
        int size = 0;
        EXPECT_EQ(xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(rate), &size), xvoStsOk);
        mem.assign(size + 64, 0xCD);
        st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(
            mem.data() + ((32 - reinterpret_cast<uintptr_t>(mem.data()) % 32) % 32) + offset);
        EXPECT_EQ(xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(rate), st), xvoStsOk);
    }
    XvoFilterNoiseState_EC_32f& v() { return *ownNoiseState(st); }
    void run(float* x, int ctrl = 0) { ASSERT_EQ(xvosFilterNoise_EC_32f_I(x, ctrl, st), xvoStsOk); }
};

uint32_t bits(float f) { return std::bit_cast<uint32_t>(f); }

}  // namespace

TEST(NoiseFilter, ArgumentChecks) {
    int size = -1;
    std::vector<unsigned char> mem(30000, 0x5A), copy = mem;
    auto* st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(mem.data());
    for (int bad : {11025, 44100, 0, -8000, 8001}) {
        EXPECT_EQ(xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(bad), &size), xvoStsSize) << bad;
        EXPECT_EQ(xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(bad), st), xvoStsRange) << bad;
    }
    EXPECT_EQ(size, -1);
    EXPECT_EQ(mem, copy);  // failing Init left the memory alone
    Ns ns(8000);
    float x[16] = {};
    double e = 0;
    int det = 0;
    // The null-pointer order of every call is swept by the contract registry;
    // here only what it cannot see: the statistic is optional.
    EXPECT_EQ(xvosFilterNoiseDetect_EC_32f64f(x, &e, nullptr, &det, ns.st), xvoStsOk);
    EXPECT_EQ(ns.v().histCount, 16);  // only the successful call fed the history

    // Modes: -1, 0, 1 stored; anything else -5 and the mode kept.
    for (int m : {-1, 0, 1}) {
        EXPECT_EQ(xvosFilterNoiseSetMode_EC_32f(m, ns.st), xvoStsOk);
        EXPECT_EQ(ns.v().mode, m);
    }
    for (int m : {2, -2, 100}) {
        EXPECT_EQ(xvosFilterNoiseSetMode_EC_32f(m, ns.st), xvoStsBadArg);
        EXPECT_EQ(ns.v().mode, 1);
    }
}

TEST(NoiseFilter, SmoothingSetsAndWindows) {
    Ns ns(8000);
    auto& s = ns.v();
    for (int d = 0; d <= 8; ++d) {
        const float* c = s.smoothCoef + s.smoothSet[d];
        const double total = (d + 1) * 0.0 + [&] {  // taps (j div 2) + 0.5 from each end
            double t = 0;
            for (int i = 0; i <= 2 * d; ++i) t += (std::min(i, 2 * d - i) / 2) + 0.5;
            return t;
        }();
        double sum = 0;
        for (int i = 0; i <= 2 * d; ++i) {
            EXPECT_NEAR(c[i], ((std::min(i, 2 * d - i) / 2) + 0.5) / total, 1e-7) << d << " " << i;
            EXPECT_EQ(c[i], c[2 * d - i]);
            sum += c[i];
        }
        EXPECT_NEAR(sum, 1.0, 1e-6);
    }
    const float* a = ownNoiseWindow(0);
    const float* b = ownNoiseWindow(1);
    const double b0[] = {0, 0.001221, 0.004944, 0.011047, 0.019592, 0.030396};
    const double a0[] = {0, 0.001628, 0.006592, 0.01473, 0.026123, 0.040527};
    for (int n = 0; n < 6; ++n) {
        EXPECT_NEAR(b[n], b0[n], 5e-7);
        EXPECT_NEAR(a[n], a0[n], 5e-7);
    }
    EXPECT_NEAR(b[31], 0.499634, 5e-7);
    EXPECT_NEAR(a[31], 0.666178, 5e-7);
    for (int n = 0; n < 64; ++n) {
        EXPECT_EQ(a[n], a[63 - n]);
        EXPECT_EQ(b[n], b[63 - n]);
        EXPECT_EQ(std::fmod(b[n] * 32768.0, 1.0), 0.0);  // window B is Q15
        EXPECT_NEAR(a[n], b[n] * 4.0 / 3.0, 1e-7);
    }
    for (int m = 0; m < 16; ++m) {  // hop-16 overlap-add of B is flat within 1.5 %
        const double sum = b[m] + b[m + 16] + b[m + 32] + b[m + 48];
        EXPECT_NEAR(sum, 0.985, 0.005);
    }
}

// Every level's parameters, with the single-precision constants checked bit
// for bit; level 0 only switches off the weight; a rejected level is stored.
TEST(NoiseFilter, LevelTable) {
    // The energy weights are exact bit patterns, not the floats nearest to
    // 0.002, 0.009 and 0.019.
    const float w002 = std::bit_cast<float>(0x3B031200u), w009 = std::bit_cast<float>(0x3C1374C0u),
                w019 = std::bit_cast<float>(0x3C9BA5E0u);
    struct Row {
        int level;
        float w, lo, hi, att, pole, wt, start, ramp, gain;
        int div, active;
    };
    const Row rows[] = {
        {1, 0.03125f, 0.25f, 0.4f, 0.08f, 0.998f, w002, 0.02f, 0.04f, 0.06f, 40, 1},
        {2, 0.03125f, 0.003f, 0.275f, 1.0f, 0.991f, w009, 0.5f, 0.2f, 0.3f, 40, 1},
        {3, 0.03125f, 0.003f, 0.275f, 0.5f, 0.981f, w019, 0.5f, 0.2f, 0.3f, 40, 1},
        {4, 0.00390625f, 0.003f, 0.04f, 0.0625f, 0.981f, w019, 0.015f, 0.04f, 0.6f, 100, 1},
        {5, 0.03125f, 0.003f, 0.275f, 1.0f, 0.991f, w009, 0.5f, 0.2f, 0.3f, 40, 0},
    };
    EXPECT_EQ(bits(0.998f), 0x3F7F7CEEu);
    EXPECT_EQ(bits(0.981f), 0x3F7B22D1u);
    EXPECT_EQ(bits(0.991f), 0x3F7DB22Du);
    for (int rate : {8000, 22050}) {
        for (const Row& r : rows) {
            Ns ns(rate);
            ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(r.level, ns.st), xvoStsOk);
            auto& s = ns.v();
            EXPECT_EQ(s.level, r.level);
            EXPECT_EQ(bits(s.suppressWeight), bits(r.w));
            EXPECT_EQ(bits(s.lowFloor), bits(r.lo));
            EXPECT_EQ(bits(s.highFloor), bits(r.hi));
            EXPECT_EQ(bits(s.blockAtt), bits(r.att));
            EXPECT_EQ(bits(s.energyPole), bits(r.pole));
            EXPECT_EQ(bits(s.energyWeight), bits(r.wt));
            EXPECT_EQ(bits(s.startAtt), bits(r.start));
            EXPECT_EQ(bits(s.rampAtt), bits(r.ramp));
            EXPECT_EQ(bits(s.rampGain), bits(r.gain));
            EXPECT_EQ(s.rampCount, rate / r.div);
            EXPECT_EQ(s.levelActive, r.active);
            // Level 0 zeroes the weight and keeps the rest.
            ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(0, ns.st), xvoStsOk);
            EXPECT_EQ(s.level, 0);
            EXPECT_EQ(s.suppressWeight, 0.0f);
            EXPECT_EQ(bits(s.highFloor), bits(r.hi));
            EXPECT_EQ(s.levelActive, r.active);
        }
    }
    // The ramp countdown is re-armed only before the first block.
    Ns ns(16000);
    float x[16] = {};
    ns.run(x);
    const int ramp = ns.v().rampCount;
    ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(4, ns.st), xvoStsOk);
    EXPECT_EQ(ns.v().rampCount, ramp);
    // A rejected level: -7, but stored; the parameters of level 4 stay.
    for (int bad : {6, -1, 1000}) {
        EXPECT_EQ(xvosFilterNoiseLevel_EC_32f(bad, ns.st), xvoStsRange);
        EXPECT_EQ(ns.v().level, bad);
        EXPECT_EQ(ns.v().suppressWeight, 0.00390625f);
    }
}

// Level 0: the out-of-place call never copies pSrc to pDst; the soft start
// scales what pDst held. The in-place call passes its samples through the
// soft start, then unchanged.
TEST(NoiseFilter, LevelZeroPaths) {
    Ns a(8000), b(8000);
    ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(0, a.st), xvoStsOk);
    ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(0, b.st), xvoStsOk);
    for (int blk = 0; blk < 40; ++blk) {
        float src[16], dst[16], io[16];
        for (int i = 0; i < 16; ++i) src[i] = io[i] = static_cast<float>(1000 * (i - 8) + blk), dst[i] = 100.0f;
        ASSERT_EQ(xvosFilterNoise_EC_32f(src, dst, 0, a.st), xvoStsOk);
        b.run(io);
        const float g = blk < 25 ? 0.5f : 1.0f;  // 400 samples of start-up attenuation (level 5's 0.5)
        for (int i = 0; i < 16; ++i) {
            ASSERT_EQ(dst[i], 100.0f * g) << blk;
            ASSERT_EQ(io[i], src[i] * g) << blk;
        }
    }
    EXPECT_EQ(a.v().histCount, 640);  // the analysis still ran
}

// analysisControl -1 never feeds the history: the filter stays in warm-up,
// where the output is the input windowed, overlap-added and delayed by 56.
TEST(NoiseFilter, WarmUpOverlapAddAndDelay) {
    for (int level : {2, 3}) {
        Ns ns(16000);
        ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(level, ns.st), xvoStsOk);
        const float* w = ownNoiseWindow(level == 3);
        std::vector<float> x(1600), y(1600);
        for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<float>(8000.0 * std::sin(0.0123 * i * i / 40.0));
        y = x;
        for (size_t b = 0; b < y.size(); b += 16) ns.run(&y[b], -1);
        EXPECT_EQ(ns.v().histCount, 0);
        for (size_t n = 400; n + 56 < y.size(); ++n) {
            // Sample n went through the four window phases m, m+16, m+32, m+48.
            const int m = static_cast<int>(n % 16);
            double want = 0;
            for (int i = 0; i < 4; ++i) want += x[n] * static_cast<double>(w[m + 16 * i]);
            if (std::fabs(want) < 0.5) want = 0;
            ASSERT_NEAR(y[n + 56], want, 1e-4 * std::fabs(want) + 1.5) << n;  // partial sums below 0.5 are zeroed
        }
    }
}

// Mode 0 smooths the delay line with the 17-tap set; mode -1 with the set
// that the delay estimate D selects. Everything else is the same, so each is
// a fixed FIR of the mode-1 output.
TEST(NoiseFilter, OutputSmoothingModes) {
    Ns plain(8000), wide(8000), adapt(8000);
    for (Ns* n : {&plain, &wide, &adapt}) ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(2, n->st), xvoStsOk);
    ASSERT_EQ(xvosFilterNoiseSetMode_EC_32f(0, wide.st), xvoStsOk);
    ASSERT_EQ(xvosFilterNoiseSetMode_EC_32f(-1, adapt.st), xvoStsOk);
    std::vector<float> y1, y0, ya;
    std::vector<int> r;  // the adaptive half-width of each block
    uint32_t seed = 5;
    for (int blk = 0; blk < 300; ++blk) {
        float x[16];
        for (float& v : x) seed = seed * 1664525u + 1013904223u, v = static_cast<float>(int(seed >> 17) - 16384);
        float p[16], q[16], a[16];
        std::memcpy(p, x, sizeof x), std::memcpy(q, x, sizeof x), std::memcpy(a, x, sizeof x);
        plain.run(p, blk < 20 ? 1 : 0), wide.run(q, blk < 20 ? 1 : 0), adapt.run(a, blk < 20 ? 1 : 0);
        y1.insert(y1.end(), p, p + 16), y0.insert(y0.end(), q, q + 16), ya.insert(ya.end(), a, a + 16);
        r.push_back(static_cast<int>(adapt.v().delayEst + 0.5));
    }
    EXPECT_EQ(r.front(), 1);
    EXPECT_GE(r.back(), 2);  // deep suppression widens the smoothing
    const auto& s = wide.v();
    for (size_t n = 416 + 8; n + 8 < y1.size(); ++n) {
        const int d = r[n / 16];
        const float* c8 = s.smoothCoef + s.smoothSet[8];
        const float* cd = s.smoothCoef + s.smoothSet[d];
        double want8 = 0, wantd = 0;
        for (int j = -8; j <= 8; ++j) want8 += c8[j + 8] * static_cast<double>(y1[n + j]);
        for (int j = -d; j <= d; ++j) wantd += cd[j + d] * static_cast<double>(y1[n + j]);
        ASSERT_NEAR(y0[n], want8, 1e-3 + 1e-5 * std::fabs(want8)) << n;
        ASSERT_NEAR(ya[n], wantd, 1e-3 + 1e-5 * std::fabs(wantd)) << n;
    }
}

// The ramp stage after start-up with a confirmed stationary signal: each
// output is multiplied by g (1 + (R - c) / R), truncated to 32 bits and
// wrapped (not saturated) to 16 bits. Level 0 in place exposes the stage
// alone.
TEST(NoiseFilter, RampStageWrapsToSixteenBits) {
    Ns ns(32000);
    ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(0, ns.st), xvoStsOk);
    auto& s = ns.v();
    s.startCount = 0;
    s.stationary = 1;
    s.refEnergy = 1.0e6;
    s.detLevel = 0.0f;
    ASSERT_EQ(s.rampCount, 800);
    float x[16];
    const float in[16] = {20000, -20000, 14000, -14001, 1, -1, 0.9f, 32767, -32768, 3.5f, -3.5f, 0, 100, 9000, -9000, 28000};
    std::memcpy(x, in, sizeof x);
    ns.run(x);
    const float f = 0.3f * (1.0f + (80.0f - 784.0f) / 80.0f);  // c = 800 - 16
    for (int i = 0; i < 16; ++i) {
        const int32_t t = static_cast<int32_t>(in[i] * f);
        ASSERT_EQ(x[i], static_cast<float>(static_cast<int16_t>(static_cast<uint16_t>(t)))) << i;
    }
    EXPECT_EQ(x[0], static_cast<float>(int16_t(uint16_t(int32_t(20000 * f)))));  // -46800 wraps to 18736
    EXPECT_EQ(x[0], 18736.0f);
    // With the detector level above the input-side energy the ramp attenuates instead.
    s.detLevel = 1.0f;
    std::memcpy(x, in, sizeof x);
    ns.run(x);
    for (int i = 0; i < 16; ++i) ASSERT_EQ(x[i], in[i] * 0.2f);
    EXPECT_EQ(s.rampCount, 800 - 32);
}

// A noise-update block of digital silence makes noise bins exactly 0 (1/N
// infinite): every following block, silent or loud, stays finite and within
// the 16-bit range.
TEST(NoiseFilter, SilentNoiseUpdateStaysFinite) {
    for (int level = 1; level <= 5; ++level) {
        for (int mode : {-1, 0, 1}) {
            Ns ns(8000);
            ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(level, ns.st), xvoStsOk);
            ASSERT_EQ(xvosFilterNoiseSetMode_EC_32f(mode, ns.st), xvoStsOk);
            uint32_t seed = 9;
            for (int blk = 0; blk < 200; ++blk) {
                float x[16];
                const bool silent = blk >= 10 && blk < 30;
                for (float& v : x) {
                    seed = seed * 1664525u + 1013904223u;
                    v = silent ? 0.0f : (blk > 100 ? 32767.0f : 3000.0f) * ((seed >> 31) ? 1 : -1);
                }
                ns.run(x, silent || blk == 150 ? 1 : 0);
                if (blk == 29) {
                    bool inf = false;
                    for (int k = 0; k < 65; ++k) inf |= std::isinf(ns.v().invNoise[k]);
                    ASSERT_TRUE(inf);  // the case under test did arise
                }
                for (float v : x) ASSERT_TRUE(std::isfinite(v) && std::fabs(v) <= 32768.0f) << level << " " << blk;
            }
            bool sawInf = false;
            for (int k = 0; k < 65; ++k) sawInf |= std::isinf(ns.v().invNoise[k]);
            EXPECT_FALSE(sawInf);  // the update at block 150 replaced the silent estimate
        }
    }
}

// The detector confirms a steady tone after three stable candidates; the
// confirmation ends the start-up attenuation, marks the signal stationary,
// tightens the stability ratio, moves the periodicity lag and takes the
// tone's spectrum as the noise estimate. Silence never confirms.
TEST(NoiseFilter, DetectorConfirmsSteadyTone) {
    for (int rate : kRates) {
        Ns ns(rate);
        int firstConfirm = -1, confirms = 0;
        double energy = -1;
        float stat = -1, want = 0.0f;
        const int first = rate * 128 / 8000 / 16 - 1;  // block that completes L1 samples
        for (int blk = 0; blk < 60; ++blk) {
            float x[16];
            for (int i = 0; i < 16; ++i) x[i] = 3000.0f * static_cast<float>(std::sin(2 * M_PI * 1000.0 * (16 * blk + i) / rate));
            int det = -1;
            ASSERT_EQ(xvosFilterNoiseDetect_EC_32f64f(x, &energy, &stat, &det, ns.st), xvoStsOk);
            if (det) {
                if (firstConfirm < 0) firstConfirm = blk;
                ++confirms;
                want = 0.955f * want + 0.045f * 1.0f;  // a steady tone is fully stationary
                for (int k = 0; k < 65; ++k) ASSERT_EQ(ns.v().noise[k], ns.v().power[k]);  // new noise estimate
            }
            ASSERT_EQ(stat, want) << blk;
            if (blk < first) {
                EXPECT_EQ(energy, 0.0);  // fewer than L1 samples held
            }
        }
        EXPECT_EQ(firstConfirm, first + 3) << rate;  // the first candidate sets the reference, 3 stable follow
        EXPECT_EQ(confirms, (59 - first) / 3) << rate;  // then every third block
        EXPECT_NEAR(energy, 3000.0 * 3000.0 / 2, 3000.0 * 3000.0 / 2 * 0.1);
        auto& s = ns.v();
        EXPECT_EQ(s.stationary, 1);
        EXPECT_EQ(s.startCount, 0);
        EXPECT_EQ(s.stabilityRatio, 1.065f);
        EXPECT_EQ(s.detLag, rate == 8000 ? 42 : 21);
    }
    Ns ns(8000);
    for (int blk = 0; blk < 40; ++blk) {
        float x[16] = {};
        double e;
        int det;
        ASSERT_EQ(xvosFilterNoiseDetect_EC_32f64f(x, &e, nullptr, &det, ns.st), xvoStsOk);
        EXPECT_EQ(det, 0);
    }
    EXPECT_EQ(ns.v().stationary, 0);
}

// The same input gives the same bits whatever the block's alignment, and the
// out-of-place and in-place variants agree.
TEST(NoiseFilter, DeterministicAcrossAlignmentsAndVariants) {
    std::vector<float> ref;
    for (int offset : {0, 4, 12, 28}) {
        Ns a(22050, offset), b(22050, offset);
        for (Ns* n : {&a, &b}) ASSERT_EQ(xvosFilterNoiseLevel_EC_32f(4, n->st), xvoStsOk);
        std::vector<float> out;
        uint32_t seed = 77;
        for (int blk = 0; blk < 200; ++blk) {
            float x[16], y[16];
            for (float& v : x) seed = seed * 1664525u + 1013904223u, v = static_cast<float>(int(seed >> 20) - 2048);
            if (blk % 50 > 30) for (float& v : x) v *= 8;
            ASSERT_EQ(xvosFilterNoise_EC_32f(x, y, blk % 50 < 10 ? 1 : 0, a.st), xvoStsOk);
            b.run(x, blk % 50 < 10 ? 1 : 0);
            ASSERT_EQ(std::memcmp(x, y, sizeof x), 0) << blk;
            out.insert(out.end(), y, y + 16);
        }
        if (ref.empty()) ref = out;
        EXPECT_EQ(std::memcmp(ref.data(), out.data(), 4 * out.size()), 0) << offset;
    }
}
