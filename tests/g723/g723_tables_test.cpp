// The transcribed G.723.1 tables: size, sum and spot values against the reference's tab_lbc.c,
// so a damaged transcription cannot pass where no golden line reaches an entry.
#include <gtest/gtest.h>

#include <numeric>

#include "g723/g723_tables.h"

using namespace xvo::g723;

TEST(G723Tables, SizesSumsAndSpotValues) {
    EXPECT_EQ(std::accumulate(std::begin(kAcbkGain085), std::end(kAcbkGain085), 0L), 201366);
    EXPECT_EQ(std::accumulate(std::begin(kAcbkGain170), std::end(kAcbkGain170), 0L), 293127);
    EXPECT_EQ(kAcbkGain085[20], 800);
    EXPECT_EQ(kAcbkGain085[21], 1496);
    EXPECT_EQ(kAcbkGain170[170 * 20 - 1], -3070);
    EXPECT_EQ(std::accumulate(std::begin(kFcbkGain), std::end(kFcbkGain), 0L), 21487);
    EXPECT_EQ(kFcbkGain[23], 6623);
    EXPECT_EQ(std::accumulate(std::begin(kCombinatorial), std::end(kCombinatorial), 0L), 768211);
    EXPECT_EQ(kCombinatorial[0], 118755);
}
