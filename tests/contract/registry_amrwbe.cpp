#include "contract.h"

#include <string>

namespace xvocontract {

namespace {
Variant intIs(int k, int v, XvoStatus want) {
    return {"int " + std::to_string(k) + " = " + std::to_string(v), [k, v](Call& c) { c.ints[k] = v; }, want};
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
    up.fuzzFix = [](Call& c) {
        int16_t ph;
        std::memcpy(&ph, c.bufs[4].data(), sizeof ph);
        c.set<int16_t>(4, 0, static_cast<int16_t>((ph & 0x7fff) % 1400));
    };
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
}

}  // namespace xvocontract
