// Internal interface of the G.726 codec: the working form of the state and the
// block kernels behind the exported functions (also reached by the tests).
#pragma once

#include <cstdint>

#include "core/cpu.h"
#include "xvosc.h"

namespace xvo::g726 {

/// The recursion's variables while a block runs. Delay-line entries are held
/// in the G.726 11-bit floating format with the sign on top:
/// sign << 10 | exponent << 6 | mantissa.
struct Work {
    int32_t yl;        // slow scale factor (Q6 of y)
    int32_t yu;        // fast scale factor
    int32_t ap;        // speed control
    int32_t dms, dml;  // short- and long-term averages of F
    int32_t td;        // tone detected at the last sample
    int32_t pk1, pk2;  // signs of the last two partial reconstructed signals
    alignas(16) int16_t coef[8];  // b1..b6, a1, a2 (Q14)
    alignas(16) int16_t flt[8];   // dq1..dq6, sr1, sr2 (floating format with sign)
};

using EncodeKernel = void (*)(Work& w, const int16_t* src, uint8_t* dst, int len);
using DecodeKernel = void (*)(int law, Work& w, const uint8_t* src, int16_t* dst, int len);

/// Block kernels of one instruction set, per rate index 0..3. Encode reads
/// 14-bit samples; decode writes 14-bit samples (law 2) or G.711 bytes (law 0, 1).
struct Kernels {
    EncodeKernel encode[4];
    DecodeKernel decode[4];
};

extern const Kernels kScalarKernels;
extern const Kernels kSse41Kernels;
extern const Kernels kAvx2Kernels;

/// The kernels of a level (a level without its own twin uses the next lower one).
const Kernels& ownKernels(OwnCpuLevel level);

/// Run the kernels of the running CPU; `law` is 0..2 (other values act as A-law).
void ownEncode(int rate, Work& w, const int16_t* src, uint8_t* dst, int len);
void ownDecode(int rate, int law, Work& w, const uint8_t* src, int16_t* dst, int len);

/// Encoder over eight channels of one rate, one channel per vector lane: w[0..7]
/// their states; sample i of lane l at src[i * stride + l], its code written to
/// dst[i * stride + l]. Bit for bit the single-channel encoder on each lane.
using EncodeLanesFn = void (*)(Work* w, const int16_t* src, uint8_t* dst, int stride, int len);
/// The lane encoder of a rate index 0..3, or null when the CPU has no AVX2.
EncodeLanesFn ownEncodeLanes(int rate);

/// Mu-law byte of a 16-bit reconstructed signal sr in 14-bit units, as the
/// G.726 decoder forms it: magnitude |sr| (two's complement, 15 bits, so
/// -32768 has magnitude 0) limited to 8158, sign bit set for sr >= 0.
uint8_t ownSampleToMuLaw(int sr);

}  // namespace xvo::g726
