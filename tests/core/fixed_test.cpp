// Basic operators at their edges: each row is a case the reference
// operators define and that a careless implementation gets wrong.
#include <gtest/gtest.h>

#include "core/fixed.h"

using namespace xvo::fx;

TEST(Fixed, SixteenBitSaturation) {
    struct Case { int16_t got, want; } cases[] = {
        {add(32767, 1), 32767},      {add(-32768, -1), -32768},  {sub(-32768, 1), -32768},
        {sub(0, -32768), 32767},     {abs_s(-32768), 32767},     {negate(-32768), 32767},
        {mult(-32768, -32768), 32767}, {mult(-32768, 16384), -16384}, {mult(-1, 1), -1},
        {mult_r(-32768, -32768), 32767}, {mult_r(1, 16384), 1},   {mult_r(-1, 16384), 0},
        {shl(16384, 1), 32767},      {shl(-16385, 1), -32768},   {shl(1, 16), 32767},
        {shl(0, 20), 0},             {shl(-4, -1), -2},          {shr(-1, 3), -1},
        {shr(-32768, 15), -1},       {shr(12345, 40), 0},        {shr(1, -20), 32767},
        {shr_r(3, 1), 2},            {shr_r(-3, 1), -1},         {shr_r(32767, 16), 0},
        {round_fx(0x7fffffff), 32767}, {round_fx(0x00008000), 1}, {round_fx(-0x8001), -1},
        {extract_l(0x12348765), static_cast<int16_t>(0x8765)},   {extract_h(-1), -1},
        {norm_s(0), 0}, {norm_s(-1), 15}, {norm_s(1), 14}, {norm_s(-32768), 0}, {norm_s(16383), 1},
        {div_s(1, 2), 16384}, {div_s(5, 5), 32767}, {div_s(0, 7), 0}, {div_s(1, 3), 10922},
        {div_s(32766, 32767), 32766}, {div_s(1, 32767), 1}, {div_s(12345, 23456), 17245}, {div_s(3, 7), 14043},
        {add_wrap(32767, 1), -32768}, {sub_wrap(-32768, 1), 32767},
    };
    for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
}

TEST(Fixed, ThirtyTwoBitSaturation) {
    struct Case { int32_t got, want; } cases[] = {
        {L_add(MAX_32, 1), MAX_32},          {L_sub(MIN_32, 1), MIN_32},
        {L_mult(-32768, -32768), MAX_32},    {L_mult(-32768, 32767), -2147418112},
        {L_mac(MAX_32 - 1, 1, 1), MAX_32},   {L_msu(MIN_32 + 1, 1, 1), MIN_32},
        {L_negate(MIN_32), MAX_32},          {L_abs(MIN_32), MAX_32},
        {L_shl(0x40000000, 1), MAX_32},      {L_shl(-0x40000001, 1), MIN_32},
        {L_shl(0x20000000, 1), 0x40000000},  {L_shl(-8, -2), -2},
        {L_shr(-1, 31), -1},                 {L_shr(MIN_32, 40), -1},
        {L_shr(1, -31), MAX_32},             {L_shr_r(3, 1), 2},  {L_shr_r(5, 32), 0},
        {L_deposit_h(-32768), MIN_32},       {L_add_wrap(MAX_32, 1), MIN_32},
        {L_mac_wrap(MAX_32, 1, 1), MIN_32 + 1}, {L_shl_wrap(0x40000000, 1), MIN_32},
        {norm_l(0), 0}, {norm_l(-1), 31}, {norm_l(1), 30}, {norm_l(MIN_32), 0}, {norm_l(0x3fffffff), 1},
    };
    for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
}

TEST(Fixed, OverflowFlagIsStickyAndOnlySetOnSaturation) {
    bool o = false;
    EXPECT_EQ(L_add(1, 2, o), 3);
    EXPECT_FALSE(o);
    EXPECT_EQ(L_mac(MAX_32, 1, 1, o), MAX_32);
    EXPECT_TRUE(o);
    EXPECT_EQ(L_add(1, 2, o), 3);
    EXPECT_TRUE(o);
    bool o2 = false;
    shl(1, 3, o2);
    EXPECT_FALSE(o2);
    shl(1, 15, o2);
    EXPECT_TRUE(o2);
}

TEST(Fixed, DoublePrecisionFormatRoundTrips) {
    for (int32_t L : {0, 1, -1, 123456789, -987654321, MAX_32, MIN_32 + 2}) {
        int16_t hi, lo;
        L_Extract(L, hi, lo);
        EXPECT_GE(lo, 0);
        EXPECT_NEAR(static_cast<double>(L_Comp(hi, lo)), static_cast<double>(L), 2.0) << L;
    }
    // 0.5 * 0.5 = 0.25 in Q31 through both DPF multiplies.
    EXPECT_EQ(Mpy_32(16384, 0, 16384, 0), 0x20000000);
    EXPECT_EQ(Mpy_32_16(16384, 0, 16384), 0x20000000);
}

// The shift and normalisation operators against the reference's bit-by-bit definitions.
TEST(Fixed, ShiftsAndNormsEqualTheirStepwiseDefinitions) {
    for (int a = -32768; a <= 32767; ++a) {
        int n = 0;
        if (a != 0 && a != -1)
            for (int v = a < 0 ? ~a : a; v < 0x4000; v <<= 1) ++n;
        ASSERT_EQ(norm_s(int16_t(a)), a == -1 ? 15 : n) << a;
    }
    uint32_t seed = 7;
    for (int k = 0; k < 200000; ++k) {
        seed = seed * 1664525u + 1013904223u;
        const int shift = int(seed >> 27) + (k & 7);  // 0..38
        const int32_t a = static_cast<int32_t>(seed * 2654435761u) >> (k % 31);
        int32_t want = a;
        bool wantO = false;
        for (int i = 0; i < shift && !wantO; ++i) {
            if (want > 0x3fffffff) want = MAX_32, wantO = true;
            else if (want < -0x40000000) want = MIN_32, wantO = true;
            else want *= 2;
        }
        bool o = false;
        ASSERT_EQ(L_shl(a, shift, o), want) << a << " << " << shift;
        ASSERT_EQ(o, wantO) << a << " << " << shift;
    }
}
