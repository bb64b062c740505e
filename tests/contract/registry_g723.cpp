// Contract entries of the G.723.1 family.
#include <vector>

#include "contract.h"
#include "xvosc.h"

namespace xvocontract {

namespace {

Variant intIs(int k, int v, XvoStatus want) {
    return {"int " + std::to_string(k) + " = " + std::to_string(v), [k, v](Call& c) { c.ints[k] = v; }, want};
}

}  // namespace

void addG723Entries(std::vector<Entry>& r) {
    // Adaptive search: lag 60, subframe 1, 6.3 kbit/s, taming errors below the threshold.
    Entry acbk{"xvosAdaptiveCodebookSearch_G723",
               [](Call& c) {
                   c.random16(60, -4000, 4000);
                   std::vector<int16_t> h(60);
                   for (int i = 0; i < 60; ++i) h[i] = static_cast<int16_t>(8192 >> (i / 6));
                   c.words(h);
                   c.random16(145, -4000, 4000);
                   const int e = c.buffer(5 * sizeof(Xvo32s));
                   for (int i = 0; i < 5; ++i) c.set<Xvo32s>(e, i, 0x10000000);
                   c.buffer(sizeof(Xvo16s));
                   c.buffer(sizeof(Xvo16s));
                   c.integer(60);
                   c.integer(1);
                   c.integer(0);
                   c.integer(4);
               },
               [](Call& c) {
                   return xvosAdaptiveCodebookSearch_G723(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                                                          c.p<Xvo16s>(2), c.p<Xvo32s>(3), c.p<Xvo16s>(4),
                                                          c.p<Xvo16s>(5), static_cast<Xvo16s>(c.i(1)),
                                                          static_cast<Xvo16s>(c.i(2)), c.i(3));
               },
               {0, 1, 2, 3, 4, 5}, {},
               {intIs(0, 17, xvoStsRange), intIs(0, 142, xvoStsRange), intIs(1, 5, xvoStsRange),
                intIs(3, 3, xvoStsRange)}};
    acbk.fuzzRange = {{0, {10, 150}}, {1, {-1, 5}}, {2, {-2, 1}}, {3, {1, 5}}};
    r.push_back(acbk);
    // MP-MLQ search: lag 40 (pitch-train pass), subframe 0.
    Entry mpmlq{"xvosMPMLQFixedCodebookSearch_G723",
                [](Call& c) {
                    std::vector<int16_t> h(60);
                    for (int i = 0; i < 60; ++i) h[i] = static_cast<int16_t>(8192 >> (i / 6));
                    c.words(h);
                    c.random16(60, -4000, 4000);
                    c.buffer(60 * sizeof(Xvo16s));
                    for (int i = 0; i < 4; ++i) c.buffer(sizeof(Xvo16s));
                    c.buffer(sizeof(Xvo32s));
                    c.integer(40);
                    c.integer(0);
                },
                [](Call& c) {
                    return xvosMPMLQFixedCodebookSearch_G723(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0),
                                                             c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                             c.p<Xvo16s>(4), c.p<Xvo16s>(5), c.p<Xvo16s>(6),
                                                             c.p<Xvo32s>(7), static_cast<Xvo16s>(c.i(1)));
                },
                {0, 1, 2, 3, 4, 5, 6, 7}, {},
                {intIs(0, 17, xvoStsRange), intIs(0, 146, xvoStsRange), intIs(1, 4, xvoStsRange)}};
    mpmlq.fuzzRange = {{0, {10, 150}}, {1, {-1, 4}}};
    r.push_back(mpmlq);
    // Harmonic search: 148 history samples before the subframe, lag 60.
    Entry pw{"xvosHarmonicSearch_G723_16s",
             [](Call& c) {
                 c.random16(208, -8000, 8000);
                 c.buffer(sizeof(Xvo16s));
                 c.buffer(sizeof(Xvo16s));
                 c.integer(60);
             },
             [](Call& c) {
                 return xvosHarmonicSearch_G723_16s(static_cast<Xvo16s>(c.i(0)), c.at<Xvo16s>(0, 148), c.p<Xvo16s>(1),
                                                    c.p<Xvo16s>(2));
             },
             {0, 1, 2}, {}, {intIs(0, 17, xvoStsRange), intIs(0, 146, xvoStsRange)}};
    pw.fuzzRange = {{0, {10, 150}}};
    r.push_back(pw);
    Entry lpf{"xvosPitchPostFilter_G723_16s",
              [](Call& c) {
                  c.random16(385, -8000, 8000);
                  c.buffer(sizeof(Xvo16s));
                  c.buffer(sizeof(Xvo16s));
                  c.buffer(sizeof(Xvo16s));
                  c.integer(60);
                  c.integer(1);
                  c.integer(4);
              },
              [](Call& c) {
                  return xvosPitchPostFilter_G723_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                                                      c.p<Xvo16s>(2), c.p<Xvo16s>(3), static_cast<Xvo16s>(c.i(1)),
                                                      c.i(2));
              },
              {0, 1, 2, 3}, {}, {intIs(2, 3, xvoStsRange), intIs(1, 4, xvoStsRange), intIs(0, 146, xvoStsRange)}};
    lpf.fuzzRange = {{0, {10, 150}}, {1, {-1, 4}}, {2, {1, 5}}};
    r.push_back(lpf);
    Entry scale{"xvosGainControl_G723_16s_I",
                [](Call& c) {
                    c.random16(60, -20000, 20000);
                    c.words({4096});
                    c.integer(1 << 20);
                },
                [](Call& c) { return xvosGainControl_G723_16s_I(c.i(0), c.p<Xvo16s>(0), c.p<Xvo16s>(1)); },
                {0, 1}, {}, {intIs(0, -1, xvoStsBadArg)}};
    scale.fuzzRange = {{0, {-1000, 1 << 30}}};
    r.push_back(scale);
}

}  // namespace xvocontract
