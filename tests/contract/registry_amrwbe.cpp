#include "contract.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <string>

namespace xvocontract {

namespace {
Variant intIs(int k, int v, XvoStatus want) {
    return {"int " + std::to_string(k) + " = " + std::to_string(v), [k, v](Call& c) { c.ints[k] = v; }, want};
}
// Keeps the phase word of buffer k within 0..mod - 1, so that most fuzzed calls run the kernel
// (the valid range depends on other arguments; the rest test the range check).
std::function<void(Call&)> phaseBelow(int k, int mod) {
    return [k, mod](Call& c) {
        int16_t ph;
        std::memcpy(&ph, c.bufs[k].data(), sizeof ph);
        c.set<int16_t>(k, 0, static_cast<int16_t>((ph & 0x7fff) % mod));
    };
}
}  // namespace

void addAmrwbeEntries(std::vector<Entry>& r) {
    // Band split of a 1024-sample frame: 128 samples of look-ahead, 20 + 160 low-band entries
    // (and the 21 the interpolation may read for shorter lengths).
    r.push_back({"xvosBandSplit_AMRWBE_16s",
                 [](Call& c) {
                     c.random16(1024 + 128);
                     c.random16(20 + 160 + 21);
                     c.buffer(1024 * sizeof(Xvo16s));
                     c.integer(1024);
                 },
                 [](Call& c) { return xvosBandSplit_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.i(0)); },
                 {0, 1, 2}, {0}, {}});
    r.push_back({"xvosBandJoin_AMRWBE_16s",
                 [](Call& c) {
                     c.random16(20 + 160 + 21);
                     c.random16(1024);
                     c.buffer(1024 * sizeof(Xvo16s));
                     c.integer(1024);
                 },
                 [](Call& c) { return xvosBandJoin_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.i(0)); },
                 {0, 1, 2}, {0}, {}});

    Entry up{"xvosBandJoinUpsample_AMRWBE_16s",
             [](Call& c) {
                 c.random16(24 + 1024);
                 c.random16(24 + 1024);
                 c.buffer(7680 * sizeof(Xvo16s));  // the most a 1024-sample frame gives (factor 48)
                 c.random16(24);
                 c.words({700});
                 c.buffer(sizeof(Xvo32s));
                 c.integer(1024);
                 c.integer(3840);
                 c.integer(96);
             },
             [](Call& c) {
                 return xvosBandJoinUpsample_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<Xvo16s>(2), c.i(1),
                                                        c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo32s>(5),
                                                        static_cast<Xvo16s>(c.i(2)));
             },
             {0, 1, 2, 3, 4, 5}, {0, 1},
             {intIs(1, 3841, xvoStsSize), intIs(0, 1025, xvoStsSize), intIs(2, 47, xvoStsRange),
              intIs(2, 165, xvoStsRange),
              {"phase 1323 at 44.1 kHz", [](Call& c) { c.ints[1] = 3528; c.set<int16_t>(4, 0, 1323); }, xvoStsRange},
              {"phase -1", [](Call& c) { c.set<int16_t>(4, 0, -1); }, xvoStsRange}}};
    up.fuzzRange = {{1, {3527, 3841}}, {2, {47, 165}}};
    up.fuzzFix = phaseBelow(4, 1400);
    r.push_back(up);

    Entry gain{"xvosGainDecodeTCX_AMRWBE_16s",
               [](Call& c) {
                   c.random16(1152);
                   c.words({900});
                   c.buffer(sizeof(Xvo32s));
                   c.integer(1152);
                   c.integer(64);
                   c.integer(0);
               },
               [](Call& c) {
                   return xvosGainDecodeTCX_AMRWBE_16s(c.p<Xvo16s>(0), c.i(0), c.i(1), c.i(2), c.p<Xvo16s>(1),
                                                      c.p<Xvo32s>(2));
               },
               {0, 1, 2}, {0},
               {intIs(1, 128, xvoStsRange), intIs(1, -1, xvoStsRange), intIs(2, 2, xvoStsRange)}};
    gain.fuzzRange = {{1, {-1, 128}}, {2, {-1, 2}}};
    r.push_back(gain);

    r.push_back({"xvosSNR_AMRWBE_16s",
                 [](Call& c) {
                     c.random16(1024);
                     c.random16(1024);
                     c.buffer(sizeof(Xvo16s));
                     c.integer(1024);
                     c.integer(64);
                 },
                 [](Call& c) {
                     return xvosSNR_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.i(1), c.p<Xvo16s>(2));
                 },
                 {0, 1, 2}, {0, 1},
                 {{"length 100, segment 30", [](Call& c) { c.ints[0] = 100; c.ints[1] = 30; }, xvoStsSize}}});

    Entry split{"xvosBandSplitDownsample_AMRWBE_16s",
                [](Call& c) {
                    c.random16(7680);  // the most one call consumes (48 kHz, facFs 48)
                    c.buffer(1024 * sizeof(Xvo16s));
                    c.buffer(1024 * sizeof(Xvo16s));
                    c.random16(1608);
                    c.words({0});
                    c.buffer(sizeof(Xvo32s));
                    c.integer(1024);
                    c.integer(48000);
                    c.integer(96);
                },
                [](Call& c) {
                    return xvosBandSplitDownsample_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.i(0),
                                                              c.i(1), static_cast<Xvo16s>(c.i(2)), c.p<Xvo16s>(3),
                                                              c.p<Xvo16s>(4), c.p<Xvo32s>(5));
                },
                {0, 1, 2, 3, 4, 5}, {0},
                {intIs(0, 1025, xvoStsSize), intIs(1, 32000, xvoStsRange), intIs(2, 47, xvoStsRange),
                 intIs(2, 165, xvoStsRange),
                 {"phase 768 at facFs 96", [](Call& c) { c.set<int16_t>(4, 0, 768); }, xvoStsRange}}};
    split.fuzzRange = {{1, {44100, 48000}}, {2, {47, 165}}};
    split.fuzzFix = [](Call& c) {
        c.ints[1] = c.ints[1] < 46050 ? 44100 : 48000;
        phaseBelow(4, 1400)(c);
    };
    r.push_back(split);

    Entry poly{"xvosResamplePolyphase_AMRWBE_16s",
               [](Call& c) {
                   c.random16(7680);
                   c.buffer(7680 * sizeof(Xvo16s));
                   c.random16(144);
                   c.words({0});
                   c.buffer(sizeof(Xvo32s));
                   c.integer(7680);
                   c.integer(0);
                   c.integer(6);
               },
               [](Call& c) {
                   return xvosResamplePolyphase_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.i(1),
                                                           static_cast<Xvo16s>(c.i(2)), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                           c.p<Xvo32s>(4));
               },
               {0, 1, 2, 3, 4}, {0},
               {intIs(0, 7681, xvoStsSize), intIs(1, 2, xvoStsRange), intIs(2, 7, xvoStsRange),
                intIs(2, 13, xvoStsRange),
                {"phase 6 decimating by 6", [](Call& c) { c.set<int16_t>(3, 0, 6); }, xvoStsRange},
                {"phase 12", [](Call& c) { c.set<int16_t>(3, 0, 12); }, xvoStsRange}}};
    poly.fuzzRange = {{1, {-1, 2}}, {2, {0, 13}}};
    poly.fuzzFix = phaseBelow(3, 12);
    r.push_back(poly);

    r.push_back({"xvosPostFilterLowBandInit_AMRWBE_16s", [](Call& c) { c.buffer(sizeof(XvoPostFilterLowBandState_AMRWBE)); },
                 [](Call& c) { return xvosPostFilterLowBandInit_AMRWBE_16s(c.p<XvoPostFilterLowBandState_AMRWBE>(0)); },
                 {0}, {}, {}});

    Entry pf{"xvosPostFilterLowBand_AMRWBE_16s",
             [](Call& c) {
                 c.random16(1024);
                 c.random16(16, 34, 375);
                 c.random16(16, -2000, 18000);
                 c.buffer(1024 * sizeof(Xvo16s));
                 const int st = c.buffer(sizeof(XvoPostFilterLowBandState_AMRWBE));
                 xvosPostFilterLowBandInit_AMRWBE_16s(reinterpret_cast<XvoPostFilterLowBandState_AMRWBE*>(c.bufs[st].data()));
                 c.integer(0);
             },
             [](Call& c) {
                 return xvosPostFilterLowBand_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                         c.i(0), c.p<XvoPostFilterLowBandState_AMRWBE>(4));
             },
             {0, 1, 2, 3, 4}, {},
             {intIs(0, 2, xvoStsRange),
              {"lag 0", [](Call& c) { c.set<int16_t>(1, 5, 0); }, xvoStsBadCodecParam},
              {"lag 376", [](Call& c) { c.set<int16_t>(1, 15, 376); }, xvoStsBadCodecParam},
              {"memory scale 13",
               [](Call& c) { c.set<int16_t>(4, offsetof(XvoPostFilterLowBandState_AMRWBE, scale) / 2, 13); },
               xvoStsBadCodecParam}}};
    pf.trusted = {4};
    pf.fuzzRange = {{0, {-1, 2}}};
    pf.fuzzFix = [](Call& c) {
        for (size_t k = 0; k < 16; ++k) {
            int16_t t;
            std::memcpy(&t, c.bufs[1].data() + 2 * k, sizeof t);
            c.set<int16_t>(1, k, static_cast<int16_t>(1 + (t & 0x7fff) % 375));
        }
    };
    r.push_back(pf);

    r.push_back({"xvosFIRGenMidBand_AMRWBE_16s",
                 [](Call& c) {
                     c.random16(8 + 1024);
                     c.buffer(1024 * sizeof(Xvo16s));
                     c.random16(9);
                     c.integer(1024);
                     c.integer(9);
                 },
                 [](Call& c) {
                     return xvosFIRGenMidBand_AMRWBE_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<Xvo16s>(2), c.i(1));
                 },
                 {0, 1, 2}, {0, 1},
                 {intIs(1, 65, xvoStsSize)}});
}

}  // namespace xvocontract
