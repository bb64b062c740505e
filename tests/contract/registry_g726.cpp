#include "contract.h"

namespace xvocontract {

namespace {
constexpr int kN = 80;

int encoderState(Call& c) {
    Xvo32s size = 0;
    xvosEncodeGetStateSize_G726_16s8u(&size);
    const int s = c.buffer(static_cast<size_t>(size));
    xvosEncodeInit_G726_16s8u(c.p<XvoG726State>(s), XVO_BITRATE_32000);
    return s;
}

int decoderState(Call& c) {
    Xvo32s size = 0;
    xvosDecodeGetStateSize_G726_8u16s(&size);
    const int s = c.buffer(static_cast<size_t>(size));
    xvosDecodeInit_G726_8u16s(c.p<XvoG726State>(s), XVO_BITRATE_32000, XVO_PCM_ALAW);
    return s;
}

Variant rate(int r) {
    return {"rate " + std::to_string(r), [r](Call& c) { c.ints[0] = r; }, xvoStsRange};
}
}  // namespace

void addG726Entries(std::vector<Entry>& r) {
    for (auto get : {&xvosEncodeGetStateSize_G726_16s8u, &xvosDecodeGetStateSize_G726_8u16s}) {
        r.push_back({get == &xvosEncodeGetStateSize_G726_16s8u ? "xvosEncodeGetStateSize_G726_16s8u"
                                                                : "xvosDecodeGetStateSize_G726_8u16s",
                     [](Call& c) { c.buffer(sizeof(Xvo32s)); },
                     [get](Call& c) { return get(c.p<Xvo32s>(0)); }, {0}, {}, {}});
    }

    Entry encInit{"xvosEncodeInit_G726_16s8u",
                  [](Call& c) {
                      c.buffer(88);
                      c.integer(XVO_BITRATE_40000);
                  },
                  [](Call& c) { return xvosEncodeInit_G726_16s8u(c.p<XvoG726State>(0), XvoSpeechRate(c.i(0))); },
                  {0}, {}, {rate(16), rate(25), rate(-1), rate(0)}};
    encInit.fuzzRange = {{0, {-2, 30}}};
    r.push_back(encInit);

    Entry decInit{"xvosDecodeInit_G726_8u16s",
                  [](Call& c) {
                      c.buffer(92);
                      c.integer(XVO_BITRATE_16000);
                      c.integer(XVO_PCM_MULAW);
                  },
                  [](Call& c) {
                      return xvosDecodeInit_G726_8u16s(c.p<XvoG726State>(0), XvoSpeechRate(c.i(0)), XvoPCMLaw(c.i(1)));
                  },
                  {0}, {}, {rate(18), rate(21), {"law 3", [](Call& c) { c.ints[1] = 3; }, xvoStsRange},
                            {"law -1", [](Call& c) { c.ints[1] = -1; }, xvoStsRange}}};
    decInit.fuzzRange = {{0, {-2, 30}}, {1, {-2, 4}}};
    r.push_back(decInit);

    Entry enc{"xvosEncode_G726_16s8u",
              [](Call& c) {
                  encoderState(c);
                  c.random16(kN, -8192, 8191);
                  c.buffer(kN);
                  c.integer(kN);
              },
              [](Call& c) { return xvosEncode_G726_16s8u(c.p<XvoG726State>(0), c.p<Xvo16s>(1), c.p<Xvo8u>(2), c.i(0)); },
              {0, 1, 2}, {0}, {}};
    enc.trusted = {0};
    r.push_back(enc);

    // Nine channels: one group of eight in vector lanes and one on its own.
    Entry multi{"xvosEncodeMulti_G726_16s8u",
                [](Call& c) {
                    constexpr int kCh = 9, kLen = 20;
                    const int s = c.buffer(88 * kCh);
                    for (int k = 0; k < kCh; ++k)
                        xvosEncodeInit_G726_16s8u(reinterpret_cast<XvoG726State*>(c.p<uint8_t>(s) + 88 * k),
                                                  k == 8 ? XVO_BITRATE_16000 : XVO_BITRATE_40000);
                    c.random16(kCh * kLen, -8192, 8191);
                    c.buffer(kCh * kLen);
                    c.integer(kCh);
                    c.integer(kLen);
                },
                [](Call& c) {
                    return xvosEncodeMulti_G726_16s8u(c.p<XvoG726State>(0), c.p<Xvo16s>(1), c.p<Xvo8u>(2), c.i(0), c.i(1));
                },
                {0, 1, 2}, {0, 1},
                {{"channels x len beyond 2^31", [](Call& c) { c.ints[0] = 1 << 16, c.ints[1] = 1 << 16; }, xvoStsSize}}};
    multi.trusted = {0};
    r.push_back(multi);

    Entry dec{"xvosDecode_G726_8u16s",
              [](Call& c) {
                  decoderState(c);
                  const int k = c.buffer(kN);
                  for (int j = 0; j < kN; ++j) c.set<uint8_t>(k, j, static_cast<uint8_t>((j * 7) & 15));
                  c.buffer(kN * sizeof(Xvo16s));
                  c.integer(kN);
              },
              [](Call& c) { return xvosDecode_G726_8u16s(c.p<XvoG726State>(0), c.p<Xvo8u>(1), c.p<Xvo16s>(2), c.i(0)); },
              {0, 1, 2}, {0}, {}};
    dec.trusted = {0};
    // Codes must fit the rate's bit width (4 bits at 32 kbit/s).
    dec.fuzzFix = [](Call& c) {
        for (size_t j = 0; j < c.bufs[1].size; ++j) c.bufs[1].data()[j] &= 15;
    };
    r.push_back(dec);
}

}  // namespace xvocontract
