#include "contract.h"

#include <cstring>
#include <string>

namespace xvocontract {

namespace {
const std::vector<int16_t> kLsp = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -26000};
const std::vector<int16_t> kLsf = {1384, 2077, 3420, 5108, 6742, 8122, 9863, 11092, 12714, 13701};

Variant intIs(int k, int v, XvoStatus want) {
    return {"int " + std::to_string(k) + " = " + std::to_string(v), [k, v](Call& c) { c.ints[k] = v; }, want};
}

Variant wordIs(int buf, int16_t v, XvoStatus want, const char* what) {
    return {what, [buf, v](Call& c) { c.set<int16_t>(buf, 0, v); }, want};
}

// Index at 3, histories 8 x 10 and 8.
void dtxBuffer(Call& c) {
    c.random16(160, -20000, 20000);
    c.words(kLsp);
    c.words({3});
    c.random16(80);
    c.random16(8);
}
}  // namespace

void addGsmAmrEntries(std::vector<Entry>& r) {
    Entry handler{"xvosEncDTXHandler_GSMAMR_16s",
                  [](Call& c) {
                      c.words({0});
                      c.words({5});
                      c.words({12});
                      c.buffer(sizeof(Xvo16s));
                      c.integer(0);
                  },
                  [](Call& c) {
                      return xvosEncDTXHandler_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                          static_cast<Xvo16s>(c.i(0)));
                  },
                  {0, 1, 2, 3}, {}, {}};
    handler.fuzzRange = {{0, {-2, 2}}};
    r.push_back(handler);

    using Buf = XvoStatus (*)(const Xvo16s*, const Xvo16s*, Xvo16s*, Xvo16s*, Xvo16s*);
    const std::pair<const char*, Buf> bufs[] = {{"xvosEncDTXBuffer_GSMAMR_16s", &xvosEncDTXBuffer_GSMAMR_16s},
                                                {"xvosDecDTXBuffer_GSMAMR_16s", &xvosDecDTXBuffer_GSMAMR_16s}};
    for (const auto& [name, fn] : bufs)
        r.push_back({name, dtxBuffer,
                     [fn = fn](Call& c) {
                         return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4));
                     },
                     {0, 1, 2, 3, 4}, {},
                     {wordIs(2, 8, xvoStsBadCodecParam, "index 8"), wordIs(2, -1, xvoStsBadCodecParam, "index -1")}});

    Entry lsp{"xvosLSFToLSP_GSMAMR_16s",
              [](Call& c) {
                  c.words(kLsf);
                  c.buffer(10 * sizeof(Xvo16s));
              },
              [](Call& c) { return xvosLSFToLSP_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}};
    lsp.mayFailValid = true;  // the fuzzer's negative LSFs end in xvoStsDomain after a partial write
    r.push_back(lsp);

    Entry fcb{"xvosFixedCodebookDecode_GSMAMR_16s",
              [](Call& c) {
                  c.words({3, 9, 100, 0, 3, 5, 9, 1, 2, 6});
                  c.buffer(40 * sizeof(Xvo16s));
                  c.integer(0);
                  c.integer(XVO_BITRATE_12200);
              },
              [](Call& c) {
                  return xvosFixedCodebookDecode_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), static_cast<Xvo16s>(c.i(0)),
                                                            XvoSpeechRate(c.i(1)));
              },
              {0, 1}, {},
              {intIs(0, 4, xvoStsRange), intIs(0, -1, xvoStsRange), intIs(1, 2, xvoStsRange), intIs(1, 26, xvoStsRange)}};
    fcb.fuzzRange = {{0, {-1, 4}}, {1, {-1, 26}}};
    r.push_back(fcb);

    Entry acb{"xvosAdaptiveCodebookDecode_GSMAMR_16s",
              [](Call& c) {
                  c.words({60});
                  c.buffer(sizeof(Xvo16s));
                  c.random16(194, -8000, 8000);
                  c.buffer(sizeof(Xvo16s));
                  c.buffer(40 * sizeof(Xvo16s));
                  for (int v : {100, 1, 0, 0, 0, int(XVO_BITRATE_7950)}) c.integer(v);
              },
              [](Call& c) {
                  return xvosAdaptiveCodebookDecode_GSMAMR_16s(
                      static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                      c.p<Xvo16s>(4), static_cast<Xvo16s>(c.i(1)), static_cast<Xvo16s>(c.i(2)),
                      static_cast<Xvo16s>(c.i(3)), static_cast<Xvo16s>(c.i(4)), XvoSpeechRate(c.i(5)));
              },
              {0, 1, 2, 3, 4}, {},
              {intIs(1, 4, xvoStsSize), intIs(5, 2, xvoStsRange), intIs(0, 512, xvoStsRange),
               {"previous lag 400 in a 12.2 bad frame",
               [](Call& c) {
                   c.set<int16_t>(0, 0, 400);
                   c.ints[2] = 1;
                   c.ints[5] = XVO_BITRATE_12200;
               },
               xvoStsBadCodecParam}}};
    acb.fuzzRange = {{0, {-2, 520}}, {1, {-1, 4}}, {2, {0, 1}}, {5, {-1, 26}}};
    r.push_back(acb);

    Entry acf{"xvosAutoCorr_GSMAMR_16s32s",
              [](Call& c) {
                  c.random16(240);
                  c.buffer(22 * sizeof(Xvo32s));
                  c.integer(XVO_BITRATE_12200);
              },
              [](Call& c) { return xvosAutoCorr_GSMAMR_16s32s(c.p<Xvo16s>(0), c.p<Xvo32s>(1), XvoSpeechRate(c.i(0))); },
              {0, 1}, {}, {intIs(0, 2, xvoStsRange), intIs(0, -1, xvoStsRange)}};
    acf.fuzzRange = {{0, {-1, 26}}};
    r.push_back(acf);

    Entry lspDec{"xvosQuantLSPDecode_GSMAMR_16s",
                 [](Call& c) {
                     c.words({20, 100, 30, 17, 9});
                     c.words(std::vector<int16_t>(10, 0));
                     c.words(kLsf);
                     c.buffer(20 * sizeof(Xvo16s));
                     c.buffer(20 * sizeof(Xvo16s));
                     c.integer(0);
                     c.integer(XVO_BITRATE_12200);
                 },
                 [](Call& c) {
                     return xvosQuantLSPDecode_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                          c.p<Xvo16s>(4), static_cast<Xvo16s>(c.i(0)),
                                                          XvoSpeechRate(c.i(1)));
                 },
                 {0, 1, 2, 3, 4}, {}, {intIs(1, 2, xvoStsRange), intIs(1, 13, xvoStsRange)}};
    lspDec.fuzzRange = {{0, {0, 1}}, {1, {-1, 26}}};
    r.push_back(lspDec);

    Entry search{"xvosAdaptiveCodebookSearch_GSMAMR_16s",
                 [](Call& c) {
                     c.random16(40, -4000, 4000);
                     c.random16(40, -4096, 4096);
                     c.words({60, 62});
                     c.words({60});
                     c.random16(194, -8000, 8000);
                     for (int k = 0; k < 2; ++k) c.buffer(sizeof(Xvo16s));
                     c.buffer(40 * sizeof(Xvo16s));
                     c.integer(1);
                     c.integer(XVO_BITRATE_7950);
                 },
                 [](Call& c) {
                     return xvosAdaptiveCodebookSearch_GSMAMR_16s(
                         c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                         c.p<Xvo16s>(6), c.p<Xvo16s>(7), static_cast<Xvo16s>(c.i(0)), XvoSpeechRate(c.i(1)));
                 },
                 {0, 1, 2, 3, 4, 5, 6, 7}, {},
                 {intIs(0, 4, xvoStsSize), intIs(0, -1, xvoStsSize), intIs(1, 25, xvoStsRange),
                  intIs(1, 2, xvoStsRange)}};
    search.fuzzRange = {{0, {-1, 4}}, {1, {-1, 26}}};
    r.push_back(search);

    r.push_back({"xvosAdaptiveCodebookGainCoeffs_GSMAMR_16s",
                 [](Call& c) {
                     c.random16(40);
                     c.random16(40);
                     c.buffer(4 * sizeof(Xvo16s));
                     c.buffer(sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosAdaptiveCodebookGainCoeffs_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                                      c.p<Xvo16s>(3));
                 },
                 {0, 1, 2, 3}, {}, {}});
    r.push_back({"xvosAdaptiveCodebookGain_GSMAMR_16s",
                 [](Call& c) {
                     c.random16(40);
                     c.random16(40);
                     c.buffer(sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosAdaptiveCodebookGain_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2)); },
                 {0, 1, 2}, {}, {}});

    Entry vad1{"xvosVAD1_GSMAMR_16s",
               [](Call& c) {
                   c.random16(160, -12000, 12000);
                   const int k = c.buffer(sizeof(XvoVAD1State_GSMAMR));
                   XvoVAD1State_GSMAMR st{};
                   for (int i = 0; i < 9; ++i) st.bckrEst[i] = st.aveLevel[i] = st.oldLevel[i] = 150;
                   st.bestCorrHp = st.corrHpFast = 13106;
                   std::memcpy(c.bufs[k].data(), &st, sizeof st);
                   c.buffer(sizeof(Xvo16s));
                   c.integer(20000);
               },
               [](Call& c) {
                   return xvosVAD1_GSMAMR_16s(c.p<Xvo16s>(0), c.p<XvoVAD1State_GSMAMR>(1), c.p<Xvo16s>(2),
                                              static_cast<Xvo16s>(c.i(0)));
               },
               {0, 1, 2}, {}, {}};
    vad1.fuzzRange = {{0, {-32768, 32767}}};
    r.push_back(vad1);
    r.push_back({"xvosEncDTXSID_GSMAMR_16s",
                 [](Call& c) {
                     std::vector<int16_t> hist(80);
                     for (int i = 0; i < 80; ++i) hist[i] = static_cast<int16_t>(30000 - 6000 * (i % 10));
                     c.words(hist);
                     c.random16(8, -5000, 1000);
                     c.words({0, 0, 0, 0, 0});
                     c.buffer(10 * sizeof(Xvo16s));
                     c.buffer(10 * sizeof(Xvo16s));
                     c.buffer(4 * sizeof(Xvo16s));
                     c.buffer(4 * sizeof(Xvo16s));
                     c.integer(1);
                 },
                 [](Call& c) {
                     return xvosEncDTXSID_GSMAMR_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                     c.p<Xvo16s>(4), c.p<Xvo16s>(5), c.p<Xvo16s>(6),
                                                     static_cast<Xvo16s>(c.i(0)));
                 },
                 {0, 1, 2, 3, 4, 5, 6}, {}, {}});
    // Algebraic search: lag 30 (sharpening active), gain 0.8, 12.2; buffers target, residual, h,
    // code, filtered code, 10 index words.
    auto acelp = [](Call& c) {
        c.random16(40, -3000, 3000);
        c.random16(40, -3000, 3000);
        std::vector<int16_t> h(40);
        for (int i = 0; i < 40; ++i) h[i] = static_cast<int16_t>(4096 >> (i / 4));
        c.words(h);
        c.buffer(40 * sizeof(Xvo16s));
        c.buffer(40 * sizeof(Xvo16s));
        c.buffer(10 * sizeof(Xvo16s));
        c.integer(30);
        c.integer(13107);
        c.integer(2);
        c.integer(XVO_BITRATE_12200);
    };
    const std::vector<Variant> acelpBad = {intIs(2, 4, xvoStsRange), intIs(0, 16, xvoStsRange),
                                           intIs(0, 145, xvoStsRange), intIs(3, 2, xvoStsRange),
                                           {"null residual at 12.2", [](Call& c) { c.null[1] = true; }, xvoStsNullPtr}};
    Entry algSearch{"xvosAlgebraicCodebookSearch_GSMAMR_16s", acelp,
              [](Call& c) {
                  return xvosAlgebraicCodebookSearch_GSMAMR_16s(
                      static_cast<Xvo16s>(c.i(0)), static_cast<Xvo16s>(c.i(1)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                      c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5), static_cast<Xvo16s>(c.i(2)),
                      XvoSpeechRate(c.i(3)));
              },
              {0, 2, 3, 4, 5}, {}, acelpBad};
    algSearch.fuzzRange = {{0, {10, 150}}, {1, {-32768, 32767}}, {2, {-1, 4}}, {3, {0, 13}}};
    r.push_back(algSearch);
    Entry acbEx{"xvosAlgebraicCodebookSearchEX_GSMAMR_16s",
                [acelp](Call& c) {
                    acelp(c);
                    c.buffer(64);
                },
                [](Call& c) {
                    return xvosAlgebraicCodebookSearchEX_GSMAMR_16s(
                        static_cast<Xvo16s>(c.i(0)), static_cast<Xvo16s>(c.i(1)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                        c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                        static_cast<Xvo16s>(c.i(2)), XvoSpeechRate(c.i(3)), c.p<Xvo8u>(6));
                },
                {6, 0, 2, 3, 4, 5}, {}, acelpBad};
    acbEx.fuzzRange = algSearch.fuzzRange;
    r.push_back(acbEx);
    r.push_back({"xvosVAD2_GSMAMR_16s",
                 [](Call& c) {
                     c.random16(160, -12000, 12000);
                     const int k = c.buffer(sizeof(XvoVAD2State_GSMAMR));
                     std::memset(c.bufs[k].data(), 0, sizeof(XvoVAD2State_GSMAMR));
                     c.buffer(sizeof(Xvo16s));
                     c.integer(0);
                 },
                 [](Call& c) {
                     return xvosVAD2_GSMAMR_16s(c.p<Xvo16s>(0), c.p<XvoVAD2State_GSMAMR>(1), c.p<Xvo16s>(2),
                                                static_cast<Xvo16s>(c.i(0)));
                 },
                 {0, 1, 2}, {}, {}});
    r.push_back({"xvosFFTFwd_RToPerm_GSMAMR_16s_I", [](Call& c) { c.random16(128); },
                 [](Call& c) { return xvosFFTFwd_RToPerm_GSMAMR_16s_I(c.p<Xvo16s>(0)); }, {0}, {}, {}});
    r.push_back({"xvosPreemphasize_GSMAMR_16s",
                 [](Call& c) {
                     c.random16(80);
                     c.buffer(80 * sizeof(Xvo16s));
                     c.words({1234});
                     c.integer(-26214);
                     c.integer(80);
                 },
                 [](Call& c) {
                     return xvosPreemphasize_GSMAMR_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                                                        c.i(1), c.p<Xvo16s>(2));
                 },
                 {0, 1, 2}, {1}, {}});

    // AMR-WB DTX histories: index 3, 8 x 16 ISFs, 8 energies.
    const auto wbDtx = [](Call& c) {
        c.random16(256, -20000, 20000);
        c.random16(16, 0, 16000);
        c.words({3});
        c.random16(128);
        c.random16(8);
    };
    r.push_back({"xvosEncDTXBuffer_AMRWB_16s",
                 [wbDtx](Call& c) {
                     wbDtx(c);
                     c.integer(XVO_BITRATE_12650);
                 },
                 [](Call& c) {
                     return xvosEncDTXBuffer_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                       c.p<Xvo16s>(4), XvoSpeechRate(c.i(0)));
                 },
                 {0, 1, 2, 3, 4}, {},
                 {intIs(0, 12, xvoStsRange), wordIs(2, 8, xvoStsBadCodecParam, "index 8")}});
    r.push_back({"xvosDecDTXBuffer_AMRWB_16s", wbDtx,
                 [](Call& c) {
                     return xvosDecDTXBuffer_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                       c.p<Xvo16s>(4));
                 },
                 {0, 1, 2, 3, 4}, {}, {wordIs(2, -1, xvoStsBadCodecParam, "index -1")}});

    Entry isfDec{"xvosISFQuantDecode_AMRWB_16s",
                 [](Call& c) {
                     c.words({12, 200, 30, 77, 100, 9, 20});
                     c.buffer(16 * sizeof(Xvo16s));
                     c.random16(16, -500, 500);
                     c.random16(16, 0, 16000);
                     c.random16(48, 0, 16000);
                     c.integer(0);
                     c.integer(XVO_BITRATE_12650);
                 },
                 [](Call& c) {
                     return xvosISFQuantDecode_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                         c.p<Xvo16s>(4), c.i(0), XvoSpeechRate(c.i(1)));
                 },
                 {0, 1, 2, 3, 4}, {}, {intIs(1, 12, xvoStsRange), intIs(1, 2, xvoStsRange)}};
    isfDec.fuzzRange = {{0, {0, 1}}, {1, {-1, 26}}};
    r.push_back(isfDec);
    r.push_back({"xvosISFQuantDTX_AMRWB_16s",
                 [](Call& c) {
                     c.random16(16, 0, 16000);
                     c.buffer(16 * sizeof(Xvo16s));
                     c.buffer(5 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosISFQuantDTX_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2)); },
                 {0, 1, 2}, {}, {}});
    r.push_back({"xvosISFQuantDecodeDTX_AMRWB_16s",
                 [](Call& c) {
                     c.words({3, 40, 63, 0, 31});
                     c.buffer(16 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosISFQuantDecodeDTX_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}});

    Entry isfQ{"xvosISFQuant_AMRWB_16s",
               [](Call& c) {
                   c.words({400, 900, 1800, 2900, 3900, 5000, 6000, 7000, 8000, 9000, 10000, 11000, 12000, 13000, 14000, 4000});
                   c.random16(16, -500, 500);
                   c.buffer(16 * sizeof(Xvo16s));
                   c.buffer(7 * sizeof(Xvo16s));
                   c.integer(XVO_BITRATE_23850);
               },
               [](Call& c) {
                   return xvosISFQuant_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                 XvoSpeechRate(c.i(0)));
               },
               {0, 1, 2, 3}, {}, {intIs(0, 12, xvoStsRange)}};
    isfQ.fuzzRange = {{0, {-1, 26}}};
    r.push_back(isfQ);

    r.push_back({"xvosISPToISF_Norm_AMRWB_16s",
                 [](Call& c) {
                     c.words({32138, 30274, 27246, 23170, 18205, 12540, 6393, 0, -6393, -12540, -18205, -23170, -27246,
                              -30274, -32138, 1475});
                     c.buffer(16 * sizeof(Xvo16s));
                     c.integer(16);
                 },
                 [](Call& c) { return xvosISPToISF_Norm_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0)); }, {0, 1},
                 {0}, {}});
    Entry isfDecE{"xvosISFQuantDecode_AMRWBE_16s", isfDec.setup,
                  [](Call& c) {
                      return xvosISFQuantDecode_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                           c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.i(0), c.i(1));
                  },
                  {0, 1, 2, 3, 4}, {}, {}};
    isfDecE.fuzzRange = {{0, {0, 1}}, {1, {-1, 40}}};
    r.push_back(isfDecE);
    Entry isfHf{"xvosISFQuantDecodeHighBand_AMRWBE_16s",
                [](Call& c) {
                    c.words({3, 127});
                    c.random16(8, -800, 800);
                    c.buffer(8 * sizeof(Xvo16s));
                    c.integer(0);
                    c.integer(1);
                },
                [](Call& c) {
                    return xvosISFQuantDecodeHighBand_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.i(0),
                                                                 c.i(1));
                },
                {0, 1, 2}, {}, {}};
    isfHf.fuzzRange = {{0, {0, 1}}, {1, {0, 1}}};
    r.push_back(isfHf);

    // Open-loop pitch: speech, lag, gain, median 40 with weighting on, lag history, weight, flag,
    // filter memory, high-passed history, tone.
    auto olSetup = [](int hist) {
        return [hist](Call& c) {
            c.random16(hist + 128, -8000, 8000);
            c.buffer(sizeof(Xvo16s));
            c.buffer(sizeof(Xvo16s));
            c.words({40});
            c.words({40, 41, 39, 40, 42});
            c.words({30000});
            c.words({1});
            c.words(std::vector<int16_t>(9, 0));
            c.random16(hist, -8000, 8000);
            c.words({0x2000});
        };
    };
    r.push_back({"xvosOpenLoopPitchSearch_AMRWB_16s",
                 [olSetup](Call& c) {
                     olSetup(115)(c);
                     c.integer(128);
                 },
                 [](Call& c) {
                     return xvosOpenLoopPitchSearch_AMRWB_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                              c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                                                              c.p<Xvo16s>(6), c.p<Xvo16s>(7), c.p<Xvo16s>(8),
                                                              c.p<Xvo16s>(9), c.i(0));
                 },
                 {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {0},
                 {intIs(0, 100, xvoStsSize), wordIs(3, 117, xvoStsRange, "median 117 with weighting")}});
    Entry olE{"xvosOpenLoopPitchSearch_AMRWBE_16s",
              [olSetup](Call& c) {
                  olSetup(130)(c);
                  c.integer(20);
                  c.integer(130);
                  c.integer(64);
              },
              [](Call& c) {
                  return xvosOpenLoopPitchSearch_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                            c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                                                            c.p<Xvo16s>(6), c.p<Xvo16s>(7), c.p<Xvo16s>(8), c.i(0),
                                                            c.i(1), c.i(2));
              },
              {0, 1, 2, 3, 4, 5, 6, 7, 8}, {2},
              {intIs(2, 257, xvoStsSize), intIs(1, 20, xvoStsRange), intIs(1, 257, xvoStsRange),
               intIs(0, 0, xvoStsRange), wordIs(3, 29, xvoStsRange, "median 29 with weighting")}};
    olE.fuzzRange = {{0, {1, 20}}, {1, {21, 130}}};
    r.push_back(olE);

    // AMR-WB VAD: a record set up by Init, carried through a few frames of noise first.
    auto wbVadState = [](Call& c) {
        const int s = c.buffer(172);
        xvosVADInit_AMRWB_16s(c.p<XvoVADState_AMRWB>(s));
        return s;
    };
    r.push_back({"xvosVADGetSize_AMRWB_16s", [](Call& c) { c.buffer(sizeof(Xvo32s)); },
                 [](Call& c) { return xvosVADGetSize_AMRWB_16s(c.p<Xvo32s>(0)); }, {0}, {}, {}});
    r.push_back({"xvosVADInit_AMRWB_16s", [](Call& c) { c.buffer(172); },
                 [](Call& c) { return xvosVADInit_AMRWB_16s(c.p<XvoVADState_AMRWB>(0)); }, {0}, {}, {}});
    Entry wbVad{"xvosVAD_AMRWB_16s",
                [wbVadState](Call& c) {
                    c.random16(256, -6000, 6000);
                    wbVadState(c);
                    c.words({0x7c00});
                    c.buffer(sizeof(Xvo16s));
                },
                [](Call& c) {
                    return xvosVAD_AMRWB_16s(c.p<Xvo16s>(0), c.p<XvoVADState_AMRWB>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3));
                },
                {0, 1, 2, 3}, {}, {}};
    wbVad.trusted = {1};
    r.push_back(wbVad);
    Entry wbLevels{"xvosVADGetEnergyLevel_AMRWB_16s",
                   [wbVadState](Call& c) {
                       wbVadState(c);
                       c.buffer(12 * sizeof(Xvo16s));
                   },
                   [](Call& c) { return xvosVADGetEnergyLevel_AMRWB_16s(c.p<XvoVADState_AMRWB>(0), c.p<Xvo16s>(1)); },
                   {0, 1}, {}, {}};
    wbLevels.trusted = {0};
    r.push_back(wbLevels);
}

}  // namespace xvocontract
