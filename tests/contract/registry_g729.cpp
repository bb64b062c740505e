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
// A decaying Q12 impulse response and a correlation target of the search's usual scale.
int impulse16(Call& c) {
    std::vector<int16_t> h(40);
    int32_t v = 4096;
    for (int j = 0; j < 40; ++j, v = v * 7 / 8) h[j] = static_cast<int16_t>((j % 3 == 1) ? -v / 2 : v);
    return c.words(h);
}
int impulse32f(Call& c) {
    const int k = c.buffer(40 * sizeof(Xvo32f));
    float v = 1.0f;
    for (int j = 0; j < 40; ++j, v *= 0.875f) c.set<Xvo32f>(k, j, (j % 3 == 1) ? -v / 2 : v);
    return k;
}

// Search inputs: d[40] (buffer 0), h[40] (1) and the packed matrix built from h (2).
void searchInputs16(Call& c) {
    c.random16(40, -3000, 3000);
    const int h = impulse16(c);
    const int m = c.buffer(616 * sizeof(Xvo16s));
    xvosToeplizMatrix_G729_16s(c.p<Xvo16s>(h), c.p<Xvo16s>(m));
}
void searchInputs32(Call& c) {
    c.random16(40, -3000, 3000);
    const int h = impulse16(c);
    const int m = c.buffer(616 * sizeof(Xvo32s));
    xvosToeplizMatrix_G729_16s32s(c.p<Xvo16s>(h), c.p<Xvo32s>(m));
}
void searchInputs32f(Call& c) {
    c.random32f(40, -1.0f, 1.0f);
    const int h = impulse32f(c);
    const int m = c.buffer(616 * sizeof(Xvo32f));
    xvosToeplizMatrix_G729_32f(c.p<Xvo32f>(h), c.p<Xvo32f>(m));
}

void addExcitation(std::vector<Entry>& r) {
    // Fixed-codebook searches on a matrix built from the impulse response.
    Entry fcb16{"xvosFixedCodebookSearch_G729_16s",
                [](Call& c) {
                    searchInputs16(c);
                    c.buffer(40 * sizeof(Xvo16s));
                    c.buffer(2 * sizeof(Xvo16s));
                    c.words({0});
                    c.integer(0);
                },
                [](Call& c) {
                    return xvosFixedCodebookSearch_G729_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                            c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                                                            static_cast<Xvo16s>(c.i(0)));
                },
                {0, 2, 3, 4, 5}, {}, {{"subframe 2", [](Call& c) { c.ints[0] = 2; }, xvoStsRange}}};
    fcb16.trusted = {1};
    fcb16.fuzzRange = {{0, {-1, 2}}};
    r.push_back(fcb16);
    Entry fcb32{"xvosFixedCodebookSearch_G729_32s16s",
                [](Call& c) {
                    searchInputs32(c);
                    c.buffer(40 * sizeof(Xvo16s));
                    c.buffer(2 * sizeof(Xvo16s));
                    c.words({0});
                    c.integer(1);
                },
                [](Call& c) {
                    return xvosFixedCodebookSearch_G729_32s16s(c.p<Xvo16s>(0), c.p<Xvo32s>(2), c.p<Xvo16s>(3),
                                                               c.p<Xvo16s>(4), c.p<Xvo16s>(5),
                                                               static_cast<Xvo16s>(c.i(0)));
                },
                {0, 2, 3, 4, 5}, {}, {{"subframe -1", [](Call& c) { c.ints[0] = -1; }, xvoStsRange}}};
    fcb32.trusted = {1};
    fcb32.fuzzRange = {{0, {-1, 3}}};
    r.push_back(fcb32);
    Entry fcbf{"xvosFixedCodebookSearch_G729_32f",
               [](Call& c) {
                   searchInputs32f(c);
                   c.buffer(40 * sizeof(Xvo32f));
                   c.buffer(2 * sizeof(Xvo16s));
                   c.words({0});
                   c.integer(0);
               },
               [](Call& c) {
                   return xvosFixedCodebookSearch_G729_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(2), c.p<Xvo32f>(3),
                                                           c.p<Xvo16s>(4), c.p<Xvo16s>(5), static_cast<Xvo16s>(c.i(0)));
               },
               {0, 2, 3, 4, 5}, {}, {{"subframe 2", [](Call& c) { c.ints[0] = 2; }, xvoStsRange}}};
    fcbf.trusted = {0, 1, 2};  // finite floats only
    fcbf.fuzzRange = {{0, {-1, 2}}};
    r.push_back(fcbf);

    r.push_back({"xvosFixedCodebookSearch_G729A_16s",
                 [](Call& c) {
                     searchInputs16(c);
                     c.buffer(40 * sizeof(Xvo16s));
                     c.buffer(2 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosFixedCodebookSearch_G729A_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(2), c.p<Xvo16s>(3),
                                                              c.p<Xvo16s>(4));
                 },
                 {0, 2, 3, 4}, {}, {}});
    r.push_back({"xvosFixedCodebookSearch_G729A_32s16s",
                 [](Call& c) {
                     searchInputs32(c);
                     c.buffer(40 * sizeof(Xvo16s));
                     c.buffer(2 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosFixedCodebookSearch_G729A_32s16s(c.p<Xvo16s>(0), c.p<Xvo32s>(2), c.p<Xvo16s>(3),
                                                                 c.p<Xvo16s>(4));
                 },
                 {0, 2, 3, 4}, {}, {}});
    Entry fcbaf{"xvosFixedCodebookSearch_G729A_32f",
                [](Call& c) {
                    searchInputs32f(c);
                    c.buffer(40 * sizeof(Xvo32f));
                    c.buffer(2 * sizeof(Xvo16s));
                },
                [](Call& c) {
                    return xvosFixedCodebookSearch_G729A_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(2), c.p<Xvo32f>(3),
                                                             c.p<Xvo16s>(4));
                },
                {0, 2, 3, 4}, {}, {}};
    fcbaf.trusted = {0, 1, 2};
    r.push_back(fcbaf);
    r.push_back({"xvosFixedCodebookSearch_G729D_16s",
                 [](Call& c) {
                     c.random16(40, -3000, 3000);
                     impulse16(c);
                     c.buffer(40 * sizeof(Xvo16s));
                     c.buffer(2 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosFixedCodebookSearch_G729D_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                              c.p<Xvo16s>(3));
                 },
                 {0, 1, 2, 3}, {}, {}});
    Entry fcbdf{"xvosFixedCodebookSearch_G729D_32f",
                [](Call& c) {
                    c.random32f(40, -1.0f, 1.0f);
                    impulse32f(c);
                    c.buffer(40 * sizeof(Xvo32f));
                    c.buffer(2 * sizeof(Xvo16s));
                },
                [](Call& c) {
                    return xvosFixedCodebookSearch_G729D_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2),
                                                             c.p<Xvo16s>(3));
                },
                {0, 1, 2, 3}, {}, {}};
    fcbdf.trusted = {0, 1};
    r.push_back(fcbdf);

    r.push_back({"xvosFixedCodebookSearch_G729E_16s",
                 [](Call& c) {
                     c.random16(40, -3000, 3000);
                     c.random16(40, -3000, 3000);
                     impulse16(c);
                     c.buffer(40 * sizeof(Xvo16s));
                     c.buffer(40 * sizeof(Xvo16s));
                     c.buffer(5 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosFixedCodebookSearch_G729E_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                              c.p<Xvo16s>(3), c.p<Xvo16s>(4), c.p<Xvo16s>(5));
                 },
                 {0, 1, 2, 3, 4, 5}, {}, {}});
    Entry fcbef{"xvosFixedCodebookSearch_G729E_32f",
                [](Call& c) {
                    c.random32f(40, -1000, 1000);
                    c.random32f(40, -1000, 1000);
                    impulse32f(c);
                    c.buffer(40 * sizeof(Xvo32f));
                    c.buffer(40 * sizeof(Xvo32f));
                    c.buffer(5 * sizeof(Xvo16s));
                },
                [](Call& c) {
                    return xvosFixedCodebookSearch_G729E_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2),
                                                             c.p<Xvo32f>(3), c.p<Xvo32f>(4), c.p<Xvo16s>(5));
                },
                {0, 1, 2, 3, 4, 5}, {}, {}};
    fcbef.trusted = {0, 1, 2};
    r.push_back(fcbef);

    r.push_back({"xvosToeplizMatrix_G729_16s",
                 [](Call& c) {
                     impulse16(c);
                     c.buffer(616 * sizeof(Xvo16s));
                 },
                 [](Call& c) { return xvosToeplizMatrix_G729_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1)); }, {0, 1}, {}, {}});
    r.push_back({"xvosToeplizMatrix_G729_16s32s",
                 [](Call& c) {
                     impulse16(c);
                     c.buffer(616 * sizeof(Xvo32s));
                 },
                 [](Call& c) { return xvosToeplizMatrix_G729_16s32s(c.p<Xvo16s>(0), c.p<Xvo32s>(1)); }, {0, 1}, {},
                 {}});
    Entry toepf{"xvosToeplizMatrix_G729_32f",
                [](Call& c) {
                    impulse32f(c);
                    c.buffer(616 * sizeof(Xvo32f));
                },
                [](Call& c) { return xvosToeplizMatrix_G729_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(1)); }, {0, 1}, {}, {}};
    toepf.trusted = {0};
    r.push_back(toepf);

    // Gains. The gain index pointer is optional (null marks an erased frame).
    r.push_back({"xvosDecodeGain_G729_16s",
                 [](Call& c) {
                     c.integer(0x12345678);
                     c.words({-14336, -14336, -14336, -14336});
                     c.words({5, 9});
                     c.words({8000, 300});
                 },
                 [](Call& c) {
                     return xvosDecodeGain_G729_16s(c.i(0), c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2));
                 },
                 {0, 2}, {}, {}});
    r.push_back({"xvosDecodeGain_G729I_16s",
                 [](Call& c) {
                     c.integer(0x12345678);
                     c.integer(29491);
                     c.words({-14336, -14336, -14336, -14336});
                     c.words({3, 6});
                     c.words({8000, 300});
                 },
                 [](Call& c) {
                     return xvosDecodeGain_G729I_16s(c.i(0), static_cast<Xvo16s>(c.i(1)), c.p<Xvo16s>(0),
                                                     c.p<Xvo16s>(1), c.p<Xvo16s>(2));
                 },
                 {0, 2}, {}, {}});
    using Gc16 = XvoStatus (*)(const Xvo16s*, Xvo16s*, Xvo16s*);
    const std::pair<const char*, std::pair<Gc16, int16_t>> gc[] = {
        {"xvosGainControl_G729_16s_I", {&xvosGainControl_G729_16s_I, 16384}},
        {"xvosGainControl_G729A_16s_I", {&xvosGainControl_G729A_16s_I, 4096}}};
    for (const auto& [name, fg] : gc)
        r.push_back({name,
                     [g = fg.second](Call& c) {
                         c.random16(40, -8000, 8000);
                         c.random16(40, -8000, 8000);
                         c.words({g});
                     },
                     [fn = fg.first](Call& c) { return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2)); },
                     {0, 1, 2}, {}, {}});
    Entry gcf{"xvosGainControl_G729_32f_I",
              [](Call& c) {
                  c.random32f(40, -8000, 8000);
                  c.random32f(40, -8000, 8000);
                  const int g = c.buffer(sizeof(Xvo32f));
                  c.set<Xvo32f>(g, 0, 1.0f);
              },
              [](Call& c) { return xvosGainControl_G729_32f_I(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2)); },
              {0, 1, 2}, {}, {}};
    gcf.trusted = {0, 1, 2};
    r.push_back(gcf);

    // Postfilter stages.
    Entry ltp{"xvosLongTermPostFilter_G729_16s",
              [](Call& c) {
                  c.integer(60);
                  c.random16(192, -6000, 6000);
                  c.buffer(40 * sizeof(Xvo16s));
                  c.buffer(sizeof(Xvo16s));
              },
              [](Call& c) {
                  return xvosLongTermPostFilter_G729_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1),
                                                         c.p<Xvo16s>(2));
              },
              {0, 1, 2}, {},
              {{"delay 19", [](Call& c) { c.ints[0] = 19; }, xvoStsRange},
               {"delay 144", [](Call& c) { c.ints[0] = 144; }, xvoStsRange}}};
    ltp.fuzzRange = {{0, {-1, 145}}};
    r.push_back(ltp);
    Entry ltpb{"xvosLongTermPostFilter_G729B_16s",
               [](Call& c) {
                   c.integer(60);
                   c.random16(192, -6000, 6000);
                   c.buffer(40 * sizeof(Xvo16s));
                   c.buffer(sizeof(Xvo16s));
                   c.integer(1);
               },
               [](Call& c) {
                   return xvosLongTermPostFilter_G729B_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0),
                                                          c.p<Xvo16s>(1), c.p<Xvo16s>(2), static_cast<Xvo16s>(c.i(1)));
               },
               {0, 1, 2}, {}, {{"delay 144", [](Call& c) { c.ints[0] = 144; }, xvoStsRange}}};
    ltpb.fuzzRange = {{0, {-1, 145}}, {1, {-1, 3}}};
    r.push_back(ltpb);
    Entry ltpa{"xvosLongTermPostFilter_G729A_16s",
               [](Call& c) {
                   c.integer(60);
                   c.random16(183, -6000, 6000);
                   c.buffer(40 * sizeof(Xvo16s));
               },
               [](Call& c) {
                   return xvosLongTermPostFilter_G729A_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0),
                                                          c.p<Xvo16s>(1));
               },
               {0, 1}, {},
               {{"delay 2", [](Call& c) { c.ints[0] = 2; }, xvoStsRange},
                {"delay 147", [](Call& c) { c.ints[0] = 147; }, xvoStsRange}}};
    ltpa.fuzzRange = {{0, {1, 148}}};
    r.push_back(ltpa);
    r.push_back({"xvosShortTermPostFilter_G729_16s",
                 [](Call& c) {
                     c.words(kLpc);
                     c.random16(40, -6000, 6000);
                     c.words(std::vector<int16_t>(10, 0));
                     c.buffer(sizeof(Xvo16s));
                     c.buffer(40 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosShortTermPostFilter_G729_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2),
                                                             c.p<Xvo16s>(3), c.p<Xvo16s>(4));
                 },
                 {0, 1, 2, 3, 4}, {}, {}});
    Entry tilt{"xvosTiltCompensation_G729_16s",
               [](Call& c) {
                   c.integer(-12000);
                   c.random16(41, -6000, 6000);
                   c.buffer(40 * sizeof(Xvo16s));
               },
               [](Call& c) {
                   return xvosTiltCompensation_G729_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0), c.p<Xvo16s>(1));
               },
               {0, 1}, {}, {}};
    tilt.fuzzRange = {{0, {-32768, 32767}}};
    r.push_back(tilt);
    Entry syn{"xvosSynthesisFilter_G729_32f",
              [](Call& c) {
                  floats(c, kLpc, 1.0f / 4096);
                  c.random32f(80, -1000, 1000);
                  c.buffer(80 * sizeof(Xvo32f));
                  c.integer(80);
                  c.random32f(10, -100, 100);
              },
              [](Call& c) {
                  return xvosSynthesisFilter_G729_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2), c.i(0),
                                                      c.p<Xvo32f>(3));
              },
              {0, 1, 2, 3}, {0}, {}};
    syn.trusted = {0, 1, 3};
    r.push_back(syn);

    // Encoder gains.
    using Acg = XvoStatus (*)(const Xvo16s*, const Xvo16s*, Xvo16s*, Xvo16s*);
    const std::pair<const char*, Acg> acg[] = {{"xvosAdaptiveCodebookGain_G729_16s", &xvosAdaptiveCodebookGain_G729_16s},
                                               {"xvosAdaptiveCodebookGain_G729A_16s", &xvosAdaptiveCodebookGain_G729A_16s}};
    for (const auto& [name, fn] : acg)
        r.push_back({name,
                     [](Call& c) {
                         c.random16(40, -8000, 8000);
                         c.random16(40, -8000, 8000);
                         c.buffer(4 * sizeof(Xvo16s));
                         c.buffer(sizeof(Xvo16s));
                     },
                     [fn = fn](Call& c) { return fn(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3)); },
                     {0, 1, 2, 3}, {}, {}});
    using Gq = XvoStatus (*)(Xvo32s, const Xvo16s*, const Xvo16s*, Xvo16s, Xvo16s*, Xvo16s*, Xvo16s*);
    const std::pair<const char*, Gq> gq[] = {{"xvosGainQuant_G729_16s", &xvosGainQuant_G729_16s},
                                             {"xvosGainQuant_G729D_16s", &xvosGainQuant_G729D_16s}};
    for (const auto& [name, fn] : gq) {
        Entry e{name,
                [](Call& c) {
                    c.integer(0x12345678);
                    c.integer(0);
                    c.words({16384, -20000, 12000, -15000, 8000});
                    c.words({14, 12, 10, 9, 11});
                    c.words({-14336, -14336, -14336, -14336});
                    c.buffer(2 * sizeof(Xvo16s));
                    c.buffer(2 * sizeof(Xvo16s));
                },
                [fn = fn](Call& c) {
                    return fn(c.i(0), c.p<Xvo16s>(0), c.p<Xvo16s>(1), static_cast<Xvo16s>(c.i(1)), c.p<Xvo16s>(2),
                              c.p<Xvo16s>(3), c.p<Xvo16s>(4));
                },
                {0, 1, 2, 3, 4}, {}, {{"tame flag 2", [](Call& c) { c.ints[1] = 2; }, xvoStsRange}}};
        e.trusted = {1, 2};  // Q formats as the reference coder forms them
        e.fuzzRange = {{1, {-1, 2}}};
        r.push_back(e);
    }
    using Gcs = XvoStatus (*)(const Xvo32f*, Xvo32f, Xvo16s, Xvo16s*, Xvo32f*);
    const std::pair<const char*, Gcs> gcs[] = {{"xvosGainCodebookSearch_G729_32f", &xvosGainCodebookSearch_G729_32f},
                                               {"xvosGainCodebookSearch_G729D_32f", &xvosGainCodebookSearch_G729D_32f}};
    for (const auto& [name, fn] : gcs) {
        Entry e{name,
                [](Call& c) {
                    const int k = c.buffer(5 * sizeof(Xvo32f));
                    const float v[5] = {1.5f, -2.4f, 0.9f, -1.1f, 0.6f};
                    for (int j = 0; j < 5; ++j) c.set<Xvo32f>(k, j, v[j]);
                    c.integer(0);
                    c.buffer(2 * sizeof(Xvo16s));
                    c.buffer(2 * sizeof(Xvo32f));
                },
                [fn = fn](Call& c) {
                    return fn(c.p<Xvo32f>(0), 0.8f, static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(1), c.p<Xvo32f>(2));
                },
                {0, 1, 2}, {}, {{"tame flag -1", [](Call& c) { c.ints[0] = -1; }, xvoStsRange}}};
        e.trusted = {0};
        e.fuzzRange = {{0, {-1, 2}}};
        r.push_back(e);
    }

    // Annex B float LSF forms, analysis and comfort noise.
    Entry sidDec{"xvosLSFDecode_G729B_32f",
                 [](Call& c) {
                     c.words({1, 17, 9});
                     prevFreq32f(c);
                     c.buffer(10 * sizeof(Xvo32f));
                 },
                 [](Call& c) { return xvosLSFDecode_G729B_32f(c.p<Xvo16s>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2)); },
                 {0, 1, 2}, {}, {}};
    sidDec.trusted = {0, 1};
    r.push_back(sidDec);
    Entry sidQ{"xvosLSFQuant_G729B_32f",
               [](Call& c) {
                   floats(c, {2100, 4800, 7300, 9000, 12000, 14500, 16000, 19000, 21500, 24000}, 1.0f / 8192);
                   prevFreq32f(c);
                   c.buffer(10 * sizeof(Xvo32f));
                   c.buffer(3 * sizeof(Xvo16s));
               },
               [](Call& c) {
                   return xvosLSFQuant_G729B_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.p<Xvo32f>(2), c.p<Xvo16s>(3));
               },
               {0, 1, 2, 3}, {}, {}};
    sidQ.trusted = {0, 1};
    r.push_back(sidQ);
    Entry ac{"xvosAutoCorr_G729B",
             [](Call& c) {
                 c.random16(240, -12000, 12000);
                 c.buffer(13 * sizeof(Xvo32s));
                 c.integer(12);
                 c.buffer(sizeof(Xvo16s));
             },
             [](Call& c) { return xvosAutoCorr_G729B(c.p<Xvo16s>(0), c.p<Xvo32s>(1), c.i(0), c.p<Xvo16s>(2)); },
             {0, 1, 2}, {0}, {{"order 13", [](Call& c) { c.ints[0] = 13; }, xvoStsRange}}};
    r.push_back(ac);
    Entry lev{"xvosLevinsonDurbin_G729B",
              [](Call& c) {
                  const int s = c.random16(240, -12000, 12000);
                  const int rk = c.buffer(13 * sizeof(Xvo32s));
                  Xvo16s norm = 0;
                  xvosAutoCorr_G729B(c.p<Xvo16s>(s), c.p<Xvo32s>(rk), 10, &norm);
                  c.words({4096, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
                  c.words({0, 0});
                  c.buffer(11 * sizeof(Xvo16s));
                  c.buffer(10 * sizeof(Xvo16s));
                  c.buffer(sizeof(Xvo16s));
              },
              [](Call& c) {
                  return xvosLevinsonDurbin_G729B(c.p<Xvo32s>(1), c.p<Xvo16s>(2), c.p<Xvo16s>(3), c.p<Xvo16s>(4),
                                                  c.p<Xvo16s>(5), c.p<Xvo16s>(6));
              },
              {1, 2, 3, 4, 5, 6}, {}, {}};
    lev.trusted = {1};  // normalised autocorrelation as the analysis produces it
    r.push_back(lev);
    r.push_back({"xvosRandomNoiseExcitation_G729B_16s",
                 [](Call& c) {
                     c.integer(300);
                     c.words({11111});
                     c.random16(234, -3000, 3000);
                     c.buffer(4 * sizeof(Xvo16s));
                 },
                 [](Call& c) {
                     return xvosRandomNoiseExcitation_G729B_16s(static_cast<Xvo16s>(c.i(0)), c.p<Xvo16s>(0),
                                                                c.p<Xvo16s>(1), c.p<Xvo16s>(2));
                 },
                 {0, 1}, {}, {}});
    Entry rnf{"xvosRandomNoiseExcitation_G729B_16s32f",
              [](Call& c) {
                  c.words({11111});
                  c.random32f(234, -3000, 3000);
                  c.buffer(4 * sizeof(Xvo32f));
              },
              [](Call& c) {
                  return xvosRandomNoiseExcitation_G729B_16s32f(300.0f, c.p<Xvo16s>(0), c.p<Xvo32f>(1),
                                                                c.p<Xvo32f>(2));
              },
              {0, 1}, {}, {}};
    rnf.trusted = {1};
    r.push_back(rnf);
}
}  // namespace

void addG729Entries(std::vector<Entry>& r) {
    addLineSpectral(r);
    addExcitation(r);
}

}  // namespace xvocontract
