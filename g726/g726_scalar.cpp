// The scalar G.726 kernels: the reference form of the per-sample recursion,
// which the SIMD twins must reproduce exactly.
#include "g726/g726_steps.h"

namespace xvo::g726 {
namespace {

/// Signal estimate (G.726 ACCUM): se and the partial estimate sez, both as the
/// halves of 16-bit wrapped sums.
XVO_G726_INLINE int predict(const Work& w, int& sez) {
    int acc = 0;
    for (int k = 0; k < 6; ++k) acc += fmult(w.coef[k], w.flt[k]);
    const int sezi = fx::wrap16(acc);
    const int sei = fx::wrap16(sezi + fmult(w.coef[6], w.flt[6]) + fmult(w.coef[7], w.flt[7]));
    sez = sezi >> 1;
    return sei >> 1;
}

/// One sample after its code: the scalar part, then the zero predictor (leak,
/// and a step of 128 towards sign agreement of dq and dq(k) when dq is not
/// zero), the pole coefficients, the transition reset and the delay lines.
template <int R>
XVO_G726_INLINE int update(Work& w, int code, int y, int se, int sez) {
    constexpr int kLeak = R == 3 ? 9 : 8;
    const SampleUpdate u = adaptScalar<R>(w, code, y, se, sez, w.coef[6], w.coef[7]);
    const int step = u.dqmag ? 128 : 0;
    for (int k = 0; k < 6; ++k) {
        const int b = w.coef[k];
        const int differ = ((w.flt[k] >> 10) ^ u.dqs) & 1;
        w.coef[k] = fx::wrap16(b + (differ ? -step : step) - (b >> kLeak));
    }
    w.coef[6] = static_cast<int16_t>(u.a1);
    w.coef[7] = static_cast<int16_t>(u.a2);
    if (u.tr)
        for (auto& c : w.coef) c = 0;
    for (int k = 5; k > 0; --k) w.flt[k] = w.flt[k - 1];
    w.flt[0] = static_cast<int16_t>(dqFloat(u));
    w.flt[7] = w.flt[6];
    w.flt[6] = static_cast<int16_t>(srFloat(u.sr));
    return u.sr;
}

template <int R>
void encodeBlock(Work& state, const int16_t* src, uint8_t* dst, int len) {
    Work w = state;
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(w, sez);
        const int y = scaleFactor(w);
        const int code = quantise<R>(src[i] - se, y);
        dst[i] = static_cast<uint8_t>(code);
        update<R>(w, code, y, se, sez);
    }
    state = w;
}

template <int R, bool kLinear>
XVO_G726_INLINE void decodeLoop(int law, Work& state, const uint8_t* src, int16_t* dst, int len) {
    constexpr int kMask = (1 << kBits[R]) - 1;
    Work w = state;
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(w, sez);
        const int y = scaleFactor(w);
        const int code = src[i] & kMask;
        const int sr = update<R>(w, code, y, se, sez);
        dst[i] = static_cast<int16_t>(kLinear ? lim(sr, -8192, 8191) : toLaw<R>(law, sr, se, y, code));
    }
    state = w;
}

/// The output law is fixed for a block: one loop per kind.
template <int R>
void decodeBlock(int law, Work& state, const uint8_t* src, int16_t* dst, int len) {
    if (law == XVO_PCM_LINEAR)
        decodeLoop<R, true>(law, state, src, dst, len);
    else
        decodeLoop<R, false>(law, state, src, dst, len);
}

}  // namespace

extern const Kernels kScalarKernels;
const Kernels kScalarKernels = {
    {encodeBlock<0>, encodeBlock<1>, encodeBlock<2>, encodeBlock<3>},
    {decodeBlock<0>, decodeBlock<1>, decodeBlock<2>, decodeBlock<3>},
};

uint8_t ownSampleToMuLaw(int sr) { return static_cast<uint8_t>(muLaw(sr)); }

}  // namespace xvo::g726
