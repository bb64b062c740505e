#include "contract.h"

#include <cstdint>

namespace xvocontract {

namespace {

// The level controller's state is plain data: it lives in a call buffer like
// any other. The noise suppressor's state holds pointers into itself (its
// history, FFT record and work area), so its bytes depend on where it lies;
// its entries therefore keep the state in per-thread memory and pass a
// one-byte token buffer whose nulling stands for a null state pointer. Their
// argument checks and outputs are swept as usual; that a failing call leaves
// the state alone is checked by the family's own tests.
XvoFilterNoiseState_EC_32f* noiseState(bool warm) {
    thread_local std::vector<unsigned char> mem;
    int size = 0;  // room for any rate: the Init entry re-initialises at 16 kHz
    xvosFilterNoiseGetStateSize_EC_32f(XVO_PCM_FREQ_32000, &size);
    mem.assign(static_cast<size_t>(size), 0);
    auto* st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(mem.data());
    xvosFilterNoiseInit_EC_32f(XVO_PCM_FREQ_8000, st);
    if (warm) {  // past the warm-up, with a noise estimate: the spectral path runs
        float x[16];
        for (int b = 0; b < 12; ++b) {
            for (int i = 0; i < 16; ++i) x[i] = static_cast<float>(((b * 16 + i) * 2654435761u >> 20) % 2001) - 1000.0f;
            xvosFilterNoise_EC_32f_I(x, 1, st);
        }
    }
    return st;
}

thread_local XvoFilterNoiseState_EC_32f* tNoise = nullptr;

/// The token buffer of a noise entry: buffer k, nulled by the sweep.
XvoFilterNoiseState_EC_32f* noise(Call& c, int k) { return c.p<void>(k) ? tNoise : nullptr; }

int alcState(Call& c) {
    const int s = c.buffer(124);
    xvosALCInit_G169_16s(c.p<XvoALCState_G169_16s>(s));
    return s;
}

Variant intIs(int k, int v, XvoStatus want) {
    return {"int " + std::to_string(k) + " = " + std::to_string(v), [k, v](Call& c) { c.ints[k] = v; }, want};
}

}  // namespace

void addVqeEntries(std::vector<Entry>& r) {
    // ---- level controller -------------------------------------------------
    r.push_back({"xvosALCGetStateSize_G169_16s", [](Call& c) { c.buffer(sizeof(int)); },
                 [](Call& c) { return xvosALCGetStateSize_G169_16s(c.p<int>(0)); }, {0}, {}, {}});
    r.push_back({"xvosALCInit_G169_16s", [](Call& c) { c.buffer(124); },
                 [](Call& c) { return xvosALCInit_G169_16s(c.p<XvoALCState_G169_16s>(0)); }, {0}, {}, {}});
    // Gains and levels in tenths of a dB (the calls take floats).
    Entry gain{"xvosALCSetGain_G169_16s",
               [](Call& c) {
                   alcState(c);
                   c.integer(60);
               },
               [](Call& c) { return xvosALCSetGain_G169_16s(c.i(0) / 10.0f, c.p<XvoALCState_G169_16s>(0)); },
               {0}, {}, {intIs(0, -1, xvoStsRange), intIs(0, -200, xvoStsRange)}};
    gain.trusted = {0};
    r.push_back(gain);
    Entry level{"xvosALCSetLevel_G169_16s",
                [](Call& c) {
                    alcState(c);
                    c.integer(200);
                    c.integer(30);
                },
                [](Call& c) {
                    return xvosALCSetLevel_G169_16s(c.i(0) / 10.0f, c.i(1) / 10.0f, c.p<XvoALCState_G169_16s>(0));
                },
                {0}, {}, {intIs(0, -1, xvoStsRange), intIs(1, -1, xvoStsRange)}};
    level.trusted = {0};
    r.push_back(level);
    // Lengths below 8 or off the 8-sample grid are xvoStsRange, not xvoStsSize.
    Entry alc{"xvosALC_G169_16s",
              [](Call& c) {
                  c.random16(160, -12000, 12000);
                  c.buffer(160 * sizeof(Xvo16s));
                  c.integer(160);
                  alcState(c);
              },
              [](Call& c) {
                  return xvosALC_G169_16s(c.p<Xvo16s>(0), c.p<Xvo16s>(1), c.i(0), c.p<XvoALCState_G169_16s>(2));
              },
              {0, 1, 2}, {}, {intIs(0, 0, xvoStsRange), intIs(0, -8, xvoStsRange), intIs(0, 4, xvoStsRange),
                              intIs(0, 12, xvoStsRange)}};
    alc.trusted = {2};
    alc.fuzzRange = {{0, {-16, 160}}};
    r.push_back(alc);

    // ---- noise suppressor ---------------------------------------------------
    r.push_back({"xvosFilterNoiseGetStateSize_EC_32f",
                 [](Call& c) {
                     c.buffer(sizeof(int));
                     c.integer(XVO_PCM_FREQ_22050);
                 },
                 [](Call& c) { return xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(c.i(0)), c.p<int>(0)); },
                 {0}, {}, {intIs(0, 11025, xvoStsSize), intIs(0, 44100, xvoStsSize), intIs(0, 0, xvoStsSize)}});
    r.push_back({"xvosFilterNoiseInit_EC_32f",
                 [](Call& c) {
                     tNoise = noiseState(false);
                     c.buffer(1);
                     c.integer(XVO_PCM_FREQ_16000);
                 },
                 [](Call& c) { return xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(c.i(0)), noise(c, 0)); }, {0}, {},
                 {intIs(0, 11025, xvoStsRange), intIs(0, 44100, xvoStsRange)}});
    r.push_back({"xvosFilterNoiseLevel_EC_32f",
                 [](Call& c) {
                     tNoise = noiseState(false);
                     c.buffer(1);
                     c.integer(3);
                 },
                 [](Call& c) { return xvosFilterNoiseLevel_EC_32f(c.i(0), noise(c, 0)); }, {0}, {},
                 {intIs(0, 6, xvoStsRange), intIs(0, -1, xvoStsRange)}});
    r.push_back({"xvosFilterNoiseSetMode_EC_32f",
                 [](Call& c) {
                     tNoise = noiseState(false);
                     c.buffer(1);
                     c.integer(-1);
                 },
                 [](Call& c) { return xvosFilterNoiseSetMode_EC_32f(c.i(0), noise(c, 0)); }, {0}, {},
                 {intIs(0, 2, xvoStsBadArg), intIs(0, -2, xvoStsBadArg)}});
    r.push_back({"xvosFilterNoise_EC_32f",
                 [](Call& c) {
                     tNoise = noiseState(true);
                     c.random32f(16, -3000.0f, 3000.0f);
                     c.buffer(16 * sizeof(Xvo32f));
                     c.buffer(1);
                     c.integer(0);
                 },
                 [](Call& c) {
                     return xvosFilterNoise_EC_32f(c.p<Xvo32f>(0), c.p<Xvo32f>(1), c.i(0), noise(c, 2));
                 },
                 {0, 1, 2}, {}, {}});
    r.push_back({"xvosFilterNoise_EC_32f_I",
                 [](Call& c) {
                     tNoise = noiseState(true);
                     c.random32f(16, -3000.0f, 3000.0f);
                     c.buffer(1);
                     c.integer(1);
                 },
                 [](Call& c) { return xvosFilterNoise_EC_32f_I(c.p<Xvo32f>(0), c.i(0), noise(c, 1)); }, {0, 1}, {},
                 {}});
    // The statistic pointer is optional: it is not part of the null sweep.
    r.push_back({"xvosFilterNoiseDetect_EC_32f64f",
                 [](Call& c) {
                     tNoise = noiseState(true);
                     c.random32f(16, -3000.0f, 3000.0f);
                     c.buffer(sizeof(Xvo64f));
                     c.buffer(sizeof(Xvo32f));
                     c.buffer(sizeof(int));
                     c.buffer(1);
                 },
                 [](Call& c) {
                     return xvosFilterNoiseDetect_EC_32f64f(c.p<Xvo32f>(0), c.p<Xvo64f>(1), c.p<Xvo32f>(2),
                                                            c.p<int>(3), noise(c, 4));
                 },
                 {0, 1, 3, 4}, {}, {}});
}

}  // namespace xvocontract
