// GSM-AMR and AMR-WB kernels against the golden vectors of the TS 26.073 and
// TS 26.173 references:
// every line of every file, through the public calls.
#include <gtest/gtest.h>

#include "golden_replay.h"

using xvotest::GoldenRow;
using xvotest::replayGolden;

namespace {

using Case = xvotest::GoldenCase;

const Case kCases[] = {
    {"amrnb/xvosEncDTXHandler_GSMAMR_16s.txt", 2000,
     [](GoldenRow& r) {
         return xvosEncDTXHandler_GSMAMR_16s(r.s16("hangover"), r.s16("elapsed"), r.s16("usedMode"), r.s16("computeSid"),
                                             static_cast<Xvo16s>(r.v("vadFlag")));
     }},
    {"amrnb/xvosEncDTXBuffer_GSMAMR_16s.txt", 1000,
     [](GoldenRow& r) {
         return xvosEncDTXBuffer_GSMAMR_16s(r.s16("speech"), r.s16("lsp"), r.s16("index"), r.s16("lspHist"),
                                            r.s16("logEnHist"));
     }},
    {"amrnb/xvosDecDTXBuffer_GSMAMR_16s.txt", 1000,
     [](GoldenRow& r) {
         return xvosDecDTXBuffer_GSMAMR_16s(r.s16("speech"), r.s16("lsp"), r.s16("index"), r.s16("lspHist"),
                                            r.s16("logEnHist"));
     }},
    {"amrnb/xvosLSFToLSP_GSMAMR_16s.txt", 687,
     [](GoldenRow& r) { return xvosLSFToLSP_GSMAMR_16s(r.s16("lsf"), r.s16("lsp")); }},
    {"amrnb/xvosFixedCodebookDecode_GSMAMR_16s.txt", 2000,
     [](GoldenRow& r) {
         return xvosFixedCodebookDecode_GSMAMR_16s(r.s16("indices"), r.s16("code"), static_cast<Xvo16s>(r.v("subframe")),
                                                   XvoSpeechRate(r.v("mode")));
     }},
    {"amrnb/xvosAdaptiveCodebookDecode_GSMAMR_16s.txt", 1100,
     [](GoldenRow& r) {
         return xvosAdaptiveCodebookDecode_GSMAMR_16s(
             static_cast<Xvo16s>(r.v("index")), r.s16("prevLag"), r.s16("decodedLag"), r.s16("exc"), r.s16("lagUsed"),
             r.s16("vec"), static_cast<Xvo16s>(r.v("subframe")), static_cast<Xvo16s>(r.v("bfi")),
             static_cast<Xvo16s>(r.v("bgnFlag")), static_cast<Xvo16s>(r.v("voicedHangover")), XvoSpeechRate(r.v("mode")));
     }},
    {"amrnb/xvosAutoCorr_GSMAMR_16s32s.txt", 1200,
     [](GoldenRow& r) { return xvosAutoCorr_GSMAMR_16s32s(r.s16("speech"), r.s32("acf"), XvoSpeechRate(r.v("mode"))); }},
    {"amrnb/xvosQuantLSPDecode_GSMAMR_16s.txt", 1600,
     [](GoldenRow& r) {
         return xvosQuantLSPDecode_GSMAMR_16s(r.s16("indices"), r.s16("pastRes"), r.s16("pastLSF"), r.s16("lsp"),
                                              r.s16("lsf"), static_cast<Xvo16s>(r.v("bfi")), XvoSpeechRate(r.v("mode")));
     }},
    {"amrnb/xvosAdaptiveCodebookSearch_GSMAMR_16s.txt", 1000,
     [](GoldenRow& r) {
         return xvosAdaptiveCodebookSearch_GSMAMR_16s(r.s16("target"), r.s16("h"), r.s16("olLag"), r.s16("lag"),
                                                      r.s16("exc"), r.s16("frac"), r.s16("index"), r.s16("vec"),
                                                      static_cast<Xvo16s>(r.v("subframe")), XvoSpeechRate(r.v("mode")));
     }},
    {"amrnb/xvosAlgebraicCodebookSearch_GSMAMR_16s.txt", 1500,
     [](GoldenRow& r) {
         return xvosAlgebraicCodebookSearch_GSMAMR_16s(
             static_cast<Xvo16s>(r.v("lag")), static_cast<Xvo16s>(r.v("gain")), r.s16("target"), r.s16("ltpRes"),
             r.s16("h"), r.s16("code"), r.s16("filtCode"), r.s16("indices"), static_cast<Xvo16s>(r.v("subframe")),
             XvoSpeechRate(r.v("mode")));
     }},
    {"amrwb/xvosEncDTXBuffer_AMRWB_16s.txt", 700,
     [](GoldenRow& r) {
         return xvosEncDTXBuffer_AMRWB_16s(r.s16("speech"), r.s16("isf"), r.s16("index"), r.s16("isfHist"),
                                           r.s16("logEnHist"), XvoSpeechRate(r.v("mode")));
     }},
    {"amrwb/xvosDecDTXBuffer_AMRWB_16s.txt", 690,
     [](GoldenRow& r) {
         return xvosDecDTXBuffer_AMRWB_16s(r.s16("speech"), r.s16("isf"), r.s16("index"), r.s16("isfHist"),
                                           r.s16("logEnHist"));
     }},
    {"amrwb/xvosISFQuantDecode_AMRWB_16s.txt", 1500,
     [](GoldenRow& r) {
         return xvosISFQuantDecode_AMRWB_16s(r.s16("indices"), r.s16("isfq"), r.s16("mem"), r.s16("prevIsf"), r.s16("hist"),
                                             r.v("bfi"), XvoSpeechRate(r.v("mode")));
     }},
    {"amrwb/xvosISFQuantDTX_AMRWB_16s.txt", 470,
     [](GoldenRow& r) { return xvosISFQuantDTX_AMRWB_16s(r.s16("isf"), r.s16("isfq"), r.s16("indices")); }},
    {"amrwb/xvosISFQuantDecodeDTX_AMRWB_16s.txt", 630,
     [](GoldenRow& r) { return xvosISFQuantDecodeDTX_AMRWB_16s(r.s16("indices"), r.s16("isfq")); }},
    {"amrwb/xvosISFQuant_AMRWB_16s.txt", 1300,
     [](GoldenRow& r) {
         return xvosISFQuant_AMRWB_16s(r.s16("isf"), r.s16("mem"), r.s16("isfq"), r.s16("indices"),
                                       XvoSpeechRate(r.v("mode")));
     }},
    {"amrwb/xvosISPToISF_Norm_AMRWB_16s.txt", 870,
     [](GoldenRow& r) { return xvosISPToISF_Norm_AMRWB_16s(r.s16("isp"), r.s16("isf"), r.v("len")); }},
    {"amrwb/xvosOpenLoopPitchSearch_AMRWB_16s.txt", 800,
     [](GoldenRow& r) {
         return xvosOpenLoopPitchSearch_AMRWB_16s(r.s16("wsp"), r.s16("lag"), r.s16("gain"), r.s16("oldMedianLag"),
                                                  r.s16("lagHist"), r.s16("adaptWeight"), r.s16("weightFlag"),
                                                  r.s16("hpMem"), r.s16("hpWspHist"), r.s16("tone"), r.v("len"));
     }},
};

class AmrGolden : public ::testing::TestWithParam<Case> {};

TEST_P(AmrGolden, EveryLine) { xvotest::runGoldenCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Files, AmrGolden, ::testing::ValuesIn(kCases), xvotest::goldenCaseName);

}  // namespace
