// Every SIMD twin of the generic kernels against the scalar twin, on random
// and extreme inputs, and the dedicated 160- and 40-sample paths against the
// general scalar kernels.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "core/generic_kernels.h"

using namespace xvo;
using namespace xvo::generic;

namespace {

// Signal shapes: the small random one keeps every sum within 32 bits (the
// narrow path), the others force the wide path.
enum class Shape { SmallRandom, FullRandom, AllMin, AllMax, Alternating, SparseMin };

std::vector<int16_t> signal(Shape s, size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<int16_t> v(n);
    for (size_t i = 0; i < n; ++i) {
        switch (s) {
            case Shape::SmallRandom: v[i] = static_cast<int16_t>(std::uniform_int_distribution<int>(-1500, 1500)(rng)); break;
            case Shape::FullRandom: v[i] = static_cast<int16_t>(std::uniform_int_distribution<int>(-32768, 32767)(rng)); break;
            case Shape::AllMin: v[i] = -32768; break;
            case Shape::AllMax: v[i] = 32767; break;
            case Shape::Alternating: v[i] = (i & 1) ? -32768 : 32767; break;
            case Shape::SparseMin: v[i] = (rng() % 5 == 0) ? -32768 : static_cast<int16_t>(rng() % 64); break;
        }
    }
    return v;
}

constexpr Shape kShapes[] = {Shape::SmallRandom, Shape::FullRandom, Shape::AllMin,
                             Shape::AllMax,      Shape::Alternating, Shape::SparseMin};

std::vector<const OwnGenericKernels*> vectorTables() {
    std::vector<const OwnGenericKernels*> t;
    for (auto l : {OwnCpuLevel::SSE2, OwnCpuLevel::SSE41, OwnCpuLevel::AVX2})
        if (ownCpuSupports(l)) t.push_back(&ownGenericKernels(l));
    return t;
}

std::string what(const OwnGenericKernels& k, int shape, int n, int lags) {
    return std::string(ownCpuLevelName(k.level)) + " shape " + std::to_string(shape) + " n " + std::to_string(n) +
           " lags " + std::to_string(lags);
}

}  // namespace

TEST(GenericSimd, ThisMachineHasAVectorTable) {
    EXPECT_FALSE(vectorTables().empty());
    EXPECT_EQ(ownGenericKernels(OwnCpuLevel::Scalar).level, OwnCpuLevel::Scalar);
}

TEST(GenericSimd, CorrelationsEqualScalar) {
    const auto& ref = kGenericScalar;
    for (const auto* k : vectorTables())
        for (int s = 0; s < 6; ++s)
            for (int n : {1, 7, 8, 9, 15, 16, 17, 31, 40, 64, 80, 143, 160, 161, 240, 512, 513, 700})
                for (int lags : {1, 3, 4, 5, 11, 64}) {
                    const auto x = signal(kShapes[s], n + lags, 11 + n);
                    const auto y = signal(kShapes[s], n + lags, 97 + lags);
                    std::vector<int64_t> a(lags), b(lags);
                    ref.xcorrFixed(x.data(), y.data(), n, lags, a.data());
                    k->xcorrFixed(x.data(), y.data(), n, lags, b.data());
                    ASSERT_EQ(a, b) << "fixed " << what(*k, s, n, lags);
                    for (const int16_t* yy : {x.data(), y.data()}) {  // autocorrelation and two signals
                        ref.xcorrTrunc(x.data(), yy, n, lags, a.data());
                        k->xcorrTrunc(x.data(), yy, n, lags, b.data());
                        ASSERT_EQ(a, b) << "truncated " << what(*k, s, n, lags);
                    }
                    ASSERT_EQ(ref.energy(x.data(), n), k->energy(x.data(), n)) << what(*k, s, n, lags);
                }
}

TEST(GenericSimd, ConvolutionEqualsScalar) {
    const auto& ref = kGenericScalar;
    for (const auto* k : vectorTables())
        for (int s = 0; s < 6; ++s)
            for (int m0 : {0, 3, 16, 64})
                for (int count : {1, 2, 4, 5, 15, 16, 17, 40, 63, 64}) {
                    const auto a = signal(kShapes[s], m0 + count, 5 + count);
                    const auto b = signal(kShapes[s], m0 + count, 7 + m0);
                    std::vector<int64_t> want(count), got(count);
                    ref.conv(a.data(), b.data(), m0, count, want.data());
                    k->conv(a.data(), b.data(), m0, count, got.data());
                    ASSERT_EQ(want, got) << what(*k, s, m0, count);
                }
}

// The dedicated paths (160-sample autocorrelation, 40-sample convolution) of
// every level, scalar included, against the general scalar kernels.
TEST(GenericSimd, DedicatedPathsEqualGeneralPath) {
    auto all = vectorTables();
    all.push_back(&kGenericScalar);
    for (const auto* k : all)
        for (int s = 0; s < 6; ++s)
            for (uint32_t seed = 1; seed <= 4; ++seed) {
                const auto x = signal(kShapes[s], 160, seed), y = signal(kShapes[s], 160, seed + 50);
                for (int lags : {1, 4, 11, 17, 64}) {
                    std::vector<int64_t> a(lags), b(lags);
                    for (const int16_t* yy : {x.data(), y.data()}) {
                        kGenericScalar.xcorrTrunc(x.data(), yy, 160, lags, a.data());
                        k->xcorrTrunc160(x.data(), yy, 160, lags, b.data());
                        ASSERT_EQ(a, b) << "160 " << what(*k, s, 160, lags);
                    }
                }
                std::vector<int64_t> a(40), b(40);
                kGenericScalar.conv(x.data(), y.data(), 0, 40, a.data());
                k->conv40(x.data(), y.data(), 0, 40, b.data());
                ASSERT_EQ(a, b) << "40 " << what(*k, s, 40, 40);
            }
}

TEST(GenericSimd, HarmonicFilterEqualsScalar) {
    for (const auto* k : vectorTables())
        for (int s = 0; s < 6; ++s)
            for (int lag : {4, 5, 7, 8, 9, 40, 143})
                for (int16_t val : {int16_t(-32768), int16_t(-9830), int16_t(26214), int16_t(32767)}) {
                    auto a = signal(kShapes[s], lag + 45, lag + 3), b = a;
                    kGenericScalar.harmonic(val, lag, a.data() + lag, 45);
                    k->harmonic(val, lag, b.data() + lag, 45);
                    ASSERT_EQ(a, b) << what(*k, s, val, lag);
                }
}

TEST(GenericSimd, ScalingEqualsScalar) {
    const auto& ref = kGenericScalar;
    for (const auto* k : vectorTables())
        for (int s = 0; s < 6; ++s)
            for (int n : {1, 5, 8, 15, 16, 17, 33, 160}) {
                auto x = signal(kShapes[s], n, 3 + n);
                ASSERT_EQ(ref.maxAbs(x.data(), n), k->maxAbs(x.data(), n)) << what(*k, s, n, 0);
                for (int left : {-40, -15, -14, -3, 0, 1, 5, 14}) {
                    std::vector<int16_t> a(n), b(n), c = x;
                    ref.shift(x.data(), a.data(), n, left);
                    k->shift(x.data(), b.data(), n, left);
                    k->shift(c.data(), c.data(), n, left);  // in place
                    ASSERT_EQ(a, b) << what(*k, s, n, left);
                    ASSERT_EQ(a, c) << what(*k, s, n, left);
                }
            }
}
