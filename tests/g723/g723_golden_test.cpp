// G.723.1 kernels against the golden vectors of the ITU-T G.723.1 reference: every line of every
// file, through the public calls.
#include <gtest/gtest.h>

#include "golden_replay.h"

using xvotest::GoldenRow;
using xvotest::replayGolden;

namespace {

using Case = xvotest::GoldenCase;

const Case kCases[] = {
    {"g723/xvosAdaptiveCodebookSearch_G723.txt", 1500,
     [](GoldenRow& r) {
         return xvosAdaptiveCodebookSearch_G723(
             static_cast<Xvo16s>(r.v("valBaseLag")), r.s16("pSrcAdptTarget"), r.s16("pSrcImpulseResponse"),
             r.s16("pSrcPrevExcitation"), r.s32("pSrcPrevError"), r.s16("pDstLagIndex"), r.s16("pDstAdptGainIndex"),
             static_cast<Xvo16s>(r.v("subFrame")), static_cast<Xvo16s>(r.v("sineDetect")), r.v("rate"));
     }},
    {"g723/xvosMPMLQFixedCodebookSearch_G723.txt", 1500,
     [](GoldenRow& r) {
         return xvosMPMLQFixedCodebookSearch_G723(
             static_cast<Xvo16s>(r.v("valLag")), r.s16("pSrcImpulseResponse"), r.s16("pSrcTarget"),
             r.s16("pDstFixedVector"), r.s16("grid"), r.s16("pDstTrainFlag"), r.s16("pDstGainIndex"),
             r.s16("pDstSignCode"), r.s32("pDstPositionCode"), static_cast<Xvo16s>(r.v("subFrame")));
     }},
    {"g723/xvosHarmonicSearch_G723_16s.txt", 1500,
     [](GoldenRow& r) {
         return xvosHarmonicSearch_G723_16s(static_cast<Xvo16s>(r.v("valLag")), r.s16("pSrc") + 148, r.s16("pDstGain"),
                                            r.s16("pDstLag"));
     }},
    {"g723/xvosPitchPostFilter_G723_16s.txt", 1200,
     [](GoldenRow& r) {
         return xvosPitchPostFilter_G723_16s(static_cast<Xvo16s>(r.v("valLag")), r.s16("pSrc"), r.s16("pDstLag"),
                                             r.s16("pDstGain"), r.s16("pDstGainScale"),
                                             static_cast<Xvo16s>(r.v("subFrame")), r.v("rate"));
     }},
    {"g723/xvosGainControl_G723_16s_I.txt", 2000,
     [](GoldenRow& r) { return xvosGainControl_G723_16s_I(r.s32("energy")[0], r.s16("pSrcDst"), r.s16("pSrcDstGain")); }},
};

class G723Golden : public ::testing::TestWithParam<Case> {};

TEST_P(G723Golden, EveryLine) { xvotest::runGoldenCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Files, G723Golden, ::testing::ValuesIn(kCases), xvotest::goldenCaseName);

}  // namespace
