// The AMR-WB+ ISF decoders and open-loop pitch search: where they coincide with AMR-WB (no loss,
// the AMR-WB lag range) they must reproduce the AMR-WB golden lines; the loss mask and the
// high-band decoder are checked against the rules they implement.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "amr/amrwb_tables.h"
#include "golden_replay.h"

using xvotest::GoldenRow;
using xvotest::replayGolden;

namespace {

bool is46Bit(int mode) {
    for (int m : {9, 13, 15, 16, 18, 19, 20, 21})
        if (mode == m) return true;
    return false;
}

TEST(AmrwbeIsf, NoLossReproducesTheAmrwbGoldenDecoder) {
    const char* file = "amrwb/xvosISFQuantDecode_AMRWB_16s.txt";
    if (!xvotest::findVector(std::string("golden/") + file) && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: " << file;
    size_t plus = 0;
    replayGolden(file, [&](GoldenRow& r) {
        const int mode = r.v("mode");
        if (!is46Bit(mode))  // 36-bit and invalid modes: the AMR-WB decoder keeps the replay going
            return xvosISFQuantDecode_AMRWB_16s(r.s16("indices"), r.s16("isfq"), r.s16("mem"), r.s16("prevIsf"),
                                                r.s16("hist"), r.v("bfi"), XvoSpeechRate(mode));
        ++plus;
        return xvosISFQuantDecode_AMRWBE_16s(r.s16("indices"), r.s16("isfq"), r.s16("mem"), r.s16("prevIsf"),
                                             r.s16("hist"), r.v("bfi"), 0);
    });
    EXPECT_GT(plus, 1000u);
}

TEST(AmrwbeIsf, LostSplitsIgnoreTheirIndexAndKeepTheirStageOneRow) {
    std::mt19937 rng(7);
    const std::array<int, 5> first = {0, 3, 6, 9, 12}, count = {3, 3, 3, 3, 4};
    for (int mask = 0; mask < 32; ++mask) {
        std::array<Xvo16s, 7> idx = {Xvo16s(rng() % 256), Xvo16s(rng() % 256), Xvo16s(rng() % 64), Xvo16s(rng() % 128),
                                     Xvo16s(rng() % 128), Xvo16s(rng() % 32), Xvo16s(rng() % 32)};
        auto decode = [&](const std::array<Xvo16s, 7>& ix, int m) {
            std::array<Xvo16s, 16> isf{}, mem{}, prev{};
            std::array<Xvo16s, 48> hist{};
            EXPECT_EQ(xvosISFQuantDecode_AMRWBE_16s(ix.data(), isf.data(), mem.data(), prev.data(), hist.data(), 0, m),
                      xvoStsOk);
            return mem;  // with a zero memory the new memory is the quantised residual itself
        };
        const auto full = decode(idx, 0), lost = decode(idx, mask);
        auto other = idx;
        for (int k = 0; k < 5; ++k) other[2 + k] = Xvo16s((other[2 + k] + 1) % 32);
        const auto lostOther = decode(other, mask);
        const auto noStage2 = decode(idx, 31);
        for (int k = 0; k < 5; ++k)
            for (int i = first[k]; i < first[k] + count[k]; ++i) {
                const bool gone = (mask >> k) & 1;
                EXPECT_EQ(lost[i], gone ? noStage2[i] : full[i]) << "mask " << mask << " value " << i;
                if (gone) {
                    EXPECT_EQ(lostOther[i], lost[i]) << "mask " << mask << " value " << i;
                }
            }
    }
}

// The high-band decoder against its rules written out independently (the codebooks are the
// checksummed tables): rows, mean and half the memory on a good frame, 0.9 of the memory on a bad
// one, the 461 gap over the first seven, the new memory.
TEST(AmrwbeIsf, HighBandFollowsItsRules) {
    using namespace xvo::amrwb;
    const Xvo16s* mean[2] = {kMeanIsfHfLow, kMeanIsfHf12k8};
    const Xvo16s* dico1[2] = {kDico1IsfHfLow, kDico1IsfHf12k8};
    auto sat = [](int v) { return Xvo16s(std::clamp(v, -32768, 32767)); };
    std::mt19937 rng(11);
    for (int n = 0; n < 600; ++n) {
        const int set = n & 1, bfi = (n >> 1) % 3 == 0;
        const int spread = n < 300 ? 1500 : 32767;  // then extreme memories that saturate
        std::array<Xvo16s, 8> mem, isf{}, want;
        for (auto& m : mem) m = Xvo16s(int(rng() % (2 * spread + 1)) - spread);
        const Xvo16s idx[2] = {Xvo16s(rng() % 4), Xvo16s(rng() % 128)};
        for (int i = 0; i < 8; ++i)
            want[i] = bfi ? sat(((mem[i] * 29491 + 16384) >> 15) + mean[set][i])
                          : sat(sat(sat(dico1[set][idx[0] * 8 + i] + kDico2IsfHf[idx[1] * 8 + i]) + mean[set][i]) +
                                ((mem[i] * 16384 + 16384) >> 15));
        for (int i = 0, lo = 461; i < 7; ++i) want[i] = Xvo16s(std::max<int>(want[i], lo)), lo = sat(want[i] + 461);
        std::array<Xvo16s, 8> memOut = mem;
        ASSERT_EQ(xvosISFQuantDecodeHighBand_AMRWBE_16s(idx, memOut.data(), isf.data(), bfi, set), xvoStsOk);
        EXPECT_EQ(isf, want) << "case " << n;
        for (int i = 0; i < 8; ++i) EXPECT_EQ(memOut[i], sat(want[i] - mean[set][i])) << "case " << n;
    }
}

// With the AMR-WB lag range the AMR-WB+ search is the AMR-WB one without the tone register, whose
// update the test makes itself.
TEST(AmrwbePitch, AmrwbRangeReproducesTheAmrwbGolden) {
    const char* file = "amrwb/xvosOpenLoopPitchSearch_AMRWB_16s.txt";
    if (!xvotest::findVector(std::string("golden/") + file) && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: " << file;
    const size_t rows = replayGolden(file, [](GoldenRow& r) {
        const XvoStatus st = xvosOpenLoopPitchSearch_AMRWBE_16s(
            r.s16("wsp"), r.s16("lag"), r.s16("gain"), r.s16("oldMedianLag"), r.s16("lagHist"), r.s16("adaptWeight"),
            r.s16("weightFlag"), r.s16("hpMem"), r.s16("hpWspHist"), 17, 115, r.v("len"));
        Xvo16s& tone = *r.s16("tone");
        if (st == xvoStsOk) tone = Xvo16s((tone >> 1) | (*r.s16("gain") > 21298 ? 0x4000 : 0));
        return st;
    });
    EXPECT_GE(rows, 800u);
}

}  // namespace
