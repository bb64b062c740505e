// G.729 Annex B SID quantiser and decoder against the reference golden
// vectors, and the properties the goldens do not spell out.
#include <gtest/gtest.h>

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

}  // namespace
