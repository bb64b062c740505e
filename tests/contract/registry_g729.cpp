#include "contract.h"

namespace xvocontract {

namespace {
// Reference start values: LSPs and LSFs of the G.729 encoder and decoder states.
const std::vector<int16_t> kLsp = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -26000};
const std::vector<int16_t> kLsf = {2339, 4679, 7018, 9358, 11698, 14037, 16377, 18717, 21056, 23396};
const std::vector<int16_t> kLpc = {4096, -6800, 4100, -1200, 300, -150, 80, -40, 20, -10, 5};

std::vector<int16_t> prevFreq16() {
    std::vector<int16_t> v;
    for (int k = 0; k < 4; ++k) v.insert(v.end(), kLsf.begin(), kLsf.end());
    return v;
}

int prevFreq32f(Call& c) {
    const int k = c.buffer(40 * sizeof(Xvo32f));
    for (int j = 0; j < 40; ++j) c.set<Xvo32f>(k, j, kLsf[j % 10] / 8192.0f);
    return k;
}

int floats(Call& c, const std::vector<int16_t>& v, float scale) {
    const int k = c.buffer(v.size() * sizeof(Xvo32f));
    for (size_t j = 0; j < v.size(); ++j) c.set<Xvo32f>(k, j, v[j] * scale);
    return k;
}

void addLineSpectral(std::vector<Entry>& r) {
    using Lpc16 = XvoStatus (*)(const Xvo16s*, const Xvo16s*, Xvo16s*);
    const std::pair<const char*, Lpc16> lpc16[] = {{"xvosLPCToLSP_G729_16s", &xvosLPCToLSP_G729_16s},
                                                   {"xvosLPCToLSP_G729A_16s", &xvosLPCToLSP_G729A_16s}};
    for (const auto& [name, fn] : lpc16)
        r.push_back({name,
                     [](Call& c) {
                         c.words(kLpc);
                         c.words(kLsp);
                         c.buffer(10 * sizeof(Xvo16s));
                     },
                     [fn = fn](Call& c) { return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2)); }, {0, 1, 2}, {}, {}});
    using Lpc32 = XvoStatus (*)(const Xvo32f*, const Xvo32f*, Xvo32f*);
    const std::pair<const char*, Lpc32> lpc32[] = {{"xvosLPCToLSP_G729_32f", &xvosLPCToLSP_G729_32f},
                                                   {"xvosLPCToLSP_G729A_32f", &xvosLPCToLSP_G729A_32f}};
    for (const auto& [name, fn] : lpc32)
        r.push_back({name,
                     [](Call& c) {
                         floats(c, kLpc, 1.0f / 4096);
                         floats(c, kLsp, 1.0f / 32768);
                         c.buffer(10 * sizeof(Xvo32f));
                     },
                     [fn = fn](Call& c) { return fn(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2)); }, {0, 1, 2}, {}, {}});

    using Conv = XvoStatus (*)(const Xvo16s*, Xvo16s*);
    const std::pair<const char*, Conv> conv[] = {{"xvosLSPToLSF_G729_16s", &xvosLSPToLSF_G729_16s},
                                                 {"xvosLSPToLSF_Norm_G729_16s", &xvosLSPToLSF_Norm_G729_16s}};
    for (const auto& [name, fn] : conv) {
        Entry e{name,
                [](Call& c) {
                    c.words(kLsp);
                    c.buffer(10 * sizeof(Xvo16s));
                },
                [fn = fn](Call& c) { return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}};
        e.trusted = {0};  // the table walk relies on non-increasing LSPs
        r.push_back(e);
    }
    r.push_back({"xvosLSFToLSP_G729_16s",
                 [](Call& c) {
                     c.words(kLsf);
                     c.buffer(10 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosLSFToLSP_G729_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}});

    Entry lag{"xvosLagWindow_G729_32s_I",
              [](Call& c) {
                  const int k = c.buffer(12 * sizeof(Xvo32s));
                  for (int j = 0; j < 12; ++j) c.set<Xvo32s>(k, j, 0x40000000 - j * 0x01000000);
                  c.integer(10);
              },
              [](Call& c) { return xvosLagWindow_G729_32s_I(c.p<Xvo32s>(0), c.i(0)); }, {0}, {0},
              {{"13 lags", [](Call& c) { c.ints[0] = 13; }, xvoStsRange}}};
    r.push_back(lag);

    for (auto fn : {&xvosLSFDecode_G729_16s, &xvosLSFDecode_G729B_16s}) {
        Entry e{fn == &xvosLSFDecode_G729_16s ? "xvosLSFDecode_G729_16s" : "xvosLSFDecode_G729B_16s",
                [](Call& c) {
                    c.words({1, 23, 4, 5});
                    c.words(prevFreq16());
                    c.buffer(10 * sizeof(Xvo16s));
                },
                [fn](Call& c) { return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2)); }, {0, 1, 2}, {}, {}};
        e.trusted = {0, 1};
        if (fn == &xvosLSFDecode_G729_16s)
            e.variants = {{"predictor index 4", [](Call& c) { c.set<Xvo16s>(0, 0, 4); }, xvoStsBadCodecParam}};
        r.push_back(e);
    }
    Entry dec32{"xvosLSFDecode_G729_32f",
                [](Call& c) {
                    c.words({1, 23, 4, 5});
                    prevFreq32f(c);
                    c.buffer(10 * sizeof(Xvo32f));
                },
                [](Call& c) { return xvosLSFDecode_G729_32f(c.p<Xvo16s>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2)); },
                {0, 1, 2}, {}, {}};
    dec32.trusted = {0, 1};
    r.push_back(dec32);

    Entry er16{"xvosLSFDecodeErased_G729_16s",
               [](Call& c) {
                   c.integer(1);
                   c.words(prevFreq16());
                   c.words(kLsf);
               },
               [](Call& c) {
                   return xvosLSFDecodeErased_G729_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1));
               },
               {0, 1}, {},
               {{"predictor index 4", [](Call& c) { c.ints[0] = 4; }, xvoStsBadCodecParam},
                {"predictor index -1", [](Call& c) { c.ints[0] = -1; }, xvoStsBadCodecParam}}};
    er16.fuzzRange = {{0, {-2, 5}}};
    r.push_back(er16);
    Entry er32{"xvosLSFDecodeErased_G729_32f",
               [](Call& c) {
                   c.integer(0);
                   prevFreq32f(c);
                   floats(c, kLsf, 1.0f / 8192);
               },
               [](Call& c) { return xvosLSFDecodeErased_G729_32f(c.i(0), c.p<Xvo32f>(0), c.p<Xvo32f>(1)); },
               {0, 1}, {},
               {{"predictor index 2", [](Call& c) { c.ints[0] = 2; }, xvoStsBadCodecParam},
                {"predictor index -1", [](Call& c) { c.ints[0] = -1; }, xvoStsBadCodecParam}}};
    er32.fuzzRange = {{0, {-2, 3}}};
    r.push_back(er32);

    for (auto fn : {&xvosLSFQuant_G729_16s, &xvosLSFQuant_G729B_16s}) {
        Entry e{fn == &xvosLSFQuant_G729_16s ? "xvosLSFQuant_G729_16s" : "xvosLSFQuant_G729B_16s",
                [](Call& c) {
                    c.words({2100, 4800, 7300, 9000, 12000, 14500, 16000, 19000, 21500, 24000});
                    c.words(prevFreq16());
                    c.buffer(10 * sizeof(Xvo16s));
                    c.buffer(4 * sizeof(Xvo16s));
                },
                [fn](Call& c) { return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3)); },
                {0, 1, 2, 3}, {}, {}};
        e.trusted = {1};
        r.push_back(e);
    }
    Entry lspq{"xvosLSPQuant_G729_16s",
               [](Call& c) {
                   c.words(kLsp);
                   c.words(prevFreq16());
                   c.buffer(10 * sizeof(Xvo16s));
                   c.buffer(2 * sizeof(Xvo16s));
               },
               [](Call& c) {
                   return xvosLSPQuant_G729_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3));
               },
               {0, 1, 2, 3}, {}, {}};
    lspq.trusted = {0, 1};
    r.push_back(lspq);
}
}  // namespace

void addG729Entries(std::vector<Entry>& r) {
    addLineSpectral(r);
}

}  // namespace xvocontract
