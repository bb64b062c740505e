#include "contract.h"

namespace xvocontract {

namespace {
Variant scale(int k, int v, XvoStatus want) {
    return {"scale factor " + std::to_string(v), [k, v](Call& c) { c.ints[k] = v; }, want};
}
}  // namespace

void addGenericEntries(std::vector<Entry>& r) {
    // Auto-scaling: the headroom travels through a pointer.
    r.push_back({"xvosAutoScale_16s",
                 [](Call& c) {
                     c.random16(160);
                     c.buffer(320);
                     c.integer(160);
                     const int s = c.buffer(sizeof(int));
                     c.set<int>(s, 0, 2);
                 },
                 [](Call& c) { return xvosAutoScale_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<int>(2)); },
                 {0, 1, 2}, {0}, {{"negative headroom", [](Call& c) { c.set<int>(2, 0, -1); }, xvoStsScaleRange}}});
    r.push_back({"xvosAutoScale_16s_I",
                 [](Call& c) {
                     c.random16(160);
                     c.integer(160);
                     const int s = c.buffer(sizeof(int));
                     c.set<int>(s, 0, 0);
                 },
                 [](Call& c) { return xvosAutoScale_16s_I(c.p<Xvo16s>(0), c.i(0), c.p<int>(1)); },
                 {0, 1}, {0}, {{"negative headroom", [](Call& c) { c.set<int>(1, 0, -3); }, xvoStsScaleRange}}});

    r.push_back({"xvosAutoCorr_NormE_16s32s",
                 [](Call& c) {
                     c.random16(160, -2000, 2000);
                     c.integer(160);
                     c.buffer(11 * sizeof(Xvo32s));
                     c.integer(11);
                     c.buffer(sizeof(int));
                 },
                 [](Call& c) {
                     return xvosAutoCorr_NormE_16s32s(c.p<Xvo16s>(0), c.i(0), c.p<Xvo32s>(1), c.i(1), c.p<int>(2));
                 },
                 {0, 1, 2}, {0, 1},
                 // Energy above 0x3FFFFFFF: a warning, yet nothing may be written.
                 {{"energy overflow", [](Call& c) { for (int j = 0; j < 160; ++j) c.set<Xvo16s>(0, j, 32767); },
                   xvoStsOverflow}}});
    r.push_back({"xvosAutoCorr_16s32s",
                 [](Call& c) {
                     c.random16(160);
                     c.integer(160);
                     c.buffer(11 * sizeof(Xvo32s));
                     c.integer(11);
                 },
                 [](Call& c) { return xvosAutoCorr_16s32s(c.p<Xvo16s>(0), c.i(0), c.p<Xvo32s>(1), c.i(1)); },
                 {0, 1}, {0, 1}, {}});

    r.push_back({"xvosInvSqrt_32s_I",
                 [](Call& c) {
                     const int k = c.buffer(32 * sizeof(Xvo32s));
                     for (int j = 0; j < 32; ++j) c.set<Xvo32s>(k, j, j * 65537 - 100);
                     c.integer(32);
                 },
                 [](Call& c) { return xvosInvSqrt_32s_I(c.p<Xvo32s>(0), c.i(0)); }, {0}, {0}, {}});

    Entry harm{"xvosHarmonicFilter_16s_I",
               [](Call& c) {
                   c.random16(20 + 40);
                   c.integer(20);     // lag
                   c.integer(40);     // len
                   c.integer(19661);  // gain, Q15
               },
               [](Call& c) {
                   return xvosHarmonicFilter_16s_I(static_cast<Xvo16s>(c.i(2)), c.i(0), c.at<Xvo16s>(0, 20), c.i(1));
               },
               {0}, {1}, {}};
    harm.fuzzRange = {{0, {-3, 20}}, {2, {-32768, 32767}}};
    r.push_back(harm);
    Entry harmf{"xvosHarmonicFilter_32f_I",
                [](Call& c) {
                    c.random32f(20 + 40);
                    c.integer(20);
                    c.integer(40);
                },
                [](Call& c) { return xvosHarmonicFilter_32f_I(0.6f, c.i(0), c.at<Xvo32f>(0, 20), c.i(1)); },
                {0}, {1}, {}};
    harmf.fuzzRange = {{0, {-3, 20}}};
    r.push_back(harmf);

    r.push_back({"xvosConvPartial_16s32s",
                 [](Call& c) {
                     c.random16(40);
                     c.random16(40);
                     c.buffer(40 * sizeof(Xvo32s));
                     c.integer(40);
                 },
                 [](Call& c) {
                     return xvosConvPartial_16s32s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo32s>(2), c.i(0));
                 },
                 {0, 1, 2}, {0}, {}});
    Entry conv{"xvosConvPartial_16s_Sfs",
               [](Call& c) {
                   c.random16(40);
                   c.random16(40, -4096, 4096);
                   c.buffer(40 * sizeof(Xvo16s));
                   c.integer(40);
                   c.integer(12);
               },
               [](Call& c) {
                   return xvosConvPartial_16s_Sfs(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.i(0), c.i(1));
               },
               {0, 1, 2}, {0},
               // The scale factor is checked before the length and reported as a bad argument.
               {scale(1, -1, xvoStsBadArg),
                {"negative scale factor and zero length", [](Call& c) { c.ints[1] = -1; c.ints[0] = 0; },
                 xvoStsBadArg}}};
    conv.fuzzRange = {{1, {-2, 40}}};
    r.push_back(conv);

    Entry cc{"xvosCrossCorr_16s32s_Sfs",
             [](Call& c) {
                 c.random16(40);
                 c.random16(40);
                 c.integer(40);
                 c.buffer(40 * sizeof(Xvo32s));
                 c.integer(2);
             },
             [](Call& c) {
                 return xvosCrossCorr_16s32s_Sfs(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<Xvo32s>(2), c.i(1));
             },
             {0, 1, 2}, {0}, {scale(1, -1, xvoStsScaleRange)}};
    cc.fuzzRange = {{1, {-2, 40}}};
    r.push_back(cc);
    r.push_back({"xvosCrossCorr_NormM_16s",
                 [](Call& c) {
                     c.random16(40);
                     c.random16(40);
                     c.integer(40);
                     c.buffer(40 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosCrossCorr_NormM_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<Xvo16s>(2));
                 },
                 {0, 1, 2}, {0}, {}});

    Entry lag16{"xvosCrossCorrLagMax_16s",
                [](Call& c) {
                    c.random16(40);
                    c.random16(40 + 20);
                    c.integer(40);
                    c.integer(20);
                    c.buffer(sizeof(Xvo32s));
                    c.buffer(sizeof(int));
                },
                [](Call& c) {
                    return xvosCrossCorrLagMax_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.i(1), c.p<Xvo32s>(2),
                                                   c.p<int>(3));
                },
                {0, 1, 2, 3}, {0}, {{"negative lag", [](Call& c) { c.ints[1] = -1; }, xvoStsRange}}};
    lag16.fuzzRange = {{1, {-2, 20}}};
    r.push_back(lag16);
    Entry lagf{"xvosCrossCorrLagMax_32f64f",
               [](Call& c) {
                   c.random32f(40);
                   c.random32f(40 + 20);
                   c.integer(40);
                   c.integer(20);
                   c.buffer(sizeof(Xvo64f));
                   c.buffer(sizeof(int));
               },
               [](Call& c) {
                   return xvosCrossCorrLagMax_32f64f(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.i(0), c.i(1), c.p<Xvo64f>(2),
                                                     c.p<int>(3));
               },
               {0, 1, 2, 3}, {0}, {{"negative lag", [](Call& c) { c.ints[1] = -1; }, xvoStsRange}}};
    lagf.fuzzRange = {{1, {-2, 20}}};
    r.push_back(lagf);

    // Open-loop pitch searches: 143 samples of past before an 80-sample frame.
    r.push_back({"xvosAutoCorrLagMax_Fwd_16s",
                 [](Call& c) {
                     c.random16(80 + 143);
                     c.integer(80);
                     c.integer(20);
                     c.integer(143);
                     c.buffer(sizeof(Xvo32s));
                     c.buffer(sizeof(int));
                 },
                 [](Call& c) {
                     return xvosAutoCorrLagMax_Fwd_16s(c.p<Xvo16s>(0), c.i(0), c.i(1), c.i(2), c.p<Xvo32s>(1),
                                                       c.p<int>(2));
                 },
                 {0, 1, 2}, {0}, {}});
    r.push_back({"xvosAutoCorrLagMax_Inv_16s",
                 [](Call& c) {
                     c.random16(143 + 80);
                     c.integer(80);
                     c.integer(20);
                     c.integer(143);
                     c.buffer(sizeof(Xvo32s));
                     c.buffer(sizeof(int));
                 },
                 [](Call& c) {
                     return xvosAutoCorrLagMax_Inv_16s(c.at<Xvo16s>(0, 143), c.i(0), c.i(1), c.i(2), c.p<Xvo32s>(1),
                                                       c.p<int>(2));
                 },
                 {0, 1, 2}, {0}, {}});
    r.push_back({"xvosAutoCorrLagMax_32f",
                 [](Call& c) {
                     c.random32f(143 + 80);
                     c.integer(80);
                     c.integer(20);
                     c.integer(143);
                     c.buffer(sizeof(Xvo32f));
                     c.buffer(sizeof(int));
                 },
                 [](Call& c) {
                     return xvosAutoCorrLagMax_32f(c.at<Xvo32f>(0, 143), c.i(0), c.i(1), c.i(2), c.p<Xvo32f>(1),
                                                   c.p<int>(2));
                 },
                 {0, 1, 2}, {0}, {}});

    r.push_back({"xvosDotProdAutoScale_16s32s_Sfs",
                 [](Call& c) {
                     c.random16(64);
                     c.random16(64);
                     c.integer(64);
                     c.buffer(sizeof(Xvo32s));
                     c.buffer(sizeof(int));
                 },
                 [](Call& c) {
                     return xvosDotProdAutoScale_16s32s_Sfs(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<Xvo32s>(2),
                                                            c.p<int>(3));
                 },
                 {0, 1, 2, 3}, {0}, {}});
    r.push_back({"xvosPreemphasize_32f_I",
                 [](Call& c) {
                     c.random32f(80);
                     c.integer(80);
                     const int m = c.buffer(sizeof(Xvo32f));
                     c.set<Xvo32f>(m, 0, 0.25f);
                 },
                 [](Call& c) { return xvosPreemphasize_32f_I(0.68f, c.p<Xvo32f>(0), c.i(0), c.p<Xvo32f>(1)); },
                 {0, 1}, {0}, {}});
    Entry resid{"xvosResidualFilter_Low_16s_Sfs",
                [](Call& c) {
                    c.words({4096, -7000, 3000, 1200, -800, 400, -200, 100, -50, 25, -12});
                    c.integer(10);
                    c.random16(10 + 40, -8000, 8000);
                    c.buffer(40 * sizeof(Xvo16s));
                    c.integer(40);
                    c.integer(12);
                },
                [](Call& c) {
                    return xvosResidualFilter_Low_16s_Sfs(c.p<Xvo16s>(0), c.i(0), c.at<Xvo16s>(1, 10), c.p<Xvo16s>(2),
                                                          c.i(1), c.i(2));
                },
                {0, 1, 2}, {0, 1}, {scale(2, -1, xvoStsScaleRange)}};
    resid.fuzzRange = {{0, {-1, 10}}, {2, {-2, 40}}};
    r.push_back(resid);
}

}  // namespace xvocontract
