// The transcribed G.723.1 tables: a checksum over every value and three spot
// values each (first, middle, last), so a dropped or mistyped entry fails.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <span>

#include "g723/g723_tables.h"

namespace {

template <typename T>
uint64_t fnv(std::span<const T> v) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (T x : v) {
        const auto u = static_cast<uint32_t>(static_cast<int32_t>(x));
        for (int b = 0; b < 4; ++b) h = (h ^ ((u >> (8 * b)) & 0xff)) * 0x100000001b3ull;
    }
    return h;
}

template <typename T>
void check(std::span<const T> v, uint64_t sum, int32_t first, int32_t mid, int32_t last) {
    EXPECT_EQ(fnv(v), sum);
    EXPECT_EQ(v.front(), first);
    EXPECT_EQ(v[v.size() / 2], mid);
    EXPECT_EQ(v.back(), last);
}

TEST(G723Tables, ChecksumsAndSpotValues) {
    using namespace xvo::g723;
    check<int16_t>(kAcbkGain085, 0xde0d6715d95b9f6full, 0, 1355, -805);
    check<int16_t>(kAcbkGain170, 0xc6c7852402d6f75full, 0, 3053, -3070);
    check<int16_t>(kFcbkGain, 0x5a133762b1f533b3ull, 1, 115, 6623);
    check<int32_t>(kMaxPos, 0xce8b24bddf800c51ull, 593775, 593775, 142506);
    check<int32_t>(kCombinatorial, 0x016d1928ffee8866ull, 118755, 406, 1);
    check<int16_t>(kHamming, 0xcc672d72cb9160e1ull, 2621, 32766, 2621);
    check<int16_t>(kBinomialWindow, 0xe013a5de1b6800fbull, 32749, 32118, 30995);
    check<int16_t>(kBandExp, 0x56f21283aa14a213ull, 32571, 31606, 30854);
    check<int16_t>(kCosine, 0xe12605c51863cd57ull, 16384, -16384, 16383);
    // The expansion factors are 0.994^(i + 1) and the cosine 16384 cos(2 pi i / 512), to one unit.
    for (int i = 0; i < 10; ++i) EXPECT_NEAR(kBandExp[i], 32768 * std::pow(0.994, i + 1), 1.0) << i;
    for (int i = 0; i < 512; ++i) EXPECT_NEAR(kCosine[i], 16384 * std::cos(2 * M_PI * i / 512), 1.0) << i;
    // Row 0 of the position code weights is C(29 - i, 5).
    int64_t c = 118755;
    for (int i = 0; i < 25; ++i) {
        EXPECT_EQ(kCombinatorial[i], c) << i;
        c = c * (24 - i) / (29 - i);
    }
}

}  // namespace

// The adaptive search adds its scores as plain products, which equal the
// reference's halved doubled products only while no weight is -32768.
TEST(G723Tables, NoAdaptiveWeightIsMinus32768) {
    using namespace xvo::g723;
    for (int16_t w : kAcbkGain085) ASSERT_NE(w, -32768);
    for (int16_t w : kAcbkGain170) ASSERT_NE(w, -32768);
}
