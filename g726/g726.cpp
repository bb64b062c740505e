// G.726 exported functions: state sizing, initialisation, argument checks,
// and the conversion between the caller's state record and the kernels'
// working form.
#include <cstring>

#include "core/check.h"
#include "g726/g726_kernel.h"
#include "xvosc.h"

namespace xvo::g726 {
namespace {

/// The state record in caller memory. Delay-line values are stored as
/// magnitude floats (exponent << 6 | mantissa) with their signs in separate
/// words.
struct StateRecord {
    int16_t pk0;         // working: sign of the last partial reconstructed signal
    int16_t sez;         // working: last partial signal estimate / 2
    int16_t pk[2];       // signs of the last two partial reconstructed signals
    int16_t rate;        // rate index 0..3
    int16_t yu;          // fast quantiser scale factor
    int16_t ap;          // speed control
    int16_t reserved0;
    int32_t yl;          // slow quantiser scale factor
    int16_t dms, dml;    // short- and long-term averages of F
    int16_t td;          // tone detected
    int16_t coef[8];     // b1..b6, a1, a2 (Q14)
    int16_t flt[8];      // dq1..dq6, sr1, sr2: magnitude floats
    int16_t sign[8];     // their signs (0 or 1)
    int16_t reserved[7];
};
static_assert(sizeof(StateRecord) == 88, "encoder state size");

struct DecoderRecord {
    StateRecord core;
    int32_t law;  // output law 0..2
};
static_assert(sizeof(DecoderRecord) == 92, "decoder state size");

int rateIndex(XvoSpeechRate rate) {
    switch (rate) {
        case XVO_BITRATE_16000: return 0;
        case XVO_BITRATE_24000: return 1;
        case XVO_BITRATE_32000: return 2;
        case XVO_BITRATE_40000: return 3;
        default: return -1;
    }
}

StateRecord initialRecord(int rate) {
    StateRecord s{};
    s.rate = static_cast<int16_t>(rate);
    s.yu = 544;
    s.yl = 34816;
    for (auto& f : s.flt) f = 32;  // the floating form of zero
    return s;
}

Work load(const StateRecord& s) {
    Work w{};
    w.yl = s.yl;
    w.yu = s.yu;
    w.ap = s.ap;
    w.dms = s.dms;
    w.dml = s.dml;
    w.td = s.td;
    w.pk1 = s.pk[0];
    w.pk2 = s.pk[1];
    for (int k = 0; k < 8; ++k) {
        w.coef[k] = s.coef[k];
        w.flt[k] = static_cast<int16_t>((s.sign[k] & 1) << 10 | (s.flt[k] & 0x3ff));
    }
    return w;
}

void store(const Work& w, StateRecord& s) {
    s.yl = w.yl;
    s.yu = static_cast<int16_t>(w.yu);
    s.ap = static_cast<int16_t>(w.ap);
    s.dms = static_cast<int16_t>(w.dms);
    s.dml = static_cast<int16_t>(w.dml);
    s.td = static_cast<int16_t>(w.td);
    s.pk0 = static_cast<int16_t>(w.pk1);
    s.pk[0] = static_cast<int16_t>(w.pk1);
    s.pk[1] = static_cast<int16_t>(w.pk2);
    for (int k = 0; k < 8; ++k) {
        s.coef[k] = w.coef[k];
        s.flt[k] = static_cast<int16_t>(w.flt[k] & 0x3ff);
        s.sign[k] = static_cast<int16_t>(w.flt[k] >> 10 & 1);
    }
}

/// One channel of an interleaved block (stride channels per frame) through the
/// single-channel kernels, a chunk of samples at a time.
void encodeStrided(StateRecord& s, const int16_t* src, uint8_t* dst, int stride, int len) {
    Work w = load(s);
    if (stride == 1) {
        ownEncode(s.rate, w, src, dst, len);
    } else {
        constexpr int kChunk = 64;
        int16_t x[kChunk];
        uint8_t c[kChunk];
        for (int i = 0; i < len; i += kChunk) {
            const int n = len - i < kChunk ? len - i : kChunk;
            for (int k = 0; k < n; ++k) x[k] = src[static_cast<size_t>(i + k) * stride];
            ownEncode(s.rate, w, x, c, n);
            for (int k = 0; k < n; ++k) dst[static_cast<size_t>(i + k) * stride] = c[k];
        }
    }
    store(w, s);
}

/// numChannels channels, states one after another, samples interleaved: each
/// group of eight channels of one rate runs in vector lanes, any other channel
/// on its own.
void encodeMulti(uint8_t* states, const int16_t* src, uint8_t* dst, int nch, int len) {
    constexpr size_t kRec = sizeof(StateRecord);
    int c = 0;
    for (; c + 8 <= nch; c += 8) {
        StateRecord s[8];
        std::memcpy(s, states + c * kRec, sizeof s);
        bool same = true;
        for (int l = 1; l < 8; ++l) same = same && s[l].rate == s[0].rate;
        const EncodeLanesFn lanes = same ? ownEncodeLanes(s[0].rate) : nullptr;
        if (lanes) {
            Work w[8];
            for (int l = 0; l < 8; ++l) w[l] = load(s[l]);
            lanes(w, src + c, dst + c, nch, len);
            for (int l = 0; l < 8; ++l) store(w[l], s[l]);
        } else {
            for (int l = 0; l < 8; ++l) encodeStrided(s[l], src + c + l, dst + c + l, nch, len);
        }
        std::memcpy(states + c * kRec, s, sizeof s);
    }
    for (; c < nch; ++c) {
        StateRecord s;
        std::memcpy(&s, states + c * kRec, kRec);
        encodeStrided(s, src + c, dst + c, nch, len);
        std::memcpy(states + c * kRec, &s, kRec);
    }
}

}  // namespace
}  // namespace xvo::g726

using namespace xvo;
using namespace xvo::g726;

extern "C" {

XVOSC_API XvoStatus xvosEncodeGetStateSize_G726_16s8u(Xvo32s* pSize) {
    XVO_CHECK(ownCheckPtrs(pSize));
    *pSize = sizeof(StateRecord);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosDecodeGetStateSize_G726_8u16s(Xvo32s* pSize) {
    XVO_CHECK(ownCheckPtrs(pSize));
    *pSize = sizeof(DecoderRecord);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosEncodeInit_G726_16s8u(XvoG726State* pState, XvoSpeechRate rate) {
    XVO_CHECK(ownCheckPtrs(pState));
    const int r = rateIndex(rate);
    XVO_RETURN_IF(r < 0, xvoStsRange);
    const StateRecord s = initialRecord(r);
    std::memcpy(pState, &s, sizeof s);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosDecodeInit_G726_8u16s(XvoG726State* pState, XvoSpeechRate rate, XvoPCMLaw law) {
    XVO_CHECK(ownCheckPtrs(pState));
    const int r = rateIndex(rate);
    XVO_RETURN_IF(r < 0, xvoStsRange);
    XVO_RETURN_IF(law != XVO_PCM_MULAW && law != XVO_PCM_ALAW && law != XVO_PCM_LINEAR, xvoStsRange);
    const DecoderRecord d{initialRecord(r), law};
    std::memcpy(pState, &d, sizeof d);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosEncode_G726_16s8u(XvoG726State* pState, const Xvo16s* pSrc, Xvo8u* pDst, int len) {
    XVO_CHECK(ownCheckPtrs(pState, pSrc, pDst));
    XVO_CHECK(ownCheckLens(len));
    StateRecord s;
    std::memcpy(&s, pState, sizeof s);
    Work w = load(s);
    ownEncode(s.rate, w, pSrc, pDst, len);
    store(w, s);
    std::memcpy(pState, &s, sizeof s);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosEncodeMulti_G726_16s8u(XvoG726State* pState, const Xvo16s* pSrc, Xvo8u* pDst,
                                               int numChannels, int len) {
    XVO_CHECK(ownCheckPtrs(pState, pSrc, pDst));
    XVO_CHECK(ownCheckLens(numChannels, len));
    XVO_RETURN_IF(static_cast<int64_t>(numChannels) * len > 0x7fffffff, xvoStsSize);
    encodeMulti(reinterpret_cast<uint8_t*>(pState), pSrc, pDst, numChannels, len);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosDecode_G726_8u16s(XvoG726State* pState, const Xvo8u* pSrc, Xvo16s* pDst, int len) {
    XVO_CHECK(ownCheckPtrs(pState, pSrc, pDst));
    XVO_CHECK(ownCheckLens(len));
    DecoderRecord d;
    std::memcpy(&d, pState, sizeof d);
    Work w = load(d.core);
    ownDecode(d.core.rate, d.law, w, pSrc, pDst, len);
    store(w, d.core);
    std::memcpy(pState, &d, sizeof d);
    return xvoStsOk;
}

}  // extern "C"
