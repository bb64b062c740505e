// Internal single-precision real FFT engine, its records and work memory, and
// the few vector kernels the spectral code needs (Pack-format products, a
// double-precision reciprocal, a double copy, the allocation wrappers).
//
// Nothing here is exported from libxvosc: the symbols are hidden and live in
// namespace xvo. The noise suppressor and the other spectral kernels call it.
//
// Pack format of a real spectrum of length N (forward output, inverse input):
//   [R0, Re1, Im1, Re2, Im2, ..., Re(N/2-1), Im(N/2-1), R(N/2)]
// (N = 2 keeps [R0, R1]; N = 1 is [R0]).
//
// Record life: xvoRealFFTGetSize -> caller memory -> xvoRealFFTInit (the record
// is built at the memory rounded up to 32 bytes), or xvoRealFFTInitAlloc ->
// xvoRealFFTFree. A record is read-only after initialisation and may be shared
// by threads; the work buffer is private to each call.
#pragma once

#include "xvosc.h"

namespace xvo {

// Statuses of the reciprocal kernel that have no name in the public header.
inline constexpr XvoStatus xvoStsNegNumerator = -19;  ///< numerator below 0
inline constexpr XvoStatus xvoStsDivByZero    = 4;    ///< warning: a divisor was 0 (serial run)
inline constexpr XvoStatus xvoStsDivByZeroMT  = 6;    ///< warning: a divisor was 0 (parallel run)

// Normalisation flags of every size query and initialisation.
inline constexpr int XVO_FFT_DIV_FWD_BY_N = 1;  ///< forward divided by N, inverse not scaled
inline constexpr int XVO_FFT_DIV_INV_BY_N = 2;  ///< forward not scaled, inverse divided by N
inline constexpr int XVO_FFT_DIV_BY_SQRTN = 4;  ///< both divided by sqrt(N)
inline constexpr int XVO_FFT_NODIV_BY_ANY = 8;  ///< neither scaled

inline constexpr Xvo32s XVO_FFT_TAG_REAL = 6;  ///< tag of a valid real-FFT record
inline constexpr int XVO_FFT_MAX_ORDER = 27;   ///< 2^order must stay below 2^28

/// Real-FFT record. Built by xvoRealFFTInit inside caller memory (32-byte
/// aligned); only the engine reads or writes its fields.
struct XvoRealFFTSpec_32f {
    Xvo32s tag;        ///< XVO_FFT_TAG_REAL when valid, 0 after a failed init or a free
    Xvo32s order;      ///< log2 of the transform length N
    Xvo32s fwdScaled;  ///< 1 when the forward result is multiplied by scale
    Xvo32s invScaled;  ///< 1 when the inverse result is multiplied by scale
    Xvo32f scale;      ///< 1/N or 1/sqrt(N)
    Xvo32s hint;       ///< algorithm hint, stored as given
    Xvo32s workSize;   ///< bytes of work area a transform needs (0: none)
    Xvo32s allocated;  ///< 1 when the record came from xvoRealFFTInitAlloc
    const Xvo32s* bitRev;     ///< index table of the complex transform (null: the autosort passes need none)
    const Xvo32f* twiddle;    ///< half-length complex transform: twiddles
    const Xvo32f* recombFwd;  ///< real recombination twiddles, forward
    const Xvo32f* recombInv;  ///< real recombination twiddles, inverse
    const Xvo32f* trig;       ///< trigonometric table the twiddles were taken from
    void* memBase;            ///< start of the block the record was built in
    Xvo32f fwdScale;          ///< multiplier of the forward result (1 when not scaled)
    Xvo32f invScale;          ///< multiplier of the inverse result (1 when not scaled)
    Xvo32s nPass;             ///< passes of the half-length complex transform
    Xvo8u radix[16];          ///< radix of each pass (2, 4 or 8), first pass first
};

/// Sizes in bytes for a real FFT of length 2^order: the record memory, the
/// init buffer needed by xvoRealFFTInit, and the work area of a transform
/// (each includes 32 bytes of alignment room where non-zero).
/// Checks in order: order outside 0..27 -> xvoStsFftOrder; a null result
/// pointer -> xvoStsNullPtr; flag not 1/2/4/8 -> xvoStsFftFlag.
XvoStatus xvoRealFFTGetSize(int order, int flag, int hint, int* pSpecSize, int* pInitBufSize, int* pWorkSize);

/// Builds a record in pSpecMemory (rounded up to 32 bytes; xvoRealFFTGetSize's
/// specSize bytes) and sets *ppSpec. pInitBuffer is scratch used during the call
/// (initBufSize bytes, required from order 11 up, may be null below).
/// Checks: ppSpec null -> -8; order -> -15; pSpecMemory null -> -8;
/// flag -> -16 (the record's tag is then written 0); order >= 11 with
/// pInitBuffer null -> -8.
XvoStatus xvoRealFFTInit(XvoRealFFTSpec_32f** ppSpec, int order, int flag, int hint, Xvo8u* pSpecMemory,
                         Xvo8u* pInitBuffer);

/// As xvoRealFFTInit with the record memory (and a temporary init buffer) taken
/// from xvoMalloc. Checks: ppSpec null -> -8; size-query errors pass through;
/// allocation failure -> xvoStsMemAlloc with nothing left allocated.
/// Release the record with xvoRealFFTFree.
XvoStatus xvoRealFFTInitAlloc(XvoRealFFTSpec_32f** ppSpec, int order, int flag, int hint);

/// Invalidates a record (tag 0) and releases its memory when it came from
/// xvoRealFFTInitAlloc. Checks: null -> -8; tag not 6 -> -17.
XvoStatus xvoRealFFTFree(XvoRealFFTSpec_32f* pSpec);

/// Work buffer size for a transform with this record: workSize + 32, or 0.
/// Checks: a null pointer -> -8; tag not 6 -> -17.
XvoStatus xvoRealFFTGetBufSize(const XvoRealFFTSpec_32f* pSpec, int* pSize);

/// Forward transform of N reals into Pack format; pSrc == pDst allowed.
/// pBuffer: work area of xvoRealFFTGetBufSize bytes (rounded up to 32 bytes
/// inside), or null to have one taken from xvoMalloc for the call.
/// Checks: pSpec null -> -8; tag not 6 -> -17; pSrc or pDst null -> -8;
/// work allocation failed -> -9.
XvoStatus xvoRealFFTFwd_RToPack_32f(const Xvo32f* pSrc, Xvo32f* pDst, const XvoRealFFTSpec_32f* pSpec,
                                    Xvo8u* pBuffer);

/// Inverse transform of a Pack-format spectrum into N reals; same checks and
/// buffer rule as the forward transform; pSrc == pDst allowed.
XvoStatus xvoRealFFTInv_PackToR_32f(const Xvo32f* pSrc, Xvo32f* pDst, const XvoRealFFTSpec_32f* pSpec,
                                    Xvo8u* pBuffer);

/// Pack-format product with the conjugate of the destination:
/// pSrcDst[0] *= pSrc[0]; for even len pSrcDst[len-1] *= pSrc[len-1]; each
/// complex pair (a,b) of pSrc and (c,d) of pSrcDst becomes (a*c + b*d, b*c - a*d).
/// Checks: a null pointer -> -8; len < 1 does nothing.
XvoStatus xvoMulPackConj_32f(const Xvo32f* pSrc, Xvo32f* pSrcDst, int len);

/// pDst[i] = numerator / pSrc[i] (numerator 0 is taken as 1). From 2048
/// elements on, with at least two threads available, runs on two threads.
/// Checks: a null pointer -> -8; len < 1 -> -6; numerator < 0 -> -19.
/// Returns xvoStsOk, or xvoStsDivByZero (+4, serial) / xvoStsDivByZeroMT (+6,
/// parallel) when a divisor was 0 (the quotient is what the division gives).
XvoStatus xvoDivCRev_64f(const Xvo64f* pSrc, Xvo64f* pDst, int len, Xvo64f numerator);
/// In-place twin of xvoDivCRev_64f.
XvoStatus xvoDivCRev_64f_I(Xvo64f* pSrcDst, int len, Xvo64f numerator);

/// Copies len doubles. Checks: a null pointer -> -8; len < 1 -> -6.
XvoStatus xvoCopy_64f(const Xvo64f* pSrc, Xvo64f* pDst, int len);

/// Library allocation paths (through xvocore's xvoMalloc / xvoFree).
void* xvoAllocBytes(int n);     ///< null for n < 1
Xvo32f* xvoAlloc_32f(int n);    ///< n floats; null for n < 1
void xvoFreeMem(void* p);       ///< releases what the two above returned

}  // namespace xvo
