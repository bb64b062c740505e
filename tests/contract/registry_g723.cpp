#include "contract.h"

namespace xvocontract {

void addG723Entries(std::vector<Entry>& r) {
    Entry acbk{"xvosAdaptiveCodebookSearch_G723",
               [](Call& c) {
                   c.random16(60, -4000, 4000);
                   c.random16(60, -8192, 8192);
                   c.random16(145, -6000, 6000);
                   const int k = c.buffer(5 * sizeof(Xvo32s));
                   for (int j = 0; j < 5; ++j) c.set<Xvo32s>(k, j, 0x20000000 + j * 0x01000000);
                   c.buffer(sizeof(Xvo16s));
                   c.buffer(sizeof(Xvo16s));
                   c.integer(60);  // valBaseLag
                   c.integer(1);   // subFrame
                   c.integer(0);   // sineDetect
                   c.integer(4);   // rate
               },
               [](Call& c) {
                   return xvosAdaptiveCodebookSearch_G723(Xvo16s(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                          c.p<Xvo32s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5), Xvo16s(c.i(1)),
                                                          Xvo16s(c.i(2)), c.i(3));
               },
               {0, 1, 2, 3, 4, 5}, {},
               {{"lag 17", [](Call& c) { c.ints[0] = 17; }, xvoStsRange},
                {"lag 142 odd", [](Call& c) { c.ints[0] = 142; }, xvoStsRange},
                {"subframe 5", [](Call& c) { c.ints[1] = 5; }, xvoStsRange},
                {"rate 3", [](Call& c) { c.ints[3] = 3; }, xvoStsRange}}};
    acbk.fuzzRange = {{0, {18, 141}}, {1, {0, 4}}, {2, {-1, 1}}};
    acbk.fuzzFix = [](Call& c) {
        if ((c.ints[1] & 1) == 0 && c.ints[0] > 142) c.ints[0] = 142;
        c.ints[3] = (c.ints[3] & 1) ? 2 : 4;
    };
    r.push_back(acbk);

    Entry pw{"xvosHarmonicSearch_G723_16s",
             [](Call& c) {
                 c.random16(208, -8000, 8000);
                 c.buffer(sizeof(Xvo16s));
                 c.buffer(sizeof(Xvo16s));
                 c.integer(145);
             },
             [](Call& c) {
                 return xvosHarmonicSearch_G723_16s(Xvo16s(c.i(0)), c.at<Xvo16s>(0, 148), c.p<Xvo16s>(1),
                                                    c.p<Xvo16s>(2));
             },
             {0, 1, 2}, {},
             {{"lag 17", [](Call& c) { c.ints[0] = 17; }, xvoStsRange},
              {"lag 146", [](Call& c) { c.ints[0] = 146; }, xvoStsRange}}};
    pw.fuzzRange = {{0, {18, 145}}};
    r.push_back(pw);

    Entry pf{"xvosPitchPostFilter_G723_16s",
             [](Call& c) {
                 c.random16(385, -10000, 10000);
                 for (int j = 0; j < 3; ++j) c.buffer(sizeof(Xvo16s));
                 c.integer(145);
                 c.integer(3);
                 c.integer(2);
             },
             [](Call& c) {
                 return xvosPitchPostFilter_G723_16s(Xvo16s(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                     c.p<Xvo16s>(3), Xvo16s(c.i(1)), c.i(2));
             },
             {0, 1, 2, 3}, {},
             {{"rate 1", [](Call& c) { c.ints[2] = 1; }, xvoStsRange},
              {"subframe 4", [](Call& c) { c.ints[1] = 4; }, xvoStsRange},
              {"lag 146", [](Call& c) { c.ints[0] = 146; }, xvoStsRange}}};
    pf.fuzzRange = {{0, {18, 145}}, {1, {0, 3}}};
    pf.fuzzFix = [](Call& c) { c.ints[2] = (c.ints[2] & 1) ? 2 : 4; };
    r.push_back(pf);

    Entry gc{"xvosGainControl_G723_16s_I",
             [](Call& c) {
                 c.random16(60);
                 c.words({4096});
                 c.integer(123456789);
             },
             [](Call& c) { return xvosGainControl_G723_16s_I(c.i(0), c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {},
             {{"negative energy", [](Call& c) { c.ints[0] = -1; }, xvoStsBadArg}}};
    gc.fuzzRange = {{0, {-1, 0x40000000}}};  // the span must fit an int
    r.push_back(gc);
    Entry mp{"xvosMPMLQFixedCodebookSearch_G723",
             [](Call& c) {
                 c.random16(60, -8192, 8192);
                 c.random16(60, -6000, 6000);
                 c.buffer(60 * sizeof(Xvo16s));
                 for (int j = 0; j < 4; ++j) c.buffer(sizeof(Xvo16s));
                 c.buffer(sizeof(Xvo32s));
                 c.integer(40);
                 c.integer(0);
             },
             [](Call& c) {
                 return xvosMPMLQFixedCodebookSearch_G723(Xvo16s(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                                                          c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4),
                                                          c.p<Xvo16s>(5), c.p<Xvo16s>(6), c.p<Xvo32s>(7),
                                                          Xvo16s(c.i(1)));
             },
             {0, 1, 2, 3, 4, 5, 6, 7}, {},
             {{"lag 146", [](Call& c) { c.ints[0] = 146; }, xvoStsRange},
              {"subframe 4", [](Call& c) { c.ints[1] = 4; }, xvoStsRange}}};
    mp.fuzzRange = {{0, {18, 145}}, {1, {0, 3}}};
    r.push_back(mp);
    Entry olp{"xvosOpenLoopPitchSearch_G723_16s",
              [](Call& c) {
                  c.random16(262, -8000, 8000);
                  c.buffer(sizeof(Xvo16s));
              },
              [](Call& c) { return xvosOpenLoopPitchSearch_G723_16s(c.at<Xvo16s>(0, 142), c.p<Xvo16s>(1)); }, {0, 1},
              {}, {}};
    r.push_back(olp);

    Entry dec{"xvosDecodeAdaptiveVector_G723_16s",
              [](Call& c) {
                  c.random16(149, -10000, 10000);
                  c.buffer(60 * sizeof(Xvo16s));
                  c.integer(145);
                  c.integer(2);
                  c.integer(169);
                  c.integer(2);
              },
              [](Call& c) {
                  return xvosDecodeAdaptiveVector_G723_16s(c.at<Xvo16s>(0, 149), c.p<Xvo16s>(1), Xvo16s(c.i(0)),
                                                           Xvo16s(c.i(1)), Xvo16s(c.i(2)), c.i(3));
              },
              {0, 1}, {},
              {{"rate 3", [](Call& c) { c.ints[3] = 3; }, xvoStsRange},
               {"lag 146", [](Call& c) { c.ints[0] = 146; }, xvoStsRange},
               {"lag index 4", [](Call& c) { c.ints[1] = 4; }, xvoStsRange},
               {"gain 85 below lag 58 at 6.3", [](Call& c) { c.ints[0] = 40, c.ints[2] = 85, c.ints[3] = 4; }, xvoStsRange}}};
    dec.fuzzRange = {{0, {18, 145}}, {1, {0, 3}}, {2, {0, 84}}};
    dec.fuzzFix = [](Call& c) { c.ints[3] = (c.ints[3] & 1) ? 2 : 4; };
    r.push_back(dec);
    r.push_back({"xvosToeplizMatrix_G723_16s",
                 [](Call& c) {
                     c.random16(60, -8192, 8192);
                     c.buffer(416 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosToeplizMatrix_G723_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}});
    r.push_back({"xvosToeplizMatrix_G723_16s32s",
                 [](Call& c) {
                     c.random16(60, -8192, 8192);
                     c.buffer(416 * sizeof(Xvo32s));
                 },
                 [](Call& c) { return xvosToeplizMatrix_G723_16s32s(c.p<Xvo16s>(0), c.p<Xvo32s>(1)); }, {0, 1}, {}, {}});
    Entry gq{"xvosGainQuant_G723_16s",
             [](Call& c) {
                 c.random16(60, -8192, 8192);
                 c.random16(60, -6000, 6000);
                 for (int j = 0; j < 2; ++j) c.buffer(6 * sizeof(Xvo16s));
                 c.buffer(sizeof(Xvo16s));
                 c.buffer(60 * sizeof(Xvo16s));
                 c.buffer(sizeof(Xvo16s));
                 c.buffer(sizeof(Xvo32s));
                 c.integer(6);
             },
             [](Call& c) {
                 return xvosGainQuant_G723_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                               c.p<Xvo16s>(4), c.p<Xvo16s>(5), c.p<Xvo16s>(6), c.i(0),
                                               c.p<Xvo32s>(7));
             },
             {0, 1, 2, 3, 4, 5, 6, 7}, {},
             {{"4 pulses", [](Call& c) { c.ints[0] = 4; }, xvoStsRange},
              {"7 pulses", [](Call& c) { c.ints[0] = 7; }, xvoStsRange}}};
    gq.fuzzRange = {{0, {5, 6}}};
    r.push_back(gq);

    for (bool wide : {false, true}) {
        Entry ac{wide ? "xvosACELPFixedCodebookSearch_G723_32s16s" : "xvosACELPFixedCodebookSearch_G723_16s",
                 [](Call& c) {
                     c.random16(60);
                     c.random16(60, -8192, 8192);
                     c.buffer(60 * sizeof(Xvo16s));
                     for (int j = 0; j < 4; ++j) c.buffer(sizeof(Xvo16s));
                     c.words({120});
                     c.integer(40);
                     c.integer(12000);
                 },
                 nullptr, {0, 1, 2, 3, 4, 5, 6, 7}, {},
                 {{"lag 15", [](Call& c) { c.ints[0] = 15; }, xvoStsRange},
                  {"lag 147", [](Call& c) { c.ints[0] = 147; }, xvoStsRange}}};
        auto fn = wide ? xvosACELPFixedCodebookSearch_G723_32s16s : xvosACELPFixedCodebookSearch_G723_16s;
        ac.invoke = [fn](Call& c) {
            return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                      c.p<Xvo16s>(6), c.p<Xvo16s>(7), Xvo16s(c.i(0)), Xvo16s(c.i(1)));
        };
        ac.fuzzRange = {{0, {16, 146}}, {1, {-32768, 32767}}};
        r.push_back(ac);
    }

    r.push_back({"xvosAutoCorr_G723_16s",
                 [](Call& c) {
                     c.random16(180);
                     c.buffer(11 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosAutoCorr_G723_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}});
    r.push_back({"xvosAutoCorr_NormE_G723_16s",
                 [](Call& c) {
                     c.random16(180);
                     c.buffer(11 * sizeof(Xvo16s));
                     c.buffer(sizeof(Xvo32s));
                 },
                 [](Call& c) { return xvosAutoCorr_NormE_G723_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo32s>(2)); },
                 {0, 1, 2}, {}, {}});
    r.push_back({"xvosLPCToLSF_G723_16s",
                 [](Call& c) {
                     c.random16(10, -16000, 16000);
                     c.random16(10, 0, 32767);
                     c.buffer(10 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosLPCToLSF_G723_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2)); },
                 {0, 1, 2}, {}, {}});
}

}  // namespace xvocontract
