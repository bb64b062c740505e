/*
 * xvosc.h - the one public header of the xvosc speech-coding primitives library.
 *
 * Every exported function has C linkage, returns an XvoStatus (except the
 * version query) and checks its arguments in a fixed order before it writes
 * anything:
 *   1. null pointers                        -> xvoStsNullPtr  (-8)
 *   2. lengths and counts                   -> xvoStsSize     (-6)
 *   3. modes, rates, lags, indices          -> xvoStsRange    (-7) or xvoStsBadArg (-5)
 *   4. values inside parameter arrays       -> xvoStsBadCodecParam (-11)
 *   5. scale factors                        -> xvoStsScaleRange (-13)
 * A call that fails a check returns at once: it writes no output and leaves
 * any state object exactly as it was.  Functions that deviate from this order
 * say so in their own comment.
 *
 * Q formats: "Qn" means the integer value divided by 2^n.
 * States are opaque blocks of caller memory, sized by the GetStateSize query;
 * the library never allocates or frees them and keeps no global mutable data.
 *
 * This header compiles as C99 and as C++.
 */
#ifndef XVOSC_H
#define XVOSC_H

#include <stdint.h>

#if defined(_WIN32)
#  if defined(XVOSC_BUILDING)
#    define XVOSC_API __declspec(dllexport)
#  else
#    define XVOSC_API
#  endif
#else
#  define XVOSC_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Element types                                                            */
/* ------------------------------------------------------------------------ */

typedef uint8_t  Xvo8u;   /**< unsigned 8-bit: codes, companded samples */
typedef int16_t  Xvo16s;  /**< signed 16-bit: samples, Q-format values */
typedef uint16_t Xvo16u;  /**< unsigned 16-bit */
typedef int32_t  Xvo32s;  /**< signed 32-bit: correlations, energies */
typedef uint32_t Xvo32u;  /**< unsigned 32-bit: packed bit fields */
typedef float    Xvo32f;  /**< IEEE-754 single precision */
typedef double   Xvo64f;  /**< IEEE-754 double precision */

/** Complex of two signed 32-bit values, real part first. */
typedef struct { Xvo32s re; Xvo32s im; } Xvo32sc;
/** Complex of two floats, real part first. */
typedef struct { Xvo32f re; Xvo32f im; } Xvo32fc;

/* ------------------------------------------------------------------------ */
/* Status codes                                                             */
/* ------------------------------------------------------------------------ */

/** Result of every exported function: 0 success, <0 error, >0 warning. */
typedef int32_t XvoStatus;

enum {
    xvoStsOk            = 0,   /**< the operation completed */
    xvoStsOverflow      = 12,  /**< warning: a fixed-point intermediate overflowed; outputs as documented */
    xvoStsLSFLow        = 13,  /**< warning: decoded LSF vector corrected at its lower end */
    xvoStsLSFHigh       = 14,  /**< warning: decoded LSF vector corrected at its upper end */
    xvoStsLSFLowHigh    = 15,  /**< warning: both corrections of 13 and 14 applied */
    xvoStsErr           = -2,  /**< an internal transform step failed */
    xvoStsBadArg        = -5,  /**< an argument value the operation does not accept */
    xvoStsSize          = -6,  /**< a length or count is out of range */
    xvoStsRange         = -7,  /**< a selector, mode, rate, lag or index is out of range */
    xvoStsNullPtr       = -8,  /**< a required pointer is null */
    xvoStsMemAlloc      = -9,  /**< an internal work buffer could not be allocated */
    xvoStsBadCodecParam = -11, /**< a codec parameter inside an argument array is invalid */
    xvoStsDomain        = -12, /**< an input value lies outside a conversion's domain */
    xvoStsScaleRange    = -13, /**< a scale factor is negative or a quantiser scale is out of range */
    xvoStsFftOrder      = -15, /**< FFT order out of range */
    xvoStsFftFlag       = -16, /**< FFT normalisation flag not 1, 2, 4 or 8 */
    xvoStsContextMatch  = -17  /**< FFT record does not carry the expected tag */
};

/* ------------------------------------------------------------------------ */
/* Shared enumerations                                                      */
/* ------------------------------------------------------------------------ */

/** Speech bit rates shared by all rate-switched families, ordered by rate.
 *  Each family accepts its own subset and answers the rest with xvoStsRange. */
typedef enum {
    XVO_BITRATE_4750  = 0,
    XVO_BITRATE_5150  = 1,
    XVO_BITRATE_5300  = 2,
    XVO_BITRATE_5900  = 3,
    XVO_BITRATE_6300  = 4,
    XVO_BITRATE_6600  = 5,
    XVO_BITRATE_6700  = 6,
    XVO_BITRATE_7400  = 7,
    XVO_BITRATE_7950  = 8,
    XVO_BITRATE_8850  = 9,
    XVO_BITRATE_10200 = 11,
    XVO_BITRATE_12200 = 12,
    XVO_BITRATE_12650 = 13,
    XVO_BITRATE_14250 = 15,
    XVO_BITRATE_15850 = 16,
    XVO_BITRATE_16000 = 17,
    XVO_BITRATE_18250 = 18,
    XVO_BITRATE_19850 = 19,
    XVO_BITRATE_23050 = 20,
    XVO_BITRATE_23850 = 21,
    XVO_BITRATE_24000 = 22,
    XVO_BITRATE_32000 = 23,
    XVO_BITRATE_40000 = 24,
    XVO_BITRATE_DTX   = 25, /**< silence descriptor frames */
    /* The two limits make every signed 32-bit value a value of the type, so
     * a caller's unknown code is answered with xvoStsRange (in C++ an
     * enumeration without them would leave such values undefined). */
    XVO_BITRATE_ENUM_MIN = -2147483647 - 1,
    XVO_BITRATE_ENUM_MAX = 2147483647
} XvoSpeechRate;

/** Companding law of a decoder's output. */
typedef enum {
    XVO_PCM_MULAW  = 0,  /**< G.711 mu-law bytes */
    XVO_PCM_ALAW   = 1,  /**< G.711 A-law bytes */
    XVO_PCM_LINEAR = 2,  /**< 14-bit uniform PCM */
    XVO_PCM_ENUM_MIN = -2147483647 - 1, /**< limits: any signed 32-bit value is a value of the type */
    XVO_PCM_ENUM_MAX = 2147483647
} XvoPCMLaw;

/** Sampling frequencies accepted by the voice-quality kernels, in Hz. */
typedef enum {
    XVO_PCM_FREQ_8000  = 8000,
    XVO_PCM_FREQ_16000 = 16000,
    XVO_PCM_FREQ_22050 = 22050,
    XVO_PCM_FREQ_32000 = 32000,
    XVO_PCM_FREQ_ENUM_MIN = -2147483647 - 1, /**< limits: any signed 32-bit value is a value of the type */
    XVO_PCM_FREQ_ENUM_MAX = 2147483647
} XvoPCMFrequency;

/* ------------------------------------------------------------------------ */
/* Version query                                                            */
/* ------------------------------------------------------------------------ */

/** Constant record describing this build; lives for the whole process. */
typedef struct {
    int32_t     major;       /**< 6 */
    int32_t     minor;       /**< 0 */
    int32_t     majorBuild;  /**< 167 */
    int32_t     build;       /**< 665 */
    char        targetCpu[4];/**< "n8" and two zero bytes */
    const char* name;        /**< library file name */
    const char* version;     /**< human-readable version */
    const char* buildDate;   /**< build date string */
} XvoLibraryVersion;

/** Returns the constant version record; never fails, same pointer every call. */
XVOSC_API const XvoLibraryVersion* xvoscGetLibVersion(void);

/* ======================================================================== */
/* Generic scaling, correlation and filter kernels                          */
/* ======================================================================== */
/* @section generic:begin */
/*
 * Untagged kernels shared by every fixed-point codec: block auto-scaling,
 * autocorrelation, cross-correlation, partial convolution, lag-maximum
 * searches, inverse square root and simple filters.
 *
 * Arithmetic of the 16-bit correlation kernels: every correlation and
 * convolution value is first formed as the exact integer sum of the 16x16-bit
 * products (Q0, NOT doubled as the basic operator L_mac doubles), then
 * stored as each function says: saturated to 32 bits once at the end, or,
 * for an _Sfs function, shifted right by the scale factor after adding
 * 2^(scaleFactor-1) (nothing when the scale factor is 0; arithmetic shift,
 * so a tie rounds towards plus infinity) and then saturated to the
 * destination type. The results therefore do not depend on the order of
 * the sum, and equal the reference programs' L_mac loops halved wherever
 * those do not saturate.
 *
 * Lag-maximum searches (the open-loop pitch searches of G.729 and GSM-AMR):
 * the lags are scanned from the highest to the lowest and a value replaces
 * the current maximum when it is greater than or EQUAL to it, so among equal
 * maxima the smallest lag wins. Values are compared as they are reported
 * (after saturation).
 *
 * Functions that read samples before or after their vectors say so; the
 * caller provides that memory. Unless stated, sources and destinations must
 * not overlap.
 */

/** Block normalisation with a requested headroom.
 *  m = the largest magnitude in the block (-32768 counts as 32767). With S the incoming *pScale:
 *  m = 0 writes zeros and sets *pScale = 16 - S; otherwise n = norm_s(m) (0..14, the left shifts
 *  that bring m to 0x4000 or above), each element is shifted left by n - S when S < n, else
 *  shifted right arithmetically by S - n, and *pScale = n - S (positive: scaled up).
 *  @param pSrc   in: len samples.
 *  @param pDst   out: len scaled samples (may equal pSrc).
 *  @param len    in: 1 or more.
 *  @param pScale in: wanted headroom S in bits, 0 or more; out: the left shift applied.
 *  @return xvoStsNullPtr when pSrc, pDst or pScale is null; xvoStsSize when len < 1;
 *          xvoStsScaleRange when *pScale < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoScale_16s(const Xvo16s* pSrc, Xvo16s* pDst, int len, int* pScale);

/** In-place xvosAutoScale_16s.
 *  @param pSrcDst in/out: len samples.  @param len in: 1 or more.  @param pScale in/out: as above.
 *  @return xvoStsNullPtr when pSrcDst or pScale is null; xvoStsSize when len < 1;
 *          xvoStsScaleRange when *pScale < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoScale_16s_I(Xvo16s* pSrcDst, int len, int* pScale);

/** Normalised autocorrelation with an energy guard (the G.729 / GSM-AMR LPC analysis form).
 *  E = sum of pSrc[i]^2. When E > 0x3FFFFFFF nothing is written and xvoStsOverflow returned (the
 *  caller rescales and repeats). Else r0 = 2E + 1, n = norm_l(r0), pDst[0] = r0 << n, *pNorm = n,
 *  and pDst[k] = (sum_{i=k}^{len-1} pSrc[i]*pSrc[i-k]) << (n+1) for k = 1..lenDst-1 (0 for k >= len),
 *  so every lag shares the scaling of pDst[0] and none can overflow.
 *  @param pSrc   in: len samples.        @param len    in: 1 or more.
 *  @param pDst   out: lenDst lags, lag 0 first, Q31 normalised.
 *  @param lenDst in: number of lags, 1 or more.   @param pNorm out: the normalisation shift n.
 *  @return xvoStsNullPtr when pSrc, pDst or pNorm is null; xvoStsSize when len or lenDst < 1;
 *          xvoStsOverflow (nothing written) when E > 0x3FFFFFFF; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorr_NormE_16s32s(const Xvo16s* pSrc, int len, Xvo32s* pDst, int lenDst, int* pNorm);

/** Element-wise 2^30 / sqrt(x) (the 3GPP inverse square root step, table-interpolated).
 *  x <= 0 gives 0x3FFFFFFF. Else n = norm_l(x), y = x << n, e = 32 - n, y >>= 1 when e is even,
 *  i = y >> 25, a = (y >> 10) & 0x7FFF and the result is (A[i] - a*B[i]) >> (e/2), with the
 *  pre-multiplied inverse-square-root tables A[i] = S[i-16] << 16, B[i] = 2*(S[i-16] - S[i-15]).
 *  1 gives 0x3FFF8000, 2 gives 759234560, 4 gives 0x1FFFC000.
 *  @param pSrcDst in/out: len values (Q0 in, Q30-scaled result out).  @param len in: 1 or more.
 *  @return xvoStsNullPtr when pSrcDst is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosInvSqrt_32s_I(Xvo32s* pSrcDst, int len);

/** In-place pitch sharpening: for i = 0..len-1 in increasing order,
 *  pSrcDst[i] = pSrcDst[i] + ((pSrcDst[i-lag] * val) >> 15), the product formed in 32 bits and
 *  shifted arithmetically. An element at a non-negative index is read after its own update (the
 *  reference pitch sharpening); elements at negative indices are the lag samples that precede
 *  pSrcDst in the caller's buffer. For lag > 3 the addition saturates to 16 bits; for lag 1..3 it
 *  is a plain 16-bit addition that wraps (kept on purpose). lag <= 0 leaves the vector unchanged.
 *  @param val     in: gain, Q15.   @param lag in: pitch lag in samples.
 *  @param pSrcDst in/out: len samples, preceded by lag readable samples when lag > 0.
 *  @param len     in: 1 or more.
 *  @return xvoStsNullPtr when pSrcDst is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosHarmonicFilter_16s_I(Xvo16s val, int lag, Xvo16s* pSrcDst, int len);

/** Autocorrelation: pDst[k] = sum_{i=k}^{len-1} pSrc[i]*pSrc[i-k], exact, saturated to 32 bits,
 *  for k = 0..lenDst-1 (0 for k >= len). len == 160 takes a dedicated path with the same results.
 *  @param pSrc in: len samples.  @param len in: 1 or more.
 *  @param pDst out: lenDst lags, lag 0 first, Q0.  @param lenDst in: 1 or more.
 *  @return xvoStsNullPtr when pSrc or pDst is null; xvoStsSize when len or lenDst < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorr_16s32s(const Xvo16s* pSrc, int len, Xvo32s* pDst, int lenDst);

/** First len outputs of the convolution: pDst[n] = sum_{i=0}^{n} pSrc1[i]*pSrc2[n-i], exact,
 *  saturated to 32 bits.
 *  @param pSrc1 in: len samples.  @param pSrc2 in: len samples.  @param pDst out: len values, Q0.
 *  @param len in: 1 or more.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosConvPartial_16s32s(const Xvo16s* pSrc1, const Xvo16s* pSrc2, Xvo32s* pDst, int len);

/** As xvosConvPartial_16s32s, each output rounded by the scale factor and saturated to 16 bits.
 *  len == 40 with scaleFactor == 12 (a 40-sample subframe filtered by a Q12 impulse response)
 *  takes a dedicated path with the same results.
 *  Checks deviate on purpose: the scale factor is checked right after the pointers, before the
 *  length, and a negative one gives xvoStsBadArg (not xvoStsScaleRange).
 *  @param pSrc1 in: len samples.  @param pSrc2 in: len samples.  @param pDst out: len values.
 *  @param len in: 1 or more.      @param scaleFactor in: 0 or more.
 *  @return xvoStsNullPtr when a pointer is null; then xvoStsBadArg when scaleFactor < 0; then
 *          xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosConvPartial_16s_Sfs(const Xvo16s* pSrc1, const Xvo16s* pSrc2, Xvo16s* pDst, int len,
                                            int scaleFactor);

/** Backward-filtered target (correlation of a target with an impulse response, the CELP
 *  fixed-codebook preparation): pDst[n] = sum_{j=n}^{len-1} pSrc1[j-n]*pSrc2[j] for n = 0..len-1,
 *  exact, rounded by the scale factor, saturated to 32 bits.
 *  @param pSrc1 in: len samples (impulse response).  @param pSrc2 in: len samples (target).
 *  @param len in: 1 or more.  @param pDst out: len values.  @param scaleFactor in: 0 or more.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len < 1; xvoStsScaleRange when
 *          scaleFactor < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosCrossCorr_16s32s_Sfs(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len, Xvo32s* pDst,
                                             int scaleFactor);

/** Backward-filtered target normalised to its maximum, as the G.729 and G.723.1 codebook searches
 *  prepare it: y[n] = 2*sum_{j=n}^{len-1} pSrc1[j-n]*pSrc2[j] saturated to 32 bits (the L_mac
 *  scale); M = the largest |y[n]|; s = norm_l(M) limited to 16; pDst[n] = y[n] >> (18 - s), so the
 *  largest magnitude uses 13 bits (a block whose M < 2^15 is shifted by 2; M = 0 gives zeros).
 *  @param pSrc1 in: len samples (impulse response, Q12 in those codecs).  @param pSrc2 in: len
 *  samples (target).  @param len in: 1 or more.  @param pDst out: len values.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosCrossCorr_NormM_16s(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len, Xvo16s* pDst);

/** Cross-correlation maximum over lags 0..lagMax: c(k) = sum_{i=0}^{len-1} pSrc1[i]*pSrc2[i+k],
 *  exact, saturated to 32 bits. The search starts from *pMax = 0 and *pLag = lagMax and scans
 *  k = lagMax down to 0, taking c(k) when c(k) >= *pMax: the result is the largest non-negative
 *  value at its smallest lag, or (0, lagMax) when every c(k) is negative.
 *  @param pSrc1 in: len samples.  @param pSrc2 in: len + lagMax samples.  @param len in: 1 or more.
 *  @param lagMax in: 0 or more.   @param pMax out: the maximum, Q0.  @param pLag out: its lag.
 *  @return xvoStsNullPtr when pSrc1 or pSrc2, then pMax or pLag, is null; xvoStsSize when len < 1;
 *          xvoStsRange when lagMax < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosCrossCorrLagMax_16s(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len, int lagMax,
                                            Xvo32s* pMax, int* pLag);

/** Autocorrelation maximum with forward lags: c(k) = sum_{i=0}^{len-1} pSrc[i]*pSrc[i+k], exact,
 *  saturated to 32 bits, for k = lowerLag..upperLag. The search starts from *pMax = -2^31 and
 *  *pLag = upperLag and scans k = upperLag down to lowerLag with ">=" (the first lag scanned
 *  always wins the start; ties go to the smaller lag). lowerLag > upperLag leaves those start
 *  values. Reads pSrc[lowerLag .. len-1+upperLag].
 *  @param pSrc in: the samples.  @param len in: 1 or more.  @param lowerLag, upperLag in: lag range.
 *  @param pMax out: the maximum, Q0.  @param pLag out: its lag.
 *  @return xvoStsNullPtr when pSrc, pMax or pLag is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorrLagMax_Fwd_16s(const Xvo16s* pSrc, int len, int lowerLag, int upperLag,
                                               Xvo32s* pMax, int* pLag);

/** As xvosAutoCorrLagMax_Fwd_16s with backward lags, the open-loop pitch form of G.729 and
 *  GSM-AMR: c(k) = sum_{i=0}^{len-1} pSrc[i]*pSrc[i-k]. Reads pSrc[-upperLag .. len-1-lowerLag]:
 *  the upperLag samples before pSrc are the signal's past.
 *  @return xvoStsNullPtr when pSrc, pMax or pLag is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorrLagMax_Inv_16s(const Xvo16s* pSrc, int len, int lowerLag, int upperLag,
                                               Xvo32s* pMax, int* pLag);

/** Dot product with automatic scaling: S = sum_{i=0}^{len-1} pSrc1[i]*pSrc2[i] (exact); *pSfs =
 *  the smallest scale factor s >= 0 for which S rounded by s (as an _Sfs result) fits in 32 bits,
 *  and *pDst = that rounded value. A product sum that fits is returned unscaled with *pSfs = 0.
 *  @param pSrc1 in: len samples.  @param pSrc2 in: len samples.  @param len in: 1 or more.
 *  @param pDst out: the scaled sum.  @param pSfs out: the scale factor applied.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosDotProdAutoScale_16s32s_Sfs(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len,
                                                    Xvo32s* pDst, int* pSfs);

/** Float pitch sharpening: for i = 0..len-1 in increasing order,
 *  pSrcDst[i] = pSrcDst[i] + val * pSrcDst[i-lag] (single precision, no fused multiply-add),
 *  reading updated elements and the lag samples before pSrcDst as xvosHarmonicFilter_16s_I does.
 *  lag <= 0 leaves the vector unchanged.
 *  @return xvoStsNullPtr when pSrcDst is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosHarmonicFilter_32f_I(Xvo32f val, int lag, Xvo32f* pSrcDst, int len);

/** Float pre-emphasis 1 - val*z^-1 in place: y[i] = x[i] - val*x[i-1] (single precision, no fused
 *  multiply-add), with x[-1] = *pMem; afterwards *pMem = x[len-1] (the last input sample), so a
 *  signal split across calls gives the result of one call.
 *  @param val in: the filter coefficient.  @param pSrcDst in/out: len samples.
 *  @param len in: 1 or more.  @param pMem in/out: the previous input sample.
 *  @return xvoStsNullPtr when pSrcDst or pMem is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosPreemphasize_32f_I(Xvo32f val, Xvo32f* pSrcDst, int len, Xvo32f* pMem);

/** LPC residual (analysis filter A(z)): pDst[n] = sum_{j=0}^{order} pSrcLpc[j]*pSrc[n-j], exact,
 *  rounded by the scale factor and saturated to 16 bits. The order samples before pSrc are the
 *  filter memory. With Q12 coefficients (pSrcLpc[0] = 4096) and scaleFactor 12 this is the
 *  residual of the G.729 / GSM-AMR LPC analysis wherever their L_mac sums do not saturate.
 *  @param pSrcLpc in: order+1 coefficients.  @param order in: 1 or more.
 *  @param pSrc in: len samples preceded by order samples of memory.
 *  @param pDst out: len samples; may not overlap pSrc.  @param len in: 1 or more.
 *  @param scaleFactor in: 0 or more.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when order or len < 1;
 *          xvoStsScaleRange when scaleFactor < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosResidualFilter_Low_16s_Sfs(const Xvo16s* pSrcLpc, int order, const Xvo16s* pSrc,
                                                   Xvo16s* pDst, int len, int scaleFactor);

/** Float cross-correlation maximum: c(k) = sum_{i=0}^{len-1} pSrc1[i]*pSrc2[i+k] accumulated in
 *  double precision in index order, for k = 0..lagMax; the search of xvosCrossCorrLagMax_16s
 *  (start 0.0 and lagMax, scan downwards, ">=", ties to the smaller lag).
 *  @param pSrc1 in: len samples.  @param pSrc2 in: len + lagMax samples.  @param len in: 1 or more.
 *  @param lagMax in: 0 or more.   @param pMax out: the maximum.  @param pLag out: its lag.
 *  @return xvoStsNullPtr when pSrc1 or pSrc2, then pMax or pLag, is null; xvoStsSize when len < 1;
 *          xvoStsRange when lagMax < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosCrossCorrLagMax_32f64f(const Xvo32f* pSrc1, const Xvo32f* pSrc2, int len, int lagMax,
                                               Xvo64f* pMax, int* pLag);

/** Float open-loop pitch maximum: c(k) = sum_{i=0}^{len-1} pSrc[i]*pSrc[i-k] (backward lags, as
 *  xvosAutoCorrLagMax_Inv_16s) accumulated in double precision in index order, for
 *  k = lowerLag..upperLag, scanned downwards with ">=" from -infinity and upperLag; *pMax is the
 *  winning sum rounded to single precision. Reads pSrc[-upperLag .. len-1-lowerLag].
 *  @return xvoStsNullPtr when pSrc, pMax or pLag is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorrLagMax_32f(const Xvo32f* pSrc, int len, int lowerLag, int upperLag, Xvo32f* pMax,
                                           int* pLag);
/* @section generic:end */

/* ======================================================================== */
/* G.726 ADPCM codec                                                        */
/* ======================================================================== */
/* @section g726:begin */
/*
 * A whole ITU-T G.726 ADPCM encoder and decoder at 16, 24, 32 and 40 kbit/s,
 * bit-exact to the G.726 fixed-point description (including the 11-bit
 * floating multiplies of the predictor and the synchronous coding adjustment).
 *
 * Rates: XVO_BITRATE_16000 (17, 2-bit codes), XVO_BITRATE_24000 (22, 3 bits),
 * XVO_BITRATE_32000 (23, 4 bits), XVO_BITRATE_40000 (24, 5 bits); any other
 * value is answered with xvoStsRange.
 * Codes: one code per byte, in the low 2..5 bits; the decoder requires the
 * other bits to be zero (it does not mask them).
 * Linear samples: 14-bit uniform PCM, -8192..8191, unshifted (a 16-bit
 * signal is shifted right by 2 before encoding).
 * A signal may be split across calls at any point: the codes and the final
 * state equal those of one call.
 */

/** Opaque G.726 state: 88 bytes for an encoder, 92 for a decoder (caller memory). */
typedef struct XvoG726State XvoG726State;

/** Size of a G.726 encoder state.
 *  @param pSize out: 88.
 *  @return xvoStsNullPtr when pSize is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosEncodeGetStateSize_G726_16s8u(Xvo32s* pSize);

/** Initialises a G.726 encoder state (scale factors 544 / 34816, predictor cleared).
 *  @param pState out: encoder state memory of the size given by xvosEncodeGetStateSize_G726_16s8u.
 *  @param rate   in: XVO_BITRATE_16000, _24000, _32000 or _40000.
 *  @return xvoStsNullPtr when pState is null; xvoStsRange for any other rate (the memory is
 *          then untouched); else xvoStsOk. */
XVOSC_API XvoStatus xvosEncodeInit_G726_16s8u(XvoG726State* pState, XvoSpeechRate rate);

/** Encodes len samples of 14-bit uniform PCM into len ADPCM codes.
 *  The difference of a sample and its estimate saturates to 16 bits, so any 16-bit input is
 *  safe (values outside -8192..8191 are simply not G.726 input).
 *  @param pState in/out: an initialised encoder state, advanced by len samples.
 *  @param pSrc   in: len samples, 14-bit uniform PCM.
 *  @param pDst   out: len codes, one per byte in the low bits, the other bits zero. May not
 *                overlap pSrc.
 *  @param len    in: number of samples, 1 or more.
 *  @return xvoStsNullPtr when a pointer is null (checked in argument order); xvoStsSize when
 *          len < 1; else xvoStsOk. A failing call writes nothing and leaves the state as it was. */
XVOSC_API XvoStatus xvosEncode_G726_16s8u(XvoG726State* pState, const Xvo16s* pSrc, Xvo8u* pDst, int len);

/** Encodes len samples of each of numChannels independent channels in one call, for example
 *  the channels of a media gateway. Each channel gives exactly the codes and final state of
 *  xvosEncode_G726_16s8u on its own samples; channels may use different rates. Groups of eight
 *  channels of one rate are coded side by side in vector lanes (on AVX2 machines), so the cost
 *  per channel falls as numChannels grows.
 *  @param pState      in/out: numChannels encoder states one after another, each of the size
 *                     given by xvosEncodeGetStateSize_G726_16s8u and initialised by
 *                     xvosEncodeInit_G726_16s8u; each is advanced by len samples.
 *  @param pSrc        in: len frames of numChannels samples each (interleaved): sample i of
 *                     channel c at pSrc[i * numChannels + c], 14-bit uniform PCM.
 *  @param pDst        out: the codes in the same layout, one per byte in the low bits, the
 *                     other bits zero. May not overlap pSrc or pState.
 *  @param numChannels in: number of channels, 1 or more.
 *  @param len         in: samples per channel, 1 or more.
 *  @return xvoStsNullPtr when a pointer is null (checked in argument order); xvoStsSize when
 *          numChannels < 1, len < 1 or numChannels * len exceeds 2^31 - 1; else xvoStsOk. A
 *          failing call writes nothing and leaves the states as they were. */
XVOSC_API XvoStatus xvosEncodeMulti_G726_16s8u(XvoG726State* pState, const Xvo16s* pSrc, Xvo8u* pDst,
                                               int numChannels, int len);

/** Size of a G.726 decoder state.
 *  @param pSize out: 92.
 *  @return xvoStsNullPtr when pSize is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosDecodeGetStateSize_G726_8u16s(Xvo32s* pSize);

/** Initialises a G.726 decoder state and stores its output law.
 *  @param pState out: decoder state memory of the size given by xvosDecodeGetStateSize_G726_8u16s.
 *  @param rate   in: XVO_BITRATE_16000, _24000, _32000 or _40000.
 *  @param law    in: XVO_PCM_MULAW or XVO_PCM_ALAW (G.711 bytes after the G.726 synchronous
 *                coding adjustment) or XVO_PCM_LINEAR (14-bit uniform PCM).
 *  @return xvoStsNullPtr when pState is null; xvoStsRange when rate or law is not one of the
 *          values above (the memory is then untouched); else xvoStsOk. */
XVOSC_API XvoStatus xvosDecodeInit_G726_8u16s(XvoG726State* pState, XvoSpeechRate rate, XvoPCMLaw law);

/** Decodes len ADPCM codes.
 *  @param pState in/out: an initialised decoder state, advanced by len codes.
 *  @param pSrc   in: len codes, one per byte, each below 2^bits of the rate (not checked).
 *  @param pDst   out: len values: with XVO_PCM_LINEAR the reconstructed signal limited to
 *                -8192..8191; with XVO_PCM_MULAW / XVO_PCM_ALAW one G.711 byte 0..255 each.
 *  @param len    in: number of codes, 1 or more.
 *  @return xvoStsNullPtr when a pointer is null (checked in argument order); xvoStsSize when
 *          len < 1; else xvoStsOk. A failing call writes nothing and leaves the state as it was. */
XVOSC_API XvoStatus xvosDecode_G726_8u16s(XvoG726State* pState, const Xvo8u* pSrc, Xvo16s* pDst, int len);
/* @section g726:end */

/* ======================================================================== */
/* G.729 line-spectral parameters                                           */
/* ======================================================================== */
/* @section g729lsp:begin */
/*
 * The G.729 spectral envelope in its three forms: 11 LPC coefficients a[0..10]
 * (Q12, a[0] = 4096), 10 LSPs (cosines, Q15, decreasing) and 10 LSFs (Q13
 * radians 0..pi = 25736, or Q15 normalised frequency 0..0.5 for the _Norm_
 * form), plus the lag window and the 18-bit switched-MA LSF quantiser
 * (L0: predictor, 1 bit; L1: first stage, 7 bits; L2/L3: second-stage
 * halves, 5 bits each), bit-exact to the ITU-T G.729 reference (main body
 * and Annex A).
 *
 * MA memory ("prevFreq"): 4 x 10 Q13 values, row 0 the newest residual
 * vector, owned by the caller; initialise every row to the reset vector
 * pi*(j+1)/11 = {2339, 4679, 7018, 9358, 11698, 14037, 16377, 18717, 21056,
 * 23396}. Decode and quantise calls update it in place.
 *
 * Predictor switch: the 16-bit decoders accept 0..3 (2 and 3 act as 0 and 1,
 * the switch bit of the bitstream); the float erased-frame form accepts only
 * 0..1. Indices L1, L2, L3 are taken modulo 128, 32, 32.
 *
 * The float (_32f) forms follow the G.729 floating-point reference (Annex C):
 * LSF in radians, LSP as cosines, MA memory 4 x 10 floats (reset vector
 * pi*(j+1)/11); their results agree with the 16-bit forms to within the
 * rounding of the fixed-point arithmetic, not bit for bit.
 */

/** LPC to LSP, G.729 main body: roots of the sum and difference polynomials
 *  on a 60-interval cosine grid, 4 bisections per root and a linear
 *  interpolation (as the G.729 reference coder runs it, so that a coder built
 *  on it reproduces the ITU test vectors); coefficients that overflow Q11 are
 *  evaluated in Q10.
 *  @param pSrcLPC     in: a[0..10], Q12 (a[0] not read).
 *  @param pSrcPrevLSP in: 10 LSPs (Q15) returned when fewer than 10 roots are found.
 *  @param pDstLSP     out: 10 LSPs, Q15. May alias pSrcPrevLSP.
 *  @return xvoStsNullPtr for a null pointer; else xvoStsOk (also when the
 *          previous LSPs were substituted). */
XVOSC_API XvoStatus xvosLPCToLSP_G729_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSP, Xvo16s* pDstLSP);

/** LPC to LSP, G.729 Annex A: as xvosLPCToLSP_G729_16s with a 50-interval
 *  grid and 2 bisections. Same arguments and statuses. */
XVOSC_API XvoStatus xvosLPCToLSP_G729A_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSP, Xvo16s* pDstLSP);

/** LPC to LSP in floating point (G.729 float reference): 60-interval grid,
 *  4 bisections.
 *  @param pSrcLPC     in: a[0..10] (a[0] = 1, not read).
 *  @param pSrcPrevLSP in: 10 cosines returned when fewer than 10 roots are found.
 *  @param pDstLSP     out: 10 cosines. May alias pSrcPrevLSP.
 *  @return xvoStsNullPtr for a null pointer; else xvoStsOk. */
XVOSC_API XvoStatus xvosLPCToLSP_G729_32f(const Xvo32f* pSrcLPC, const Xvo32f* pSrcPrevLSP, Xvo32f* pDstLSP);

/** LPC to LSP in floating point, Annex A: 50-interval grid, 2 bisections.
 *  Same arguments and statuses as xvosLPCToLSP_G729_32f. */
XVOSC_API XvoStatus xvosLPCToLSP_G729A_32f(const Xvo32f* pSrcLPC, const Xvo32f* pSrcPrevLSP, Xvo32f* pDstLSP);

/** LSP to LSF in radians (the G.729 step Lsp_lsf2).
 *  @param pSrcLSP in: 10 LSPs, Q15, non-increasing (the table walk relies on it).
 *  @param pDstLSF out: 10 LSFs, Q13 radians. May alias pSrcLSP.
 *  @return xvoStsNullPtr for a null pointer; else xvoStsOk. */
XVOSC_API XvoStatus xvosLSPToLSF_G729_16s(const Xvo16s* pSrcLSP, Xvo16s* pDstLSF);

/** LSP to normalised LSF (the G.729 step Lsp_lsf).
 *  @param pSrcLSP in: 10 LSPs, Q15, non-increasing.
 *  @param pDstLSF out: 10 LSFs, Q15 normalised frequency (0..0.5). May alias pSrcLSP.
 *  @return xvoStsNullPtr for a null pointer; else xvoStsOk. */
XVOSC_API XvoStatus xvosLSPToLSF_Norm_G729_16s(const Xvo16s* pSrcLSP, Xvo16s* pDstLSF);

/** LSF in radians to LSP (the G.729 step Lsf_lsp2): cosine table and slope,
 *  index limited to 63.
 *  @param pSrcLSF in: 10 LSFs, Q13 radians, any order.
 *  @param pDstLSP out: 10 LSPs, Q15. May alias pSrcLSF.
 *  @return xvoStsNullPtr for a null pointer; xvoStsDomain at the first
 *          negative LSF (the LSPs before it are already written); else xvoStsOk. */
XVOSC_API XvoStatus xvosLSFToLSP_G729_16s(const Xvo16s* pSrcLSF, Xvo16s* pDstLSP);

/** Lag window of the autocorrelation (G.729 3.2.1, 12-entry table of Annex B):
 *  r[k] = Mpy_32(r[k], w[k+1]) in double-precision format.
 *  @param pSrcDst in/out: autocorrelation from lag 1 on, len 32-bit words;
 *                 each is read as hi = x >> 16, lo = (x >> 1) & 0x7fff (bit 0 is ignored).
 *  @param len     number of lags to window, 1..12.
 *  @return xvoStsNullPtr; xvoStsSize when len < 1; xvoStsRange when len > 12; else xvoStsOk. */
XVOSC_API XvoStatus xvosLagWindow_G729_32s_I(Xvo32s* pSrcDst, int len);

/** LSF decoding (Lsp_get_quant and Lsp_stability): codebook sum, two
 *  rearrangements (gaps 10 and 5), MA composition, memory update, stabilisation.
 *  @param pSrcIndices     in: L0, L1, L2, L3.
 *  @param pSrcDstPrevFreq in/out: MA memory, 4 x 10, Q13.
 *  @param pDstLSF         out: 10 LSFs, Q13.
 *  @return xvoStsNullPtr; xvoStsBadCodecParam when L0 is outside 0..3 (nothing
 *          written); else xvoStsOk, or the warnings xvoStsLSFLow (the first LSF
 *          was raised to 40), xvoStsLSFHigh (the last lowered to 25681) or
 *          xvoStsLSFLowHigh (both), each with a valid output and updated memory. */
XVOSC_API XvoStatus xvosLSFDecode_G729_16s(const Xvo16s* pSrcIndices, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstLSF);

/** LSF decoding in floating point (G.729 float reference).
 *  @param pSrcIndices     in: L0 (0..1; the switch bit is used), L1, L2, L3.
 *  @param pSrcDstPrevFreq in/out: MA memory, 4 x 10 floats (radians).
 *  @param pDstLSF         out: 10 LSFs, radians.
 *  @return xvoStsNullPtr for a null pointer; else xvoStsOk (corrections made by
 *          the stabilisation are not reported). */
XVOSC_API XvoStatus xvosLSFDecode_G729_32f(const Xvo16s* pSrcIndices, Xvo32f* pSrcDstPrevFreq, Xvo32f* pDstLSF);

/** MA memory update of an erased frame (Lsp_prev_extract and Lsp_prev_update):
 *  pushes the residual that the repeated LSF implies under predictor maIndex,
 *  with the reference's saturations.
 *  @param maIndex         in: L0 of the last good frame, 0..3 (tested as unsigned 16-bit).
 *  @param pSrcDstPrevFreq in/out: MA memory, 4 x 10, Q13.
 *  @param pSrcLSF         in: the LSF being repeated, Q13 (not changed).
 *  @return xvoStsNullPtr; xvoStsBadCodecParam when maIndex is outside 0..3; else xvoStsOk. */
XVOSC_API XvoStatus xvosLSFDecodeErased_G729_16s(Xvo16s maIndex, Xvo16s* pSrcDstPrevFreq, const Xvo16s* pSrcLSF);

/** MA memory update of an erased frame in floating point.
 *  @param maIndex         in: predictor of the last good frame, 0 or 1.
 *  @param pSrcDstPrevFreq in/out: MA memory, 4 x 10 floats.
 *  @param pSrcLSF         in: the LSF being repeated, radians (not changed).
 *  @return xvoStsNullPtr; xvoStsBadCodecParam when maIndex is outside 0..1; else xvoStsOk. */
XVOSC_API XvoStatus xvosLSFDecodeErased_G729_32f(int maIndex, Xvo32f* pSrcDstPrevFreq, Xvo32f* pSrcLSF);

/** LSF quantisation (Lsp_qua_cs): perceptual weights, search of both MA
 *  predictors (first stage 128 vectors, second-stage halves 32 each), then
 *  the decoding of the chosen indices into the quantised LSF and the memory.
 *  @param pSrcLSF         in: 10 LSFs, Q13.
 *  @param pSrcDstPrevFreq in/out: MA memory, 4 x 10, Q13.
 *  @param pDstQLSF        out: 10 quantised LSFs, Q13.
 *  @param pDstIndices     out: L0, L1, L2, L3.
 *  @return xvoStsNullPtr; else the status of the decoding step (xvoStsOk,
 *          xvoStsLSFLow, xvoStsLSFHigh or xvoStsLSFLowHigh). */
XVOSC_API XvoStatus xvosLSFQuant_G729_16s(const Xvo16s* pSrcLSF, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstQLSF,
                                          Xvo16s* pDstIndices);

/** LSP quantisation (Qua_lsp): LSP to LSF (radians), xvosLSFQuant_G729_16s,
 *  packing of the indices and LSF to LSP.
 *  @param pSrcLSP         in: 10 LSPs, Q15, non-increasing.
 *  @param pSrcDstPrevFreq in/out: MA memory, 4 x 10, Q13.
 *  @param pDstQLSP        out: 10 quantised LSPs, Q15.
 *  @param pDstCode        out: 2 words, L0 << 7 | L1 and L2 << 5 | L3.
 *  @return xvoStsNullPtr; else the status of the final LSF-to-LSP step
 *          (xvoStsOk: quantised LSFs are never negative); the decoding
 *          warnings are not reported. */
XVOSC_API XvoStatus xvosLSPQuant_G729_16s(const Xvo16s* pSrcLSP, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstQLSP,
                                          Xvo16s* pDstCode);
/* @section g729lsp:end */

/* ======================================================================== */
/* G.729 codebook searches, gains, post-processing, Annex B                 */
/* ======================================================================== */
/* @section g729exc:begin */

/* ---- Algebraic (fixed) codebook searches --------------------------------- */
/*
 * The G.729 / G.729A searches take the packed 616-entry correlation matrix of
 * the impulse response that xvosToeplizMatrix_G729_* builds:
 *   [0..7]     rr(i0,i0)   track 0 diagonal       [8..15]  rr(i1,i1)
 *   [16..23]   rr(i2,i2)                          [24..31] rr(i3,i3)
 *   [32..39]   rr(i4,i4)
 *   [40..103]  rr(i0,i1)   [104..167] rr(i0,i2)   [168..231] rr(i0,i3)
 *   [232..295] rr(i0,i4)   [296..359] rr(i1,i2)   [360..423] rr(i1,i3)
 *   [424..487] rr(i1,i4)   [488..551] rr(i2,i3)   [552..615] rr(i2,i4)
 * Track k holds positions k, k+5, ..., k+35; a cross block (a,b) stores the
 * entry of positions (5m+a, 5n+b) at m*8+n.
 *
 * Code words: pDstCode[0] holds the sign bits (bit k set when pulse k is
 * positive; pulses 0..2 lie on tracks 0..2, pulse 3 on track 3 or 4),
 * pDstCode[1] the 13-bit position word: pos0/5 in bits 0-2, pos1/5 in bits
 * 3-5, pos2/5 in bits 6-8 and, in bits 9-12, 2*(pos3/5) + (1 when pos3 is on
 * track 4).
 */

/** G.729 depth-first algebraic codebook search (4 pulses, 17 bits; G.729 3.8).
 *  @param pSrcCorr        in: d[40], correlation of the target with the impulse response (Q0 of the caller's scale).
 *  @param pSrcDstMatrix   in/out: the packed 616-entry matrix; on return each cross term is
 *                         multiplied (Q15) by the product of the signs of d at its two positions
 *                         (+1 as 32767, -1 as -32768), the diagonals are unchanged.
 *  @param pDstFixedVector out: 40-sample code vector, Q13: +8191 for a positive pulse, -8192 for a negative one.
 *  @param pDstCode        out: 2 code words (sign word, position word), see above.
 *  @param pSrcDstExtra    in/out: the search-effort counter. On entry it is ignored when subFrame is 0
 *                         (30 is used); the search may pass the threshold test 75 + counter times; on
 *                         return it holds the unused budget, which the second subframe adds to its 75.
 *  @param subFrame        0 for the first subframe of a frame, 1 for the second.
 *  @return xvoStsNullPtr (pSrcCorr, pSrcDstMatrix or pDstFixedVector null, then pSrcDstExtra or pDstCode);
 *          xvoStsRange when subFrame is not 0 or 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729_16s(const Xvo16s* pSrcCorr, Xvo16s* pSrcDstMatrix,
                                                     Xvo16s* pDstFixedVector, Xvo16s* pDstCode,
                                                     Xvo16s* pSrcDstExtra, Xvo16s subFrame);

/** The G.729 search of xvosFixedCodebookSearch_G729_16s on a 32-bit matrix.
 *  @param pSrcDstMatrix in/out: 616 words whose arithmetic right shift by 15 (saturated to 16 bits)
 *                       is the 16-bit matrix (xvosToeplizMatrix_G729_16s32s builds it so). The
 *                       words are rescaled in place: on return they hold the sign-folded 16-bit
 *                       matrix of the _16s form, one value per 32-bit word.
 *  @param subFrame      0 for the first subframe; any positive value acts as 1.
 *  Other arguments as in the _16s form.
 *  @return xvoStsNullPtr (any of the five pointers, in argument order); xvoStsRange when
 *          subFrame < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729_32s16s(const Xvo16s* pSrcCorr, Xvo32s* pSrcDstMatrix,
                                                        Xvo16s* pDstFixedVector, Xvo16s* pDstCode,
                                                        Xvo16s* pSrcDstExtra, Xvo16s subFrame);

/** Floating-point G.729 search (the G.729 floating-point reference d4i40_17): the same depth-first
 *  search, threshold 0.4 of the way from the mean (sum of |d| on tracks 0..2 / 8) to the maximum,
 *  effort budget 75 + extra (30 in the first subframe) passing triples.
 *  @param pSrcCorr        in: d[40].
 *  @param pSrcDstMatrix   in/out: the 616-entry float matrix; the cross terms are multiplied by the
 *                         signs of d at their positions.
 *  @param pDstFixedVector out: 40 samples, +1.0 or -1.0 at the four pulses.
 *  @param pDstCode        out: the 2 code words as in the 16-bit form.
 *  @param pSrcDstExtra    in/out: the effort counter as in the 16-bit form.
 *  @param subFrame        0 or 1.
 *  @return xvoStsNullPtr (pSrcCorr, pSrcDstMatrix or pDstFixedVector, then pSrcDstExtra or pDstCode);
 *          xvoStsRange when subFrame is not 0 or 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729_32f(const Xvo32f* pSrcCorr, Xvo32f* pSrcDstMatrix,
                                                     Xvo32f* pDstFixedVector, Xvo16s* pDstCode,
                                                     Xvo16s* pSrcDstExtra, Xvo16s subFrame);

/** G.729 Annex A reduced-complexity search (the reference D4i40_17_fast): with the fourth pulse on
 *  track 3 and then on track 4, two depth-first passes ((2, 3|4) from the 2 largest |d| of track 2,
 *  then (0, 1); (3|4, 0) from the 2 largest of track 3|4, then (1, 2)); the best of the four by
 *  correlation^2/energy. Signs are folded into the cross terms the Annex A way: mult by 32767 when
 *  the two signs agree, by -32768 (negation, saturating) when they differ. No effort counter.
 *  @param pSrcCorr        in: d[40].
 *  @param pSrcDstMatrix   in/out: the packed 616-entry matrix, sign-folded on return.
 *  @param pDstFixedVector out: 40 samples, Q13: +8191 or -8192 at the pulses.
 *  @param pDstCode        out: the 2 code words.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729A_16s(const Xvo16s* pSrcCorr, Xvo16s* pSrcDstMatrix,
                                                      Xvo16s* pDstFixedVector, Xvo16s* pDstCode);

/** xvosFixedCodebookSearch_G729A_16s on a 32-bit matrix: the words are rescaled in place (arithmetic
 *  shift by 15, saturated to 16 bits) and hold the sign-folded 16-bit matrix on return.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729A_32s16s(const Xvo16s* pSrcCorr, Xvo32s* pSrcDstMatrix,
                                                         Xvo16s* pDstFixedVector, Xvo16s* pDstCode);

/** Float form of the Annex A search: the same passes and candidate order on float correlations and
 *  energies (signs folded exactly); code vector +1.0 / -1.0.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729A_32f(const Xvo32f* pSrcCorr, Xvo32f* pSrcDstMatrix,
                                                      Xvo32f* pDstFixedVector, Xvo16s* pDstCode);

/** G.729 Annex D 6.4 kbit/s search (the reference D2i40_11): two signed pulses, pulse 0 on track 1
 *  or 3, pulse 1 on track 0, 2, 4 or 1, searched over the track pairs (0,1) (1,1) (0,3) (3,4) (1,2)
 *  (1,3) (1,4) (2,3). The search needs correlations the G.729 matrix does not hold, so it builds them
 *  from the impulse response (scaled as xvosToeplizMatrix_G729_16s scales it); signs folded in Q15.
 *  Both pulses may fall on one position (then that sample holds the sum of the two).
 *  @param pSrcCorr            in: d[40].
 *  @param pSrcImpulseResponse in: h[40], Q12 (with the pitch sharpening already applied).
 *  @param pDstFixedVector     out: 40 samples, Q13 (+8191 / -8192 per pulse).
 *  @param pDstCode            out: [sign word: bit 0 pulse 0 positive, bit 1 pulse 1 positive;
 *                             position word: gray(index of pulse 0 in 1,3,6,8,..,38) +
 *                             gray(index of pulse 1 in 0,2,4,5,7,..,39,1,6,..,36) << 4].
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729D_16s(const Xvo16s* pSrcCorr, const Xvo16s* pSrcImpulseResponse,
                                                      Xvo16s* pDstFixedVector, Xvo16s* pDstCode);

/** Float form of the 6.4 kbit/s search: the same tracks, order and code words on float correlations
 *  of the unscaled h; code vector +-1.0 per pulse.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729D_32f(const Xvo32f* pSrcCorr, const Xvo32f* pSrcImpulseResponse,
                                                      Xvo32f* pDstFixedVector, Xvo16s* pDstCode);

/** G.729 Annex E search of the forward-adaptive 11.8 kbit/s mode (the reference ACELP_10i40_35bits):
 *  10 signed pulses, two per track on the 5 tracks; pulse signs from the target correlation and the
 *  LTP residual; a depth-first search of 4 pulse-pair stages from the 3 best starting track pairs.
 *  The search builds its own correlations, so it takes the target, residual and impulse response.
 *  @param pSrcTarget          in: x[40], the target, Q0.
 *  @param pSrcLtpResidual     in: cn[40], the residual after long-term prediction, Q0.
 *  @param pSrcImpulseResponse in: h[40], Q12.
 *  @param pDstFixedVector     out: 40 samples, Q12 (+-4096 per pulse, summed where two coincide).
 *  @param pDstFltFixedVector  out: 40 samples, the code vector filtered by h, Q11.
 *  @param pDstCode            out: 5 words of 7 bits, one per track (3 bits of the second position,
 *                             1 sign bit, 3 bits of the first position, as the Annex E bitstream).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729E_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcLtpResidual,
                                                      const Xvo16s* pSrcImpulseResponse, Xvo16s* pDstFixedVector,
                                                      Xvo16s* pDstFltFixedVector, Xvo16s* pDstCode);

/** Float form of xvosFixedCodebookSearch_G729E_16s (the floating-point reference for Annexes C+):
 *  the same stages on the unscaled h with float correlations; code vector +-1.0 per pulse,
 *  filtered vector in the scale of h, the same 5 code words.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookSearch_G729E_32f(const Xvo32f* pSrcTarget, const Xvo32f* pSrcLtpResidual,
                                                      const Xvo32f* pSrcImpulseResponse, Xvo32f* pDstFixedVector,
                                                      Xvo32f* pDstFltFixedVector, Xvo16s* pDstCode);

/* ---- Correlation matrices of the impulse response ----------------------- */

/** Packed 616-entry correlation matrix of the impulse response for the G.729 searches
 *  (the G.729 reference step Cor_h): h is first scaled for precision (halved when its energy
 *  is large, else shifted left by half its normalisation count), then each entry is the high
 *  half of the doubled correlation sum.
 *  @param pSrcImpulseResponse in: h[40], Q12.
 *  @param pDstMatrix          out: 616 entries in the layout described above.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosToeplizMatrix_G729_16s(const Xvo16s* pSrcImpulseResponse, Xvo16s* pDstMatrix);

/** 32-bit form of xvosToeplizMatrix_G729_16s: each entry is the plain correlation sum of the
 *  scaled h (half the doubled sum), so that its arithmetic right shift by 15 equals the entry of
 *  the 16-bit form; the input of xvosFixedCodebookSearch_G729_32s16s.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosToeplizMatrix_G729_16s32s(const Xvo16s* pSrcImpulseResponse, Xvo32s* pDstMatrix);

/** Float form (the G.729 floating-point reference cor_h): the unscaled partial correlation
 *  sums of h, in the same packed layout, for the _32f searches.
 *  @param pSrcImpulseResponse in: h[40].
 *  @param pDstMatrix          out: 616 floats.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosToeplizMatrix_G729_32f(const Xvo32f* pSrcImpulseResponse, Xvo32f* pDstMatrix);

/* ---- Gain decoding and gain control ------------------------------------- */

/** G.729 gain decoding with the MA predictor of the fixed-codebook energy (the reference Dec_gain).
 *  Good frame: pitch gain = gbk1[imap1[GA&7]][0] + gbk2[imap2[GB&15]][0]; fixed gain = the codebook
 *  correction (Q12) times the predicted gain, shifted right by its exponent + 11 with saturation;
 *  the past energies take 20 log10 of the correction. Erased frame (pSrcGainIndex null): pitch gain
 *  = min(gain * 0.9, 29491) (so 32767 becomes 29490), fixed gain *= 0.98, and the past energies take
 *  their mean minus 4 dB, floored at -14 dB.
 *  @param energy            in: sum over the 40 samples of L_mac code[i]^2 of the (pitch-sharpened)
 *                           fixed code vector, Q13 samples.
 *  @param pSrcDstPastEnergy in/out: 4 past quantised energies, Q10 dB, newest first (reset -14336).
 *  @param pSrcGainIndex     in: [GA, GB] (masked to 3 and 4 bits), or null for an erased frame.
 *  @param pSrcDstGain       out (in/out on erasure): [pitch gain Q14, fixed gain Q1].
 *  @return xvoStsNullPtr when pSrcDstPastEnergy or pSrcDstGain is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosDecodeGain_G729_16s(Xvo32s energy, Xvo16s* pSrcDstPastEnergy, const Xvo16s* pSrcGainIndex,
                                            Xvo16s* pSrcDstGain);

/** 6.4 kbit/s gain decoding (G.729 Annex D codebooks gbk1_6k/gbk2_6k and maps), with two deliberate
 *  differences from the 8 kbit/s form: the fixed gain is (Q13 correction * gcode0) shifted right by
 *  the exponent + 12 and truncated to 16 bits (no saturation); on an erased frame both gains are
 *  multiplied by valAttenuation (Q15, (g * v) >> 15, no clamp) before the erasure update of the
 *  past energies.
 *  @param energy            in: code-vector energy as in xvosDecodeGain_G729_16s.
 *  @param valAttenuation    in: Q15 attenuation used only on an erased frame.
 *  @param pSrcDstPastEnergy in/out: 4 past quantised energies, Q10.
 *  @param pSrcGainIndex     in: two 3-bit indices (0..7; callers must keep them in range, larger
 *                           values are reduced modulo 8), or null for an erased frame.
 *  @param pSrcDstGain       out (in/out on erasure): [pitch gain Q14, fixed gain Q1].
 *  @return xvoStsNullPtr when pSrcDstPastEnergy or pSrcDstGain is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosDecodeGain_G729I_16s(Xvo32s energy, Xvo16s valAttenuation, Xvo16s* pSrcDstPastEnergy,
                                             const Xvo16s* pSrcGainIndex, Xvo16s* pSrcDstGain);

/** G.729 postfilter gain control (the reference scale_st): g_in and g_out are the sums of |x| of
 *  the input and the postfiltered subframe; g0 = 0.0125 * g_in/g_out (Q14, no square root); per
 *  sample gain = 0.9875 gain + g0 and out = out * gain (Q14). An all-zero pSrc gives g0 = 0; an
 *  all-zero pSrcDst (with a non-zero pSrc) sets the gain to 0 and leaves the signal unchanged.
 *  @param pSrc        in: 40 samples before postfiltering.
 *  @param pSrcDst     in/out: 40 postfiltered samples, scaled in place.
 *  @param pSrcDstGain in/out: running gain, Q14 (the reference starts it at 16384).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainControl_G729_16s_I(const Xvo16s* pSrc, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain);

/** G.729A postfilter gain control (the Annex A agc, also used by GSM-AMR): energies of x/4;
 *  g0 = 0.1 * sqrt(E_in/E_out) (Q12); per sample gain = 0.9 gain + g0, out = (out * gain) << 3 >> 16.
 *  An all-zero pSrcDst sets the gain to 0 and leaves the signal; an all-zero pSrc gives g0 = 0.
 *  @param pSrc        in: 40 samples before postfiltering.
 *  @param pSrcDst     in/out: 40 postfiltered samples.
 *  @param pSrcDstGain in/out: running gain, Q12 (the reference starts it at 4096).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainControl_G729A_16s_I(const Xvo16s* pSrc, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain);

/** Float form of xvosGainControl_G729_16s_I (the G.729 floating-point reference): sums of |x|,
 *  g0 = 0.0125 g_in/g_out, gain = 0.9875 gain + g0 per sample.
 *  @param pSrcDstGain in/out: running gain (1.0 at start).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainControl_G729_32f_I(const Xvo32f* pSrc, Xvo32f* pSrcDst, Xvo32f* pSrcDstGain);

/* ---- Postfilter stages -------------------------------------------------- */
/*
 * The G.729 postfilter of one 40-sample subframe chains: the residual of the
 * synthesis through A(z/0.55) (kept by the caller with its history), the
 * long-term filter, the short-term filter 1/A(z/0.7) with gain
 * normalisation, the tilt compensation, then xvosGainControl_G729_16s_I.
 */

/** G.729 long-term (harmonic) postfilter (the reference pst_ltp): the integer delay of best
 *  correlation among delay-1..delay+1, refined to 1/8 sample with the short and long interpolation
 *  filters; the filter H(z) = (1 + g z^-T) / (1 + g) with g = 0.5 * the LTP gain (at most 1) is
 *  applied only when the normalised correlation exceeds 0.5.
 *  @param delay           in: the decoded integer pitch delay, 20..143 (the G.729 pitch range).
 *  @param pSrcResidual    in: 192 samples: 152 past samples of the A(z/0.55) residual, then the 40
 *                         of the subframe.
 *  @param pDstFltResidual out: 40 filtered samples.
 *  @param pDstVoicing     out: the delay used (0 when the filter is off).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when delay is outside 20..143; else xvoStsOk. */
XVOSC_API XvoStatus xvosLongTermPostFilter_G729_16s(Xvo16s delay, const Xvo16s* pSrcResidual, Xvo16s* pDstFltResidual,
                                                    Xvo16s* pDstVoicing);

/** The Annex B form of xvosLongTermPostFilter_G729_16s: the filter runs on active-speech frames
 *  (frameType 1); for SID and untransmitted frames (any other value) the residual is copied and the
 *  voicing is 0.
 *  @param frameType in: the frame type of the Annex B decoder (1 = speech).
 *  Other arguments and statuses as xvosLongTermPostFilter_G729_16s. */
XVOSC_API XvoStatus xvosLongTermPostFilter_G729B_16s(Xvo16s delay, const Xvo16s* pSrcResidual,
                                                     Xvo16s* pDstFltResidual, Xvo16s* pDstVoicing, Xvo16s frameType);

/** G.729A pitch postfilter (the Annex A pit_pst_filt): the delay of greatest correlation of the
 *  residual/4 in delay-3..delay+3 (clipped to 143); off when the prediction gain is below 3 dB;
 *  otherwise out = g0 * x + g * x(n-T) with g = 0.5 cor/(0.5 cor + ener) (1/3 when the pitch gain
 *  exceeds 1).
 *  @param delay           in: the decoded integer pitch delay, 3..146.
 *  @param pSrcResidual    in: 183 samples: 143 past samples of the residual, then the 40 of the subframe.
 *  @param pDstFltResidual out: 40 samples.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when delay is outside 3..146; else xvoStsOk. */
XVOSC_API XvoStatus xvosLongTermPostFilter_G729A_16s(Xvo16s delay, const Xvo16s* pSrcResidual,
                                                     Xvo16s* pDstFltResidual);

/** G.729 short-term postfilter stage (the reference calc_st_filt and its 1/A(z/0.7) filtering): the
 *  impulse response of A(z/0.55)/A(z/0.7) truncated to 20 samples gives the first reflection
 *  coefficient (for the tilt) and the gain g0 = sum |h|; the input is scaled by 1/g0 when g0 > 1
 *  and filtered by 1/A(z/0.7).
 *  @param pSrcLPC         in: a[11] of the subframe, Q12.
 *  @param pSrcFltResidual in: 40 samples from the long-term stage.
 *  @param pSrcDstMemory   in/out: 10 past outputs of 1/A(z/0.7), oldest first (zero at start).
 *  @param pDstParcor0     out: the first reflection coefficient, Q15.
 *  @param pDstSignal      out: 40 samples (may alias pSrcFltResidual).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosShortTermPostFilter_G729_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcFltResidual,
                                                     Xvo16s* pSrcDstMemory, Xvo16s* pDstParcor0,
                                                     Xvo16s* pDstSignal);

/** G.729 tilt compensation (the reference filt_mu): y(n) = (x(n) + mu x(n-1)) / (1 - |mu|) with
 *  mu = 0.2 k1 when k1 > 0, else 0.9 k1, saturated to 16 bits.
 *  @param parcor0 in: k1 from xvosShortTermPostFilter_G729_16s, Q15.
 *  @param pSrc    in: 41 samples: the last output of the previous subframe's 1/A(z/0.7) filter
 *                 (the memory's newest value before the short-term call), then the 40 of the subframe.
 *  @param pDst    out: 40 samples (may alias pSrc + 1).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosTiltCompensation_G729_16s(Xvo16s parcor0, const Xvo16s* pSrc, Xvo16s* pDst);

/** Floating-point LPC synthesis filter 1/A(z) of order 10 (the floating-point reference syn_filt):
 *  y(n) = x(n) - sum_{j=1..10} a[j] y(n-j).
 *  @param pSrcLPC       in: a[11] (a[0] is not read).
 *  @param pSrc          in: len samples.
 *  @param pDst          out: len samples (may alias pSrc).
 *  @param len           in: number of samples, >= 1.
 *  @param pSrcDstMemory in/out: the 10 last outputs, oldest first.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosSynthesisFilter_G729_32f(const Xvo32f* pSrcLPC, const Xvo32f* pSrc, Xvo32f* pDst, int len,
                                                 Xvo32f* pSrcDstMemory);

/* ---- Encoder gains ------------------------------------------------------ */

/** Adaptive-codebook gain of a 40-sample subframe (the reference G_pitch): g = <xn,y1>/<y1,y1>
 *  in Q14, 0 when <xn,y1> <= 0, limited to 1.2 (19661). A sum that overflows is recomputed on y1/4.
 *  @param pSrcTarget            in: xn[40], the pitch target.
 *  @param pSrcFltAdaptiveVector in: y1[40], the filtered adaptive-codebook vector.
 *  @param pDstCorrCoeff         out: 4 words [yy, 15 - n_yy, xy, 15 - n_xy], the reference g_coeff:
 *                               yy = round(<y1,y1> << n_yy), xy = round(<xn,y1> << n_xy) with n the
 *                               normalisation counts (less 4 and 2 when the sums were taken on y1/4);
 *                               the last word is -15 when <xn,y1> <= 0.
 *  @param pDstGain              out: the gain, Q14.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosAdaptiveCodebookGain_G729_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdaptiveVector,
                                                      Xvo16s* pDstCorrCoeff, Xvo16s* pDstGain);

/** The G.729A form of xvosAdaptiveCodebookGain_G729_16s. The Annex A reference keeps the main-body
 *  G_pitch procedure unchanged, so both forms give the same results.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosAdaptiveCodebookGain_G729A_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdaptiveVector,
                                                       Xvo16s* pDstCorrCoeff, Xvo16s* pDstGain);

/** G.729 gain quantiser (the reference Qua_gain): predicts the fixed-codebook gain from the
 *  code-vector energy and the past energies, computes the unquantised optimum gains, pre-selects
 *  4 x 8 candidates of the two codebooks and picks the pair of least weighted error; updates the
 *  past energies as the decoder does.
 *  @param energy            in: code-vector energy as for xvosDecodeGain_G729_16s.
 *  @param pSrcGainCoeff     in: 5 mantissas [<y1,y1>, -2<xn,y1>, <y2,y2>, -2<xn,y2>, 2<y1,y2>].
 *  @param pSrcGainExp       in: their 5 Q formats (value = mantissa * 2^-exp), as the reference
 *                           coder forms them (G_pitch and Corr_xy2).
 *  @param tameFlag          in: 1 when taming is needed (pitch gain kept below 1), else 0.
 *  @param pSrcDstPastEnergy in/out: 4 past quantised energies, Q10.
 *  @param pDstGain          out: [pitch gain Q14, fixed gain Q1].
 *  @param pDstIndex         out: the transmitted codes [GA (3 bits), GB (4 bits)], which
 *                           xvosDecodeGain_G729_16s decodes to the same gains.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when tameFlag is not 0 or 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainQuant_G729_16s(Xvo32s energy, const Xvo16s* pSrcGainCoeff, const Xvo16s* pSrcGainExp,
                                           Xvo16s tameFlag, Xvo16s* pSrcDstPastEnergy, Xvo16s* pDstGain,
                                           Xvo16s* pDstIndex);

/** 6.4 kbit/s gain quantiser (the Annex D reference Qua_gain_6k): the same procedure on the Annex D
 *  codebooks (6 x 6 candidates, Q14 code corrections); codes [GA (3 bits), GB (3 bits)].
 *  Arguments and statuses as xvosGainQuant_G729_16s. */
XVOSC_API XvoStatus xvosGainQuant_G729D_16s(Xvo32s energy, const Xvo16s* pSrcGainCoeff, const Xvo16s* pSrcGainExp,
                                            Xvo16s tameFlag, Xvo16s* pSrcDstPastEnergy, Xvo16s* pDstGain,
                                            Xvo16s* pDstIndex);

/** Floating-point gain codebook search (the G.729 floating-point reference qua_gain after its gain
 *  prediction; the prediction and the energy update stay with the caller).
 *  @param pSrcGainCoeff in: 5 coefficients [<y1,y1>, -2<xn,y1>, <y2,y2>, -2<xn,y2>, 2<y1,y2>].
 *  @param predictedGain in: the predicted fixed-codebook gain gcode0.
 *  @param tameFlag      in: 0 or 1.
 *  @param pDstIndex     out: the transmitted codes [GA, GB].
 *  @param pDstGain      out: [pitch gain, fixed gain = gcode0 * codebook correction].
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when tameFlag is not 0 or 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainCodebookSearch_G729_32f(const Xvo32f* pSrcGainCoeff, Xvo32f predictedGain,
                                                    Xvo16s tameFlag, Xvo16s* pDstIndex, Xvo32f* pDstGain);

/** 6.4 kbit/s float form of xvosGainCodebookSearch_G729_32f (Annex D codebooks in float, 6 x 6
 *  candidates, codes of 3 + 3 bits). Arguments and statuses as the 8 kbit/s form. */
XVOSC_API XvoStatus xvosGainCodebookSearch_G729D_32f(const Xvo32f* pSrcGainCoeff, Xvo32f predictedGain,
                                                     Xvo16s tameFlag, Xvo16s* pDstIndex, Xvo32f* pDstGain);

/* ---- Annex B: SID spectral quantisation --------------------------------- */

/** G.729 Annex B SID LSF decoding (the reference sid_lsfq_decode up to the stabilised LSF).
 *  The first-stage index selects row PtrTab_1[i1] of the 128-row LSF codebook, the second-stage
 *  index rows PtrTab_2[0][i2] (elements 0..4) and PtrTab_2[1][i2] (5..9) of the 32-row codebook;
 *  the vector is rearranged (gaps 10, then 5), composed with the Annex B noise MA predictor
 *  index[0] (predictor 0 = the main-body predictor 0; predictor 1 = 0.6 fg[0] + 0.4 fg[1] with its
 *  own sums), pushed into the memory, and stabilised (40, 321, 25681).
 *  @param pSrcIndices     in: [predictor 0..1, first stage 0..31, second stage 0..15]; not
 *                         range-checked (the caller guarantees them).
 *  @param pSrcDstPrevFreq in/out: 4 x 10 MA memory, Q13, row 0 newest (shared with speech frames).
 *  @param pDstLSF         out: 10 LSF, Q13.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk, xvoStsLSFLow, xvoStsLSFHigh or
 *          xvoStsLSFLowHigh (the output is valid with each warning). */
XVOSC_API XvoStatus xvosLSFDecode_G729B_16s(const Xvo16s* pSrcIndices, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstLSF);

/** G.729 Annex B noise LSF quantiser (the reference lsfq_noise from the LSF on): the LSF is first
 *  spaced as the reference does (lsf[0] >= 40, gaps >= 642, lsf[9] <= 25681, lsf[8] <= lsf[9] - 321
 *  when they cross); then the G.729 weights, the residual target of both noise predictors, 4
 *  first-stage candidates (predictor, row) by the Mp-weighted error and the best second-stage
 *  pair by the weighted error; the three indices are then decoded by xvosLSFDecode_G729B_16s.
 *  @param pSrcLSF         in: 10 LSF, Q13 (as Lsp_lsf2 gives them).
 *  @param pSrcDstPrevFreq in/out: 4 x 10 MA memory, updated by the decode step.
 *  @param pDstQLSF        out: 10 quantised LSF, Q13.
 *  @param pDstIndices     out: 3 indices [predictor, first stage, second stage].
 *  @return xvoStsNullPtr (pSrcLSF or pSrcDstPrevFreq, then pDstQLSF or pDstIndices);
 *          else the status of the decode step. */
XVOSC_API XvoStatus xvosLSFQuant_G729B_16s(const Xvo16s* pSrcLSF, Xvo16s* pSrcDstPrevFreq, Xvo16s* pDstQLSF,
                                           Xvo16s* pDstIndices);

/** Float form of xvosLSFDecode_G729B_16s (the floating-point reference for Annex B): the same
 *  steps on the codebooks and noise predictors scaled to float, gaps 0.0012 and 0.0006, limits
 *  0.005, 0.0392 and 3.135 radians.
 *  @param pSrcIndices     in: [predictor 0..1, first stage 0..31, second stage 0..15] (not checked).
 *  @param pSrcDstPrevFreq in/out: 4 x 10 MA memory, radians.
 *  @param pDstLSF         out: 10 LSF, radians.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk (the stabiliser's corrections are
 *          not reported). */
XVOSC_API XvoStatus xvosLSFDecode_G729B_32f(const Xvo16s* pSrcIndices, Xvo32f* pSrcDstPrevFreq, Xvo32f* pDstLSF);

/** Float form of xvosLSFQuant_G729B_16s: spacing, float weights (1 + 10 (d - 1)^2 below a spacing of
 *  1 radian, x1.2 for elements 4 and 5), first-stage errors weighted by Mp = 0.065942, 0.126446,
 *  the same candidate search, then xvosLSFDecode_G729B_32f.
 *  @param pSrcLSF         in: 10 LSF, radians.
 *  @param pSrcDstPrevFreq in/out: 4 x 10 MA memory.
 *  @param pDstQLSF        out: 10 quantised LSF.
 *  @param pDstIndices     out: the 3 indices.
 *  @return xvoStsNullPtr (pSrcLSF or pSrcDstPrevFreq, then pDstQLSF or pDstIndices); else xvoStsOk. */
XVOSC_API XvoStatus xvosLSFQuant_G729B_32f(const Xvo32f* pSrcLSF, Xvo32f* pSrcDstPrevFreq, Xvo32f* pDstQLSF,
                                           Xvo16s* pDstIndices);

/* ---- Annex B: analysis and comfort-noise kernels ------------------------ */

/** G.729 Annex B windowed autocorrelation (the Annex B reference Autocorr): the 240 samples are
 *  windowed by the G.729 LP analysis window; while the energy sum overflows the windowed signal is
 *  divided by 4; r[0..order] are normalised by the count that brings r[0] to 0x40000000..0x7fffffff.
 *  @param pSrcSignal   in: 240 samples of the analysis window position.
 *  @param pDstAutoCorr out: order+1 normalised values, each a 32-bit word hi * 65536 + lo * 2 of the
 *                      reference's double-precision pair (the layout xvosLagWindow_G729_32s_I takes).
 *  @param order        in: the highest lag, 1..12 (the Annex B coder uses 12, the speech coder 10).
 *  @param pDstNorm     out: the exponent of r[0]: 1 + 4 per division by 4 - the normalisation count.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when order < 1; xvoStsRange when
 *          order > 12; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorr_G729B(const Xvo16s* pSrcSignal, Xvo32s* pDstAutoCorr, int order, Xvo16s* pDstNorm);

/** G.729 Annex B Levinson-Durbin recursion of order 10 (the Annex B reference Levinson), with the
 *  residual energy of the prediction. When a reflection coefficient exceeds 32750 in magnitude the
 *  filter is declared unstable: pDstLPC takes the previous filter, pDstRc[0..1] the previous first
 *  two reflection coefficients (the coefficients computed before the failing order stay in
 *  pDstRc[2..]), and pDstErr is not written.
 *  @param pSrcAutoCorr   in: r[0..10] in the layout of xvosAutoCorr_G729B (lag-windowed).
 *  @param pSrcDstPrevLPC in/out: the last stable filter, 11 words Q12 (start: 4096, 0, ..., 0);
 *                        updated on a stable recursion.
 *  @param pSrcDstPrevRc  in/out: its first two reflection coefficients (start: 0, 0).
 *  @param pDstLPC        out: a[0..10], Q12, a[0] = 4096.
 *  @param pDstRc         out: 10 reflection coefficients, Q15.
 *  @param pDstErr        out: the residual energy (alpha >> its exponent).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosLevinsonDurbin_G729B(const Xvo32s* pSrcAutoCorr, Xvo16s* pSrcDstPrevLPC, Xvo16s* pSrcDstPrevRc,
                                             Xvo16s* pDstLPC, Xvo16s* pDstRc, Xvo16s* pDstErr);

/** G.729 Annex B comfort-noise excitation of one 80-sample frame (the reference Calc_exc_rand):
 *  per subframe a random lag 40..103 with a random 1/3 fraction and a random pitch gain below 0.5
 *  take the adaptive vector from the past excitation, a Gaussian vector is scaled to the target
 *  gain, and 4 random signed pulses get the gain that restores the target energy. A zero gain
 *  gives a zero frame.
 *  @param curGain     in: the target sample gain (the decoder's smoothed SID gain).
 *  @param pSrcDstSeed in/out: the random generator state (the reference starts it at 11111).
 *  @param pSrcDstExc  in/out: 234 samples: 154 past excitation samples (read), then the 80 of the
 *                     frame (written).
 *  @param pDstTaming  out, optional (may be null): 4 words [pitch gain Q14, lag] of both subframes,
 *                     which an encoder passes to its taming update.
 *  @return xvoStsNullPtr when pSrcDstSeed or pSrcDstExc is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosRandomNoiseExcitation_G729B_16s(Xvo16s curGain, Xvo16s* pSrcDstSeed, Xvo16s* pSrcDstExc,
                                                        Xvo16s* pDstTaming);

/** Floating-point comfort-noise excitation (calc_exc_rand of the G.729 floating-point reference
 *  for Annexes B, D and E): the same random draws from the 16-bit seed, float arithmetic. As in
 *  that reference, the third pulse is drawn on track 1 (positions 5x + 1).
 *  @param curGain     in: the target sample gain.
 *  @param pSrcDstSeed in/out: the 16-bit random generator state.
 *  @param pSrcDstExc  in/out: 154 past excitation samples, then the 80 of the frame.
 *  @param pDstTaming  out, optional: [pitch gain, lag] of both subframes.
 *  @return xvoStsNullPtr when pSrcDstSeed or pSrcDstExc is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosRandomNoiseExcitation_G729B_16s32f(Xvo32f curGain, Xvo16s* pSrcDstSeed, Xvo32f* pSrcDstExc,
                                                           Xvo32f* pDstTaming);

/* @section g729exc:end */

/* ======================================================================== */
/* G.729 complete coders (main body, Annexes A, B, D, E) and their steps  */
/* ======================================================================== */
/* @section g729coder:begin */
/* @section g729coder:end */

/* ======================================================================== */
/* G.723.1 adaptive codebook, pitch, postfilter, codebooks and gains      */
/* ======================================================================== */
/* @section g723:begin */
/** G.723.1 closed-loop adaptive codebook search (G.723.1 2.14): the 5-tap filtered past
 *  excitation of each candidate lag is correlated with the target, and every entry of the
 *  candidate's gain table up to the error-taming bound (2.17) is scored; the first strictly
 *  largest score wins (candidate 1, entry 0 when no score is positive).
 *  Candidates: valBaseLag-1..valBaseLag+1 (even subframes), valBaseLag-1..valBaseLag+2 (odd).
 *  At 6.3 kbit/s a candidate uses the 85-entry table below lag 58 (odd subframes: when
 *  valBaseLag < 58) and the 170-entry one otherwise; at 5.3 kbit/s always the 170-entry one.
 *  @param valBaseLag          in: open-loop lag (even subFrame) or previous lag (odd), 18..142 (odd: ..141).
 *  @param pSrcAdptTarget      in: 60 samples, the target of the subframe.
 *  @param pSrcImpulseResponse in: 60 samples, the weighted synthesis impulse response (Q13).
 *  @param pSrcPrevExcitation  in: 145 samples of past excitation, oldest first (element 144 is the
 *                             sample before the subframe).
 *  @param pSrcPrevError       in: 5 taming error energies, one per 30-sample lag zone.
 *  @param pDstLagIndex        out: candidate number 0..2 (even) or 0..3 (odd); lag = valBaseLag-1+index.
 *  @param pDstAdptGainIndex   out: entry of that candidate's gain table.
 *  @param subFrame            in: 0..4 (4 is searched as an even subframe).
 *  @param sineDetect          in: negative when a sinusoid was detected (forces the bounds 51/93).
 *  @param rate                in: 4 (6.3 kbit/s) or 2 (5.3 kbit/s).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when subFrame, valBaseLag or rate is
 *          out of range; else xvoStsOk. */
XVOSC_API XvoStatus xvosAdaptiveCodebookSearch_G723(Xvo16s valBaseLag, const Xvo16s* pSrcAdptTarget,
                                                   const Xvo16s* pSrcImpulseResponse, const Xvo16s* pSrcPrevExcitation,
                                                   const Xvo32s* pSrcPrevError, Xvo16s* pDstLagIndex,
                                                   Xvo16s* pDstAdptGainIndex, Xvo16s subFrame, Xvo16s sineDetect,
                                                   int rate);

/** G.723.1 harmonic noise-weighting search (G.723.1 2.11): the lag within valLag-3..valLag+3 of
 *  largest normalised cross-correlation, and its weighting gain (0 below the 0.375 prediction
 *  limit, at most 0x2800).
 *  @param valLag   in: open-loop lag, 18..145.
 *  @param pSrc     in: the subframe start of the formant-weighted speech; pSrc[-(valLag+3)]..pSrc[59]
 *                  are read.
 *  @param pDstGain out: gain, Q15, 0..0x2800.
 *  @param pDstLag  out: chosen lag (valLag when no correlation is positive, with gain 0).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when valLag is outside 18..145; else xvoStsOk. */
XVOSC_API XvoStatus xvosHarmonicSearch_G723_16s(Xvo16s valLag, const Xvo16s* pSrc, Xvo16s* pDstGain, Xvo16s* pDstLag);

/** G.723.1 decoder pitch postfilter parameters (G.723.1 3.6): backward and forward lags of
 *  largest positive correlation within 3 of valLag (limited to 142), the better one, its gain and
 *  the energy-preserving scaling gain.
 *  @param valLag        in: open-loop lag of the half-frame, 18..145.
 *  @param pSrc          in: 385 samples: 145 of excitation history, then the 240 of the frame.
 *  @param pDstLag       out: negative = backward lag, positive = forward lag, 0 = no filtering.
 *  @param pDstGain      out: postfilter gain already multiplied by the scaling gain, Q15.
 *  @param pDstGainScale out: scaling gain, Q15 (0x7fff when not filtering).
 *  @param subFrame      in: 0..3, the subframe at pSrc[145 + 60 subFrame].
 *  @param rate          in: 4 (gain constant 0x1800) or 2 (0x2000).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when rate, subFrame or valLag is out
 *          of range; else xvoStsOk. */
XVOSC_API XvoStatus xvosPitchPostFilter_G723_16s(Xvo16s valLag, const Xvo16s* pSrc, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                Xvo16s* pDstGainScale, Xvo16s subFrame, int rate);

/** G.723.1 postfilter gain control (G.723.1 3.9): the subframe is scaled so that its energy
 *  follows the energy before postfiltering, through a running gain smoothed by 1/16 per sample.
 *  @param energy      in: energy of the subframe before the formant postfilter (>= 0).
 *  @param pSrcDst     in/out: 60 postfiltered samples, scaled in place.
 *  @param pSrcDstGain in/out: running gain, Q12.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsBadArg when energy < 0; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainControl_G723_16s_I(Xvo32s energy, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain);

/** G.723.1 MP-MLQ fixed codebook search of the 6.3 kbit/s mode (G.723.1 2.15): 6, 5, 6, 5 pulses
 *  of one common quantised amplitude on the even or odd grid, searched with the impulse response
 *  and, when valLag < 58, again with its pitch train (kept when it scores better).
 *  @param valLag              in: closed-loop lag of the half-frame, 18..145.
 *  @param pSrcImpulseResponse in: 60 samples (Q13).
 *  @param pSrcTarget          in: 60 samples, the target after the adaptive contribution.
 *  @param pDstFixedVector     out: 60 samples: signed pulses of the quantised amplitude, with the
 *                             pitch train added when pDstTrainFlag is 1.
 *  @param pDstPulseData       out: the grid, 0 (even positions) or 1 (odd).
 *  @param pDstTrainFlag       out: 1 when the pitch-train response won.
 *  @param pDstGainIndex       out: amplitude index 0..23.
 *  @param pDstSignCode        out: pulse signs, first pulse in the most significant bit, 1 = negative.
 *  @param pDstPositionCode    out: combinatorial code of the pulse positions on the grid.
 *  @param subFrame            in: 0..3.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when valLag or subFrame is out of
 *          range; else xvoStsOk. */
XVOSC_API XvoStatus xvosMPMLQFixedCodebookSearch_G723(Xvo16s valLag, const Xvo16s* pSrcImpulseResponse,
                                                     const Xvo16s* pSrcTarget, Xvo16s* pDstFixedVector,
                                                     Xvo16s* pDstPulseData, Xvo16s* pDstTrainFlag,
                                                     Xvo16s* pDstGainIndex, Xvo16s* pDstSignCode,
                                                     Xvo32s* pDstPositionCode, Xvo16s subFrame);

/** G.723.1 open-loop pitch estimate (G.723.1 2.9) over two subframes of weighted speech: the lag
 *  18..142 of largest normalised cross-correlation, a longer lag replacing a shorter one (18 or
 *  more samples away) only when it is better by 1/4.
 *  @param pSrc    in: the first of the 120 analysed samples; pSrc[-142]..pSrc[119] are read.
 *  @param pDstLag out: the lag, 18..142.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosOpenLoopPitchSearch_G723_16s(const Xvo16s* pSrc, Xvo16s* pDstLag);

/** G.723.1 adaptive codebook vector: the past excitation at lag valBaseLag - 1 + lagIndex
 *  (repeated with the lag's period) through the 5-tap filter of gain entry gainIndex. The table
 *  is the 170-entry one at 5.3 kbit/s or when valBaseLag >= 58, else the 85-entry one.
 *  @param pSrcPrevExcitation in: points just past the excitation history; pSrcPrevExcitation[-(lag+2)]
 *                            .. pSrcPrevExcitation[-1] are read.
 *  @param pDst               out: 60 samples.
 *  @param valBaseLag         in: 18..145.
 *  @param lagIndex           in: 0..3.
 *  @param gainIndex          in: 0..84 or 0..169 as the table.
 *  @param rate               in: 4 (6.3 kbit/s) or 2 (5.3 kbit/s).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when rate, valBaseLag, lagIndex or
 *          gainIndex is out of range; else xvoStsOk. */
XVOSC_API XvoStatus xvosDecodeAdaptiveVector_G723_16s(const Xvo16s* pSrcPrevExcitation, Xvo16s* pDst,
                                                      Xvo16s valBaseLag, Xvo16s lagIndex, Xvo16s gainIndex, int rate);

/** G.723.1 correlation matrix of the impulse response for the 5.3 kbit/s algebraic search
 *  (G.723.1 2.16). The response is halved when its energy's high half exceeds 32000, else shifted
 *  left by half its norm, and padded with 4 leading zeros to 64 samples; track t holds samples
 *  8p + 2t (p = 0..7). Entry (ma, mb) is the high half of sum h[n] h[n + |ma - mb|] over
 *  n = 0 .. 63 - max(ma, mb).
 *  @param pSrcImpulseResponse in: 60 samples.
 *  @param pDst                out: 416 values: the 4 track diagonals (8 each), then the 8 x 8 blocks
 *                             [pa * 8 + pb] of track pairs (0,1), (0,2), (0,3), (1,2), (1,3), (2,3).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosToeplizMatrix_G723_16s(const Xvo16s* pSrcImpulseResponse, Xvo16s* pDst);

/** The 32-bit form of xvosToeplizMatrix_G723_16s: the same 416 entries in the same layout, each the
 *  full 32-bit L_mac sum instead of its high half; the response is halved when the sum of squares
 *  of pSrcImpulseResponse exceeds 0x3E800000.
 *  @param pSrcImpulseResponse in: 60 samples.
 *  @param pDst                out: 416 values.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosToeplizMatrix_G723_16s32s(const Xvo16s* pSrcImpulseResponse, Xvo32s* pDst);

/** G.723.1 MP-MLQ pulse and amplitude search of one response (G.723.1 2.15, one pass of the
 *  6.3 kbit/s search): on each grid (even, then odd positions) the largest backward-filtered target
 *  value fixes an amplitude estimate; for the 4 levels of the 24-level table around it, numPulses
 *  pulses of that level are placed one by one where the residual correlation is largest, and the
 *  candidate is scored by 2 <target, synthesis> - |synthesis|^2. The first strictly best of the
 *  8 candidates is returned; xvosMPMLQFixedCodebookSearch_G723 runs this search with the plain
 *  response and, for lags below 58, again with its pitch train.
 *  @param pSrcImpulseResponse in: 60 samples (Q13), used as given (plain or with its pitch train).
 *  @param pSrcTarget          in: 60 samples, the target after the adaptive contribution.
 *  @param pDstLocation        out: numPulses pulse positions 0..59, in the order they were placed.
 *  @param pDstAmplitude       out: numPulses signed pulse amplitudes (the chosen level, negated for
 *                             negative pulses), same order.
 *  @param pDstGrid            out: 0 (even positions) or 1 (odd).
 *  @param pDstSubframe        out: 60 samples: the pulses placed at their positions, zeros elsewhere.
 *  @param pDstGainIndex       out: amplitude index 0..23 into the 24-level table.
 *  @param numPulses           in: 5 or 6.
 *  @param pDstIndex           out: the winning score (Q0 energy units of the search). When no
 *                             candidate scores above the most negative 32-bit value, the outputs
 *                             are grid 0, index 0 and zero pulses at position 0.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when numPulses is not 5 or 6; else
 *          xvoStsOk. */
XVOSC_API XvoStatus xvosGainQuant_G723_16s(const Xvo16s* pSrcImpulseResponse, const Xvo16s* pSrcTarget,
                                           Xvo16s* pDstLocation, Xvo16s* pDstAmplitude, Xvo16s* pDstGrid,
                                           Xvo16s* pDstSubframe, Xvo16s* pDstGainIndex, int numPulses,
                                           Xvo32s* pDstIndex);

/** G.723.1 algebraic codebook search of the 5.3 kbit/s mode (G.723.1 2.16): the response is halved
 *  to Q12 and, when valLag < 58, sharpened in place (h[i] += valLagGain h[i - valLag]); the
 *  correlation matrix of xvosToeplizMatrix_G723_16s and the backward-filtered target (maximum on
 *  13 bits) feed a depth-first search of 4 signed pulses on the tracks 8p, 8p + 2, 8p + 4, 8p + 6
 *  (p = 0..7; 60 and 62 mean no pulse), all shifted by one when that correlates better. The fourth
 *  pulse is searched only where the first three exceed a threshold halfway between their mean and
 *  maximum, and at most 120 + *pSrcDstExtra times. The gain is the nearest of the 24 levels to the
 *  optimal one, and the code vector is sharpened like the response.
 *  @param pSrcTarget          in: 60 samples (Q0), the target after the adaptive contribution.
 *  @param pSrcImpulseResponse in: 60 samples (Q13); not modified.
 *  @param pDstFixedVector     out: 60 samples: the signed pulses times the quantised gain, sharpened;
 *                             may be the same array as pSrcTarget.
 *  @param pDstGainIndex       out: gain index 0..23.
 *  @param pDstShift           out: 1 when every pulse is shifted by one position, else 0.
 *  @param pDstSignCode        out: bit k set when pulse k is positive (4 bits).
 *  @param pDstPositionCode    out: the 12-bit position code, 3 bits per pulse (pulse 0 lowest).
 *  @param pSrcDstExtra        in/out: effort carried between subframes: the caller sets 120 at the
 *                             start of each frame; on return the budget left (in 0..480 in a coder).
 *  @param valLag              in: sharpening lag, the pitch lag plus its fractional correction from
 *                             the adaptive gain entry, 16..146; 58 and above disables sharpening.
 *  @param valLagGain          in: sharpening gain (Q15) of the adaptive gain entry.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when valLag is outside 16..146; else
 *          xvoStsOk. */
XVOSC_API XvoStatus xvosACELPFixedCodebookSearch_G723_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcImpulseResponse,
                                                          Xvo16s* pDstFixedVector, Xvo16s* pDstGainIndex,
                                                          Xvo16s* pDstShift, Xvo16s* pDstSignCode,
                                                          Xvo16s* pDstPositionCode, Xvo16s* pSrcDstExtra,
                                                          Xvo16s valLag, Xvo16s valLagGain);

/** xvosACELPFixedCodebookSearch_G723_16s built on the 32-bit correlation matrix
 *  (xvosToeplizMatrix_G723_16s32s with the same scaling decision); same arguments, checks and
 *  results. */
XVOSC_API XvoStatus xvosACELPFixedCodebookSearch_G723_32s16s(const Xvo16s* pSrcTarget,
                                                             const Xvo16s* pSrcImpulseResponse,
                                                             Xvo16s* pDstFixedVector, Xvo16s* pDstGainIndex,
                                                             Xvo16s* pDstShift, Xvo16s* pDstSignCode,
                                                             Xvo16s* pDstPositionCode, Xvo16s* pSrcDstExtra,
                                                             Xvo16s valLag, Xvo16s valLagGain);

/** G.723.1 LPC analysis autocorrelation (G.723.1 2.4) of one 180-sample block: the block is
 *  normalised so its largest magnitude has 12 bits, Hamming-windowed, its energy raised by 1/1024
 *  (white-noise correction) and normalised by norm_l; lags 1..10 take the same normalisation and the
 *  binomial lag window. The result is what the Levinson-Durbin recursion of the coder takes. When
 *  the normalised energy rounds to 0 all 11 values are 0.
 *  @param pSrc in: 180 samples.
 *  @param pDst out: 11 values, r(0) .. r(10), Q15 mantissas of a common scale.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorr_G723_16s(const Xvo16s* pSrc, Xvo16s* pDst);

/** xvosAutoCorr_G723_16s with its scale: pDst receives the same 11 values and *pNorm the combined
 *  left shift of the autocorrelation, norm_l of the corrected energy plus twice the block's
 *  normalisation shift (which is -3..11), or 40 when the energy rounds to 0: the autocorrelation
 *  of the Hamming-windowed block (with the correction and lag window) is pDst[k] x 2^(16 - *pNorm).
 *  @param pSrc  in: 180 samples.
 *  @param pDst  out: 11 values.
 *  @param pNorm out: the scale.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorr_NormE_G723_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s* pNorm);

/** G.723.1 LPC to LSP conversion (G.723.1 2.5): the coefficients are bandwidth-expanded by 0.994^k,
 *  the sum and difference polynomials are formed and evaluated alternately on 256 points of the
 *  upper half circle; each sign change gives a root, its 7 low bits by linear interpolation. When
 *  fewer than 10 roots are found the previous LSPs are returned.
 *  @param pSrcLPC     in: 10 LPC coefficients a1..a10 in Q13 (as the analysis filter 1 - sum a z^-k
 *                     of the coder), without bandwidth expansion.
 *  @param pSrcPrevLSF in: the previous 10 LSPs, same scale as the output.
 *  @param pDstLSF     out: 10 ascending frequencies, 0..32767 for 0..pi (grid step 128 = pi/256);
 *                     may be the same array as either input.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosLPCToLSF_G723_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSF, Xvo16s* pDstLSF);

/* @section g723:end */

/* ======================================================================== */
/* GSM-AMR codebook kernels                                               */
/* ======================================================================== */
/* @section gsmamr:begin */
/*
 * GSM-AMR (3GPP TS 26.073) codebook kernels. Mode codes are XvoSpeechRate values: 0 (4.75), 1 (5.15),
 * 3 (5.9), 6 (6.7), 7 (7.4), 8 (7.95), 11 (10.2), 12 (12.2); where a function also accepts 25
 * (XVO_BITRATE_DTX) it is treated exactly as 12.2. Other codes give xvoStsRange. Subframes are
 * numbered 0..3 (40 samples each).
 */

/** Decodes the fixed (algebraic) codebook vector of one subframe from its index words and places
 *  the pulses in a zeroed 40-sample vector: 4.75/5.15 two pulses (9 bits, tracks chosen by the
 *  subframe), 5.9 two (11 bits), 6.7 three (14 bits), 7.4/7.95 four (17 bits) of +8191 or -8192;
 *  10.2 eight pulses (31 bits) and 12.2 ten pulses (35 bits) of +-8191 and +-4096, the second pulse
 *  of a track added to the first, signed relative to it.
 *  @param pSrcIdxs          in: index words in the reference's order: word 0 positions and word 1
 *                           signs (4.75..7.95); 7 words (10.2: four signs, three joint positions);
 *                           10 words (12.2: five sign+position words, five position words). Bits
 *                           above each word's width are ignored.
 *  @param pDstFixedCodebook out: 40 samples (Q13 for the modes below 12.2, Q12 for 12.2).
 *  @param subFrame          in: 0..3.
 *  @param mode              in: a GSM-AMR mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when subFrame is outside 0..3 or the
 *          mode is not accepted; else xvoStsOk. */
XVOSC_API XvoStatus xvosFixedCodebookDecode_GSMAMR_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstFixedCodebook,
                                                      Xvo16s subFrame, XvoSpeechRate mode);
/** Decodes the pitch lag of one subframe from its index and builds the adaptive-codebook vector by
 *  fractional interpolation of the past excitation (1/3 resolution, 1/6 at 12.2).
 *  Subframes 0 and 2 are coded absolutely (4.75 and 5.15 code subframe 2 relatively), the others
 *  relative to the previous lag (a window of 10 lags, 20 at 7.95; the 4-bit delta code at 4.75, 5.15,
 *  5.9 and 6.7). A bad frame below 12.2 uses the previous lag plus one (at most 143, which also
 *  becomes the previous lag) with fraction 0, except that 4.75/5.15/5.9 in background noise with a
 *  voiced hangover above 4 keep the decoded lag. At 12.2 a bad frame, or a relative index above 60,
 *  uses the previous lag with fraction 0.
 *  @param valAdptIndex           in: the lag index (9 bits at 12.2: higher bits are ignored there).
 *  @param pResultPrevIntPitchLag in/out: the previous subframe's integer lag; changed only by a
 *                                bad frame below 12.2 (the caller stores the used lag after the
 *                                subframe).
 *  @param pResultLTPLag          out: the integer lag coded in the index.
 *  @param pSrcDstExcitation      in/out: 154 past excitation samples then the 40 of the subframe,
 *                                which receive the adaptive-codebook vector.
 *  @param pResultIntPitchLag     out: the integer lag used for the interpolation.
 *  @param pDstAdptVector         out: the 40-sample adaptive-codebook vector (a copy).
 *  @param subFrame               in: 0..3.
 *  @param bfi                    in: non-zero for a bad (lost) frame.
 *  @param inBackgroundNoise      in: the decoder's background-noise flag.
 *  @param voicedHangover         in: the decoder's voiced-hangover count.
 *  @param mode                   in: a GSM-AMR mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsSize when subFrame is outside
 *          0..3; xvoStsRange when the mode is not accepted or, below 12.2, the index is outside
 *          0..511; xvoStsBadCodecParam when the lag to interpolate lies outside 10..144 (the
 *          interpolation would read outside the buffer: a previous lag or index no encoder makes);
 *          else xvoStsOk. A failing call writes nothing. */
XVOSC_API XvoStatus xvosAdaptiveCodebookDecode_GSMAMR_16s(Xvo16s valAdptIndex, Xvo16s* pResultPrevIntPitchLag,
                                                         Xvo16s* pResultLTPLag, Xvo16s* pSrcDstExcitation,
                                                         Xvo16s* pResultIntPitchLag, Xvo16s* pDstAdptVector,
                                                         Xvo16s subFrame, Xvo16s bfi, Xvo16s inBackgroundNoise,
                                                         Xvo16s voicedHangover, XvoSpeechRate mode);
/** Windowed autocorrelation for the LP analysis of one frame: the 240 samples are multiplied by the
 *  analysis window with rounding (Q15); while the doubled sum of squares saturates, the windowed
 *  signal is divided by 4; r0 = 2 sum + 1 normalised by its leading-zero count, r1..r10 with the same
 *  shift and then lag-windowed (the G.729 lag window, 60 Hz). 12.2 runs two analyses with its two
 *  asymmetric windows, the other modes one with the single window.
 *  @param pSrcSpch     in: 240 samples (the frame's analysis window position).
 *  @param pDstAutoCorr out: 11 values (22 at 12.2: the two sets one after the other): r0 as a whole
 *                      32-bit value in 0x40000000..0x7fffffff, r1..r10 as hi * 65536 + lo * 2 of the
 *                      double-precision result (bit 0 zero). Elements 11..21 are not written below 12.2.
 *  @param mode         in: a GSM-AMR mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when the mode is not accepted; else
 *          xvoStsOk. */
XVOSC_API XvoStatus xvosAutoCorr_GSMAMR_16s32s(const Xvo16s* pSrcSpch, Xvo32s* pDstAutoCorr, XvoSpeechRate mode);
/** Decodes the quantised LSPs of one frame. Below 12.2: one vector from three split indices with
 *  first-order MA prediction of the residual (the 4.75/5.15 and 7.95 codebook variants included);
 *  at 12.2 (and 25): two vectors (subframes 0-1 and 2-3) from five split-matrix indices, prediction
 *  factor 0.65. A bad frame estimates the LSFs from the previous ones and the mean (0.9/0.1 below
 *  12.2, 0.95/0.05 at 12.2) and refreshes the residual memory from them. The LSFs are then spread to
 *  a minimum distance of 205 and converted to LSPs (xvosLSFToLSP_GSMAMR_16s).
 *  @param pSrcQntIdx                in: 3 indices (below 12.2) or 5 (12.2; bit 0 of the third is its
 *                                   sign); out-of-range indices are limited to their codebook.
 *  @param pSrcDstPrevQntLSFResidual in/out: 10 values, the previous quantised residual.
 *  @param pSrcDstPrevQntLSF         in/out: 10 values, the previous quantised LSFs (the last vector).
 *  @param pDstQntLSP                out: 10 LSPs (Q15), 20 at 12.2 (first vector, then second).
 *  @param pDstQntLSF                out: the matching 10 or 20 LSFs (0..16383 for 0..pi).
 *  @param bfi                       in: non-zero for a bad (lost) frame.
 *  @param mode                      in: a GSM-AMR mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsRange when the mode is not
 *          accepted; else xvoStsOk. */
XVOSC_API XvoStatus xvosQuantLSPDecode_GSMAMR_16s(const Xvo16s* pSrcQntIdx, Xvo16s* pSrcDstPrevQntLSFResidual,
                                                 Xvo16s* pSrcDstPrevQntLSF, Xvo16s* pDstQntLSP, Xvo16s* pDstQntLSF,
                                                 Xvo16s bfi, XvoSpeechRate mode);
/** Closed-loop adaptive-codebook (pitch) search of one subframe: the integer lag maximising the
 *  normalised correlation between the target and the filtered past excitation (the largest of equal
 *  maxima), then the fraction (1/3 resolution, 1/6 at 12.2; the first of equal maxima), the lag index,
 *  and the adaptive-codebook vector by fractional interpolation of the excitation.
 *  Subframes 0 and 2 search around the open-loop lag of their half frame (subframe 2 of 4.75 and
 *  5.15 excepted), the others around the previous subframe's lag; the search ranges are the
 *  reference's per-mode table (minimum lag 20, 18 at 12.2; maximum 143).
 *  @param pSrcTarget          in: 40-sample target vector (Q0).
 *  @param pSrcImpulseResponse in: 40-sample impulse response of the weighted synthesis filter (Q12).
 *  @param pSrcOpenLoopLag     in: the open-loop lags of subframes 0-1 and 2-3.
 *  @param pPitchLag           in: the previous subframe's integer lag (read in relatively coded
 *                             subframes); out: the chosen integer lag.
 *  @param pSrcDstExcitation   in/out: 154 past excitation samples then 40 current ones (the LP
 *                             residual on entry, the adaptive-codebook vector on return).
 *  @param pFracPitchLag       out: the fraction (-1..1, or -2..3 at 12.2).
 *  @param pAdptIndex          out: the coded lag index.
 *  @param pDstAdptVector      out: the 40-sample adaptive-codebook vector (a copy).
 *  @param subFrame            in: 0..3.
 *  @param mode                in: a GSM-AMR mode code (25 is not accepted).
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsSize when subFrame is outside
 *          0..3; xvoStsRange when the mode is not one of the eight; else xvoStsOk. */
XVOSC_API XvoStatus xvosAdaptiveCodebookSearch_GSMAMR_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcImpulseResponse,
                                                         const Xvo16s* pSrcOpenLoopLag, Xvo16s* pPitchLag,
                                                         Xvo16s* pSrcDstExcitation, Xvo16s* pFracPitchLag,
                                                         Xvo16s* pAdptIndex, Xvo16s* pDstAdptVector, Xvo16s subFrame,
                                                         XvoSpeechRate mode);
/** Adaptive-codebook (pitch) gain of a subframe, xn.y1 / y1.y1 in Q14 (TS 26.073 G_pitch): both
 *  products are taken with 1 added and normalised to 16 bits (again with y1 divided by 4 when a sum
 *  saturates); a correlation below 4 gives 0 and the gain is limited to 19661 (1.2). The two LSBs
 *  the 12.2 encoder clears afterwards are left to the caller.
 *  @param pSrcTarget        in: 40-sample target vector (Q0).
 *  @param pSrcFltAdptVector in: 40-sample filtered adaptive-codebook vector y1 (Q0).
 *  @param pDstGainCoeff     out: yy, 15 - exp(yy), xy, 15 - exp(xy), the normalised energy and
 *                           correlation with their exponents, as the gain quantisers use them.
 *  @param pResultGain       out: the gain, Q14, 0..19661.
 *  @return xvoStsNullPtr when a pointer is null (argument order); else xvoStsOk. */
XVOSC_API XvoStatus xvosAdaptiveCodebookGainCoeffs_GSMAMR_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdptVector,
                                                             Xvo16s* pDstGainCoeff, Xvo16s* pResultGain);

/** As xvosAdaptiveCodebookGainCoeffs_GSMAMR_16s without the coefficients.
 *  @return xvoStsNullPtr when a pointer is null (argument order); else xvoStsOk. */
XVOSC_API XvoStatus xvosAdaptiveCodebookGain_GSMAMR_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdptVector,
                                                       Xvo16s* pResultGain);
/** Algebraic (fixed) codebook search for one subframe (TS 26.073 cbsearch): the target's
 *  correlation with the impulse response fixes each position's sign, the response's signed
 *  correlation matrix is formed, and the pulses are searched depth-first per mode: 2 pulses
 *  (4.75/5.15, tracks by subframe; 5.9), 3 (6.7), 4 (7.4/7.95), 8 (10.2) or 10 (12.2 and 25). The
 *  pulse sharpening: 4.75..7.95 run the search on a copy of h sharpened with twice the gain
 *  (saturating) from the lag on and sharpen the code vector the same way (the caller's h is left
 *  as it was); 10.2 doubles the gain as a plain 16-bit value (it never exceeds 1.0 in Q14 there),
 *  12.2 and 25 with saturation, and both apply xvosHarmonicFilter_16s_I with it to the caller's h
 *  (from the lag on) before the search and to the code vector after it, when the lag is below 40.
 *  @param valIntPitchLag         in: integer pitch lag, 17..144.
 *  @param valShrapGain           in: pitch sharpening gain, Q14 (the quantised pitch gain for 12.2).
 *  @param pSrcFixedTarget        in: 40 target samples.
 *  @param pSrcLtpResidual        in: 40 samples of residual after long-term prediction (read by
 *                                10.2, 12.2 and 25 only; may be null for the other modes).
 *  @param pSrcDstImpulseResponse in/out: 40 samples of impulse response, Q12 (sharpened in place
 *                                by 10.2, 12.2 and 25).
 *  @param pDstFixedVector        out: 40 samples of code vector (pulses +8191/-8192, +-4096 for 12.2).
 *  @param pDstFltFixedVector     out: 40 samples, the code vector filtered by h.
 *  @param pDstEncPosSign         out: the index words in the reference's order: 2 (positions, signs)
 *                                for 4.75..7.95, 7 for 10.2, 10 for 12.2 and 25; others untouched.
 *  @param subFrame               in: 0..3.
 *  @param mode                   in: 0, 1, 3, 6, 7, 8, 11, 12 or 25.
 *  @return xvoStsNullPtr when the target, response, code, filtered-code or index pointer is null
 *          (argument order); xvoStsRange when the subframe, lag or mode is not accepted;
 *          xvoStsNullPtr when the residual is null for 10.2, 12.2 or 25; else xvoStsOk. A failing
 *          call writes nothing. */
XVOSC_API XvoStatus xvosAlgebraicCodebookSearch_GSMAMR_16s(Xvo16s valIntPitchLag, Xvo16s valShrapGain,
                                                          const Xvo16s* pSrcFixedTarget, const Xvo16s* pSrcLtpResidual,
                                                          Xvo16s* pSrcDstImpulseResponse, Xvo16s* pDstFixedVector,
                                                          Xvo16s* pDstFltFixedVector, Xvo16s* pDstEncPosSign,
                                                          Xvo16s subFrame, XvoSpeechRate mode);

/** xvosAlgebraicCodebookSearch_GSMAMR_16s with a caller work buffer, for callers that pass one;
 *  the search needs no memory beyond its stack, so the buffer is only checked.
 *  @param pBuffer in: the caller's work buffer (any size; not used).
 *  @return xvoStsNullPtr when pBuffer is null; else as xvosAlgebraicCodebookSearch_GSMAMR_16s. */
XVOSC_API XvoStatus xvosAlgebraicCodebookSearchEX_GSMAMR_16s(Xvo16s valIntPitchLag, Xvo16s valShrapGain,
                                                            const Xvo16s* pSrcFixedTarget,
                                                            const Xvo16s* pSrcLtpResidual,
                                                            Xvo16s* pSrcDstImpulseResponse, Xvo16s* pDstFixedVector,
                                                            Xvo16s* pDstFltFixedVector, Xvo16s* pDstEncPosSign,
                                                            Xvo16s subFrame, XvoSpeechRate mode, Xvo8u* pBuffer);
/* @section gsmamr:end */

/* ======================================================================== */
/* GSM-AMR voice activity detection, option 1                             */
/* ======================================================================== */
/* @section gsmamr_vad1:begin */
/** State of the GSM-AMR voice activity detector, option 1 (TS 26.094). The caller allocates it
 *  and gives it its starting values: the reference's reset sets bckrEst, aveLevel and oldLevel to
 *  150, bestCorrHp and corrHpFast to 13106 and every other field to 0. The fields are those of the
 *  reference record, in its order and widths, followed by prevPower; the open-loop pitch search of
 *  an encoder updates pitch, tone, oldLag, oldLagCount and bestCorrHp between frames. */
typedef struct {
    Xvo16s bckrEst[9];        /**< background-noise estimate per band */
    Xvo16s aveLevel[9];       /**< averaged band levels (stationarity) */
    Xvo16s oldLevel[9];       /**< band levels of the previous frame */
    Xvo16s subLevel[9];       /**< level of each band's last samples of the previous frame */
    Xvo16s aData5[3][2];      /**< memories of the 5th-order filter stages */
    Xvo16s aData3[5];         /**< memories of the 3rd-order filter stages */
    Xvo16s burstCount;        /**< consecutive frames with a speech decision */
    Xvo16s hangCount;         /**< hangover frames left */
    Xvo16s statCount;         /**< stationarity counter */
    Xvo16s vadreg;            /**< intermediate decisions, newest in bit 14 */
    Xvo16s pitch;             /**< pitch flags, newest in bit 14 */
    Xvo16s tone;              /**< tone flags, newest in bit 14 */
    Xvo16s complexHigh;       /**< high-correlation flags, newest in bit 14 */
    Xvo16s complexLow;        /**< low-correlation flags, newest in bit 14 */
    Xvo16s oldLagCount;       /**< lags near the previous ones (open-loop search) */
    Xvo16s oldLag;            /**< previous open-loop lag */
    Xvo16s complexHangCount;  /**< complex-signal hangover frames left */
    Xvo16s complexHangTimer;  /**< consecutive frames of very high correlation */
    Xvo16s bestCorrHp;        /**< best high-pass correlation of the frame (Q15) */
    Xvo16s speechVadDecision; /**< the last decision */
    Xvo16s complexWarning;    /**< 1 while the signal has been complex for a while */
    Xvo16s spBurstCount;      /**< kept for the reference record layout */
    Xvo16s corrHpFast;        /**< fast-adapted high-pass correlation (Q15) */
    Xvo32s prevPower;         /**< doubled, saturated energy of the previous frame's last 40 samples */
} XvoVAD1State_GSMAMR;

/** GSM-AMR voice activity detection, option 1, for one 160-sample frame: the 9-band filter bank, the
 *  averaged SNR against an adaptive threshold, the high-pass correlation aid, the background-noise
 *  update and the burst/hangover rules. The frame power (pitch and complex flags, low-power exit) is
 *  taken over the 40 samples before the frame (prevPower) and the frame's first 120, as the reference
 *  encoder does with its lookahead; the last 40 samples' energy is kept for the next frame.
 *  @param pSrcSpch   in: 160 pre-processed speech samples.
 *  @param pState     in/out: the detector state.
 *  @param pVadFlag   out: 1 for speech, 0 for noise.
 *  @param bestCorrHp in: the best high-pass correlation of the frame's open-loop pitch search (Q15);
 *                    stored in the state before use.
 *  @return xvoStsNullPtr when a pointer is null (argument order); else xvoStsOk. */
XVOSC_API XvoStatus xvosVAD1_GSMAMR_16s(const Xvo16s* pSrcSpch, XvoVAD1State_GSMAMR* pState, Xvo16s* pVadFlag,
                                       Xvo16s bestCorrHp);
/* @section gsmamr_vad1:end */

/* ======================================================================== */
/* GSM-AMR voice activity detection option 2, DTX, LSF and pre-emphasis   */
/* ======================================================================== */
/* @section gsmamr_vad2dtx:begin */
/*
 * GSM-AMR discontinuous transmission (3GPP TS 26.093 with the TS 26.073 fixed-point steps).
 * The caller keeps the DTX state: the hangover and elapsed-frame counters of the encoder, and the
 * histories of the last 8 frames (8 x 10 LSP or LSF values, 8 log energies, a write index 0..7).
 */

/** Encoder DTX handler, once per frame after the VAD: decides whether the frame is coded as speech
 *  or as a DTX frame and whether a new silence descriptor must be computed.
 *  The elapsed count is incremented (it stays at 32767 once there). A speech frame (vadFlag != 0)
 *  sets the hangover count to 7. A non-speech frame with hangover 0 resets the elapsed count to 0,
 *  sets the used mode to XVO_BITRATE_DTX and requests a SID; otherwise the hangover is decremented
 *  (saturating) and, when hangover + elapsed < 30, the used mode becomes XVO_BITRATE_DTX.
 *  @param pHangoverCount in/out: frames of hangover left.
 *  @param pElapsedCount  in/out: frames since the last SID analysis.
 *  @param pUsedMode      in/out: the frame's mode code; written only when it becomes XVO_BITRATE_DTX (25).
 *  @param pComputeSid    out: 1 when a new SID must be computed, else 0.
 *  @param vadFlag        in: the frame's VAD decision.
 *  @return xvoStsNullPtr when a pointer is null (argument order); else xvoStsOk. */
XVOSC_API XvoStatus xvosEncDTXHandler_GSMAMR_16s(Xvo16s* pHangoverCount, Xvo16s* pElapsedCount, Xvo16s* pUsedMode,
                                                Xvo16s* pComputeSid, Xvo16s vadFlag);

/** Encoder DTX history update, once per frame: advances the write index (7 wraps to 0), stores the
 *  frame's 10 LSPs in that row and its log energy 1024 e + (f >> 5) - 8521 (Q10, where e, f are the
 *  exponent and fraction of log2 of twice the saturated sum of squares of the 160 samples),
 *  halved (arithmetic shift) as the encoder's SID averaging expects.
 *  @param pSrcSpeech       in: 160 pre-processed speech samples (Q0).
 *  @param pSrcLSP          in: 10 LSPs of the frame (Q15).
 *  @param pSrcDstIndex     in/out: the write index, 0..7.
 *  @param pSrcDstLSPHist   in/out: 8 rows of 10 LSPs.
 *  @param pSrcDstLogEnHist in/out: 8 log energies (Q10, halved).
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsBadCodecParam when the index
 *          is outside 0..7; else xvoStsOk. A failing call writes nothing. */
XVOSC_API XvoStatus xvosEncDTXBuffer_GSMAMR_16s(const Xvo16s* pSrcSpeech, const Xvo16s* pSrcLSP, Xvo16s* pSrcDstIndex,
                                               Xvo16s* pSrcDstLSPHist, Xvo16s* pSrcDstLogEnHist);

/** Decoder DTX history update, once per good frame: as xvosEncDTXBuffer_GSMAMR_16s on the
 *  synthesised speech and the frame's LSFs, but the log energy is stored unhalved (the comfort-noise
 *  decoder reads its history at that scale; the factor two between the two histories is deliberate).
 *  @param pSrcSpeech       in: 160 synthesised samples (Q0).
 *  @param pSrcLSF          in: 10 LSFs of the frame (the decoder's past quantised LSFs).
 *  @param pSrcDstIndex     in/out: the write index, 0..7.
 *  @param pSrcDstLSFHist   in/out: 8 rows of 10 LSFs.
 *  @param pSrcDstLogEnHist in/out: 8 log energies (Q10).
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsBadCodecParam when the index
 *          is outside 0..7; else xvoStsOk. A failing call writes nothing. */
XVOSC_API XvoStatus xvosDecDTXBuffer_GSMAMR_16s(const Xvo16s* pSrcSpeech, const Xvo16s* pSrcLSF, Xvo16s* pSrcDstIndex,
                                               Xvo16s* pSrcDstLSFHist, Xvo16s* pSrcDstLogEnHist);

/** GSM-AMR LSF-to-LSP conversion (TS 26.073 Lsf_lsp): the shared table-driven conversion with the
 *  GSM-AMR slopes (cosine table differences, right shift 8).
 *  @param pSrcLSF in: 10 LSFs, 0..16383 for 0..pi (Q15 normalised; 16384 and above use the last
 *                 interval).
 *  @param pDstLSP out: 10 LSPs (Q15).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsDomain at the first negative LSF (the LSPs
 *          before it are written, the rest are not); else xvoStsOk. */
XVOSC_API XvoStatus xvosLSFToLSP_GSMAMR_16s(const Xvo16s* pSrcLSF, Xvo16s* pDstLSP);
/*
 * GSM-AMR voice activity detection, option 2 (3GPP TS 26.094, the FFT channel-energy detector).
 * The record is the reference's, field for field in its order, so that a state captured from it
 * can be loaded; the caller allocates it and zeroes it to start (the reference's reset state).
 */
typedef struct {
    Xvo16s preEmpMem;          /**< last sample of the previous half frame, at its block scale */
    Xvo16s updateCnt;          /**< frames counted towards a forced noise update */
    Xvo16s hysterCnt;          /**< frames the update count has not moved */
    Xvo16s lastUpdateCnt;      /**< the update count of the previous half frame */
    Xvo16s chEnrgLongDb[16];   /**< long-term channel energies, dB in Q8 */
    Xvo32s frameCount;         /**< half frames analysed (saturating) */
    Xvo32s chEnrg[16];         /**< channel energies, Q9 (shift state 0) or Q4 (state 1) */
    Xvo32s chNoise[16];        /**< channel noise estimates, Q9 */
    Xvo16s lastNormbShift;     /**< block scale of the previous half frame */
    Xvo16s tsnr;               /**< total SNR, dB in Q8 */
    Xvo16s hangover;           /**< hangover half frames left */
    Xvo16s burstCount;         /**< consecutive active half frames */
    Xvo16s fupdateFlag;        /**< 1 after a forced noise update */
    Xvo16s negSnrVar;          /**< variance of negative SNRs, Q8 */
    Xvo16s negSnrBias;         /**< threshold bias from that variance */
    Xvo16s shiftState;         /**< 0: channel energies in Q9; 1: in Q4 (loud blocks) */
    Xvo32s r0;                 /**< frame energy of the open-loop search (not used by the detector) */
    Xvo32s rMax;               /**< its largest correlation (not used by the detector) */
    Xvo16s ltpFlag;            /**< the long-term-prediction flag of the last call */
    Xvo16s reserved;           /**< padding; keep 0 */
} XvoVAD2State_GSMAMR;

/** GSM-AMR voice activity detection, option 2, for one 160-sample frame, analysed as two halves of
 *  80 samples: each half is block-scaled with 2 bits of headroom (xvosAutoScale_16s), pre-emphasised
 *  by -0.8 (xvosPreemphasize_GSMAMR_16s, the memory rescaled to the block's scale), placed after 24
 *  zeros in a 128-point buffer and transformed (xvosFFTFwd_RToPerm_GSMAMR_16s_I); 16 channel
 *  energies are smoothed, their SNRs against the noise estimate summed into a voice metric and
 *  compared with a threshold set by the long-term SNR, with burst and hangover counts; the noise
 *  estimate is updated on quiet half frames, or forced after 50 stationary ones when the
 *  long-term-prediction flag is clear. The frame is speech when either half is.
 *  @param pSrcSpch in: 160 samples.
 *  @param pState   in/out: the record (zeroed before the first frame).
 *  @param pVadFlag out: 1 for speech, 0 for noise.
 *  @param ltpFlag  in: the long-term-prediction flag from the previous frame's open-loop search
 *                  (non-zero blocks the forced update); stored in the record.
 *  @return xvoStsNullPtr when a pointer is null (argument order); else xvoStsOk. */
XVOSC_API XvoStatus xvosVAD2_GSMAMR_16s(const Xvo16s* pSrcSpch, XvoVAD2State_GSMAMR* pState, Xvo16s* pVadFlag,
                                       Xvo16s ltpFlag);

/** 128-point real FFT in place (TS 26.094 r_fft: a 64-point complex FFT halving after each of its
 *  six stages, then the real split): on return pSrcDst[0] holds bin 0 and pSrcDst[1] bin 64 (both
 *  real), and pSrcDst[2k], pSrcDst[2k + 1] the real and imaginary parts of bin k, k = 1..63; the
 *  spectrum is scaled by 1/64.
 *  @param pSrcDst in: 128 real samples; out: the packed spectrum.
 *  @return xvoStsNullPtr when pSrcDst is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFFTFwd_RToPerm_GSMAMR_16s_I(Xvo16s* pSrcDst);

/** Pre-emphasis: pDst[i] = add(pSrc[i], mult(gamma, pSrc[i - 1])) with pSrc[-1] = *pMem; then
 *  *pMem = pSrc[len - 1]. pDst may equal pSrc.
 *  @param gamma in: the factor, Q15 (the detector uses -26214, -0.8).
 *  @param pSrc  in: len samples.
 *  @param pDst  out: len samples.
 *  @param len   in: 1 or more.
 *  @param pMem  in/out: the sample before pSrc[0].
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsSize when len < 1; else
 *          xvoStsOk. */
XVOSC_API XvoStatus xvosPreemphasize_GSMAMR_16s(Xvo16s gamma, const Xvo16s* pSrc, Xvo16s* pDst, int len, Xvo16s* pMem);
/** Encoder silence-descriptor analysis (TS 26.073 dtx_enc with the SID path of the LSF quantiser),
 *  run on each frame coded as DTX. A new SID is computed when computeSidFlag is set, and also when
 *  the stored log-energy index is 0 (after a reset, or after a SID of index 0), as the reference
 *  encoder does; otherwise nothing is written and the stored parameters are sent again. Computing:
 *  the 8 log energies (each / 4) are summed and halved, the 8 LSP rows averaged (sum >> 3); the
 *  log-energy index is ((energy + 2560 + 128) >> 8) limited to 0..63; both gain predictor memories
 *  restart from it (4 values of ((index << 8) - 11560) limited to -14436..0, and 4 of that times
 *  5443 in Q15 for 12.2); the averaged LSPs, made ordered (LSF gap 205), are quantised with the
 *  best of the 8 initial MA predictions (the init index) and the 3 weighted split codebooks
 *  (256 x 3, 512 x 3, 512 x 4) of the modes below 12.2; the quantised residual becomes the LSF
 *  quantiser's memory.
 *  Groups of pointers: the DTX state (histories and stored SID), the LSF quantiser state, the gain
 *  predictor memories.
 *  @param pSrcLSPHist           in: 8 rows of 10 LSPs (the encoder's DTX history).
 *  @param pSrcLogEnHist         in: 8 log energies (Q10, halved, as the encoder history stores them).
 *  @param pSrcDstSidParams      in/out: the SID parameters in transmission order: init index (3
 *                               bits), the three LSF indices (8, 9, 9 bits), the log-energy index
 *                               (6 bits); zero them at reset.
 *  @param pSrcDstPastRq         in/out: 10 values, the LSF quantiser's past quantised residual.
 *  @param pDstLSPQ              out: 10 quantised LSPs of the SID (written when computed).
 *  @param pSrcDstPastQuaEn      in/out: 4 past quantised energies of the gain predictor (modes
 *                               below 12.2).
 *  @param pSrcDstPastQuaEnMR122 in/out: 4 past quantised energies of the 12.2 gain predictor.
 *  @param computeSidFlag        in: non-zero to compute a new SID (the DTX handler's flag).
 *  @return xvoStsNullPtr when a pointer of the first group (3), then of the second (2), then of
 *          the third (2) is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosEncDTXSID_GSMAMR_16s(const Xvo16s* pSrcLSPHist, const Xvo16s* pSrcLogEnHist,
                                            Xvo16s* pSrcDstSidParams, Xvo16s* pSrcDstPastRq, Xvo16s* pDstLSPQ,
                                            Xvo16s* pSrcDstPastQuaEn, Xvo16s* pSrcDstPastQuaEnMR122,
                                            Xvo16s computeSidFlag);
/* @section gsmamr_vad2dtx:end */

/* ======================================================================== */
/* AMR-WB ISF quantisation, DTX buffers and open-loop pitch               */
/* ======================================================================== */
/* @section amrwb:begin */
/*
 * AMR-WB (3GPP TS 26.173) DTX histories. AMR-WB mode codes are XvoSpeechRate values 5 (6.6),
 * 9 (8.85), 13 (12.65), 15 (14.25), 16 (15.85), 18 (18.25), 19 (19.85), 20 (23.05), 21 (23.85) and
 * 25 (XVO_BITRATE_DTX); other codes give xvoStsRange.
 */

/** Encoder DTX history update, once per frame: advances the write index (7 wraps to 0), stores the
 *  16 ISFs in that row and the frame's log energy per sample, 128 e + (f >> 8) - 1024 - offset (Q7),
 *  where e, f are the exponent and fraction of log2 of the sum of squares of the 256 samples
 *  (saturated at 2^31 - 1) and the offset depends on the mode: 230 (6.6), 179 (8.85), 141 (12.65),
 *  128 (14.25), 122 (15.85), 115 (18.25 and above, and 25).
 *  @param pSrcSpch           in: 256 samples (the encoder's excitation of the frame).
 *  @param pSrcIsf            in: 16 quantised ISFs.
 *  @param pUpdateIdx         in/out: the write index, 0..7.
 *  @param pSrcDstIsfHist     in/out: 8 rows of 16 ISFs.
 *  @param pSrcDstLogEnerHist in/out: 8 log energies (Q7).
 *  @param mode               in: an AMR-WB mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsRange when the mode is not
 *          accepted; xvoStsBadCodecParam when the index is outside 0..7; else xvoStsOk. A failing call
 *          writes nothing. */
XVOSC_API XvoStatus xvosEncDTXBuffer_AMRWB_16s(const Xvo16s* pSrcSpch, const Xvo16s* pSrcIsf, Xvo16s* pUpdateIdx,
                                              Xvo16s* pSrcDstIsfHist, Xvo16s* pSrcDstLogEnerHist, XvoSpeechRate mode);

/** Decoder DTX history update: as xvosEncDTXBuffer_AMRWB_16s with no mode offset.
 *  @param pSrcSpch           in: 256 samples (the decoder's excitation of the frame).
 *  @param pSrcIsf            in: 16 ISFs.
 *  @param pUpdateIdx         in/out: the write index, 0..7.
 *  @param pSrcDstIsfHist     in/out: 8 rows of 16 ISFs.
 *  @param pSrcDstLogEnerHist in/out: 8 log energies (Q7).
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsBadCodecParam when the index
 *          is outside 0..7; else xvoStsOk. A failing call writes nothing. */
XVOSC_API XvoStatus xvosDecDTXBuffer_AMRWB_16s(const Xvo16s* pSrcSpch, const Xvo16s* pSrcIsf, Xvo16s* pUpdateIdx,
                                              Xvo16s* pSrcDstIsfHist, Xvo16s* pSrcDstLogEnerHist);
/** Decodes the 16 quantised ISFs of a frame (two-stage split VQ, MA prediction factor 1/3): the
 *  46-bit layout (7 indices) for 8.85..23.85, the 36-bit layout (5 indices) for 6.6 and 25. A good
 *  frame adds the addressed rows, the mean and the prediction, stores the residual as the new
 *  memory, shifts the ISF history (entry 0 the new ISFs, before order enforcement). A bad frame
 *  estimates ISF = (29491 prev + 3277 ref) >> 15 in one 32-bit sum, ref = (mean + h0 + h1 + h2 + 2) >> 2
 *  over the history, refreshes the memory as (ISF - sat16(ref + mem/3)) >> 1 on the 16-bit wrapped
 *  difference and leaves the history alone. Finally each of the first 15 ISFs is raised to at least
 *  the previous one + 128 (the first to 128).
 *  @param pSrcIdxs         in: 7 indices (46-bit) or 5 (36-bit), stage 1 then stage 2 in ISF order;
 *                          bits above each codebook's size are ignored.
 *  @param pDstQntIsf       out: 16 ISFs (0..16384 for 0..6400 Hz; the 16th at half scale).
 *  @param pSrcDstResidual  in/out: 16 values, the past quantised residual.
 *  @param pSrcPrevQntIsf   in: the previous frame's 16 ISFs (read on a bad frame only).
 *  @param pSrcDstIsfMemory in/out: the ISF history, 3 x 16, most recent first.
 *  @param bfi              in: non-zero for a bad (lost) frame.
 *  @param mode             in: an AMR-WB mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null (indices, ISF, residual; then previous ISF, history);
 *          xvoStsRange when the mode is not accepted; else xvoStsOk. A failing call writes nothing. */
XVOSC_API XvoStatus xvosISFQuantDecode_AMRWB_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstQntIsf, Xvo16s* pSrcDstResidual,
                                                const Xvo16s* pSrcPrevQntIsf, Xvo16s* pSrcDstIsfMemory, Xvo32s bfi,
                                                XvoSpeechRate mode);

/** Silence-descriptor ISF quantiser: subtracts the SID mean, searches the five single-stage codebooks
 *  (2 x 64, 3 x 64, 3 x 64, 4 x 32, 4 x 32) each for the smallest squared error (the first of equal
 *  errors), and decodes the result as xvosISFQuantDecodeDTX_AMRWB_16s does.
 *  @param pSrcIsf    in: 16 ISFs.
 *  @param pDstQntIsf out: 16 quantised ISFs.
 *  @param pDstIdxs   out: 5 indices (6+6+6+5+5 bits).
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosISFQuantDTX_AMRWB_16s(const Xvo16s* pSrcIsf, Xvo16s* pDstQntIsf, Xvo16s* pDstIdxs);

/** Silence-descriptor ISF decoder: the addressed rows plus the SID mean, then the first 15 values
 *  spread to at least 128 apart.
 *  @param pSrcIdxs   in: 5 indices; bits above each codebook's size are ignored.
 *  @param pDstQntIsf out: 16 ISFs.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosISFQuantDecodeDTX_AMRWB_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstQntIsf);
/** Active-speech ISF quantiser (two-stage split VQ with MA prediction, factor 1/3): the residual
 *  isf - mean - mem/3; for each stage-1 part (ISF 1-9, 10-16) the 4 nearest rows survive and the one
 *  whose stage-2 splits (46-bit: 3+3+3 and 3+4; 36-bit for 6.6 and 25: 5+4 and 7) give the smallest
 *  summed squared error wins (earlier rows win ties); then decoded as by xvosISFQuantDecode_AMRWB_16s
 *  on a good frame (without the history) with the order enforced.
 *  @param pSrcIsf         in: 16 ISFs.
 *  @param pSrcDstResidual in/out: 16 values, the past quantised residual.
 *  @param pDstQntIsf      out: 16 quantised ISFs.
 *  @param pDstIdxs        out: 7 indices (46-bit) or 5 (36-bit): stage 1, then stage 2 in ISF order.
 *  @param mode            in: an AMR-WB mode code or 25.
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsRange when the mode is not
 *          accepted; else xvoStsOk. */
XVOSC_API XvoStatus xvosISFQuant_AMRWB_16s(const Xvo16s* pSrcIsf, Xvo16s* pSrcDstResidual, Xvo16s* pDstQntIsf,
                                          Xvo16s* pDstIdxs, XvoSpeechRate mode);
/** ISP to normalised ISF conversion: for i from len-1 down to 0, a grid index (starting at 127 for
 *  the last two values, otherwise continuing from the previous value's) walks down the 129-point
 *  cosine grid while the grid value is below isp[i]; isf[i] = (((isp[i] - cos[ind]) slope[ind] +
 *  1024) >> 11) + 128 ind with the reference's saturating operators; finally the last value is
 *  halved (arithmetic shift). In-place operation (pSrcIsp == pDstIsf) is allowed.
 *  @param pSrcIsp in: len ISPs, Q15.
 *  @param pDstIsf out: len ISFs (0..16384 for 0..6400 Hz; the last one at half scale).
 *  @param len     in: number of values, at least 1 (16 in AMR-WB).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len < 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosISPToISF_Norm_AMRWB_16s(const Xvo16s* pSrcIsp, Xvo16s* pDstIsf, Xvo32s len);

/** AMR-WB+ low-band ISF decoder: xvosISFQuantDecode_AMRWB_16s with the 46-bit layout and a loss
 *  mask in place of the mode. On a good frame, bit 0 of the mask leaves out the stage-2 row of
 *  ISF 1-3, bit 1 of ISF 4-6, bit 2 of ISF 7-9, bit 3 of ISF 10-12 and bit 4 of ISF 13-16: those
 *  values keep their stage-1 row alone (the residual stored as memory is then that row). Higher bits
 *  are ignored. A bad frame (bfi non-zero) is concealed exactly as by the AMR-WB decoder.
 *  @param pSrcIdxs         in: 7 indices; bits above each codebook's size are ignored.
 *  @param pDstQntIsf       out: 16 quantised ISFs.
 *  @param pSrcDstResidual  in/out: 16 values, the past quantised residual.
 *  @param pSrcPrevQntIsf   in: 16 ISFs of the previous frame (read on a bad frame only).
 *  @param pSrcDstIsfMemory in/out: 3 x 16 ISF history, most recent first.
 *  @param bfi              in: non-zero for a bad frame.
 *  @param lossMask         in: the lost stage-2 splits, bits 0..4.
 *  @return xvoStsNullPtr when a pointer is null (indices, ISF, memory first; then previous ISF and
 *          history); else xvoStsOk. */
XVOSC_API XvoStatus xvosISFQuantDecode_AMRWBE_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstQntIsf, Xvo16s* pSrcDstResidual,
                                                 const Xvo16s* pSrcPrevQntIsf, Xvo16s* pSrcDstIsfMemory, Xvo32s bfi,
                                                 Xvo32s lossMask);

/** AMR-WB+ high-band ISF decoder (8 values, AR prediction factor 0.5). Good frame: ISF[i] =
 *  row1[i] + row2[i] + mean[i] + ((mem[i] 16384 + 16384) >> 15), each addition saturated, where
 *  row1 is row idx[0] of the 4 x 8 first codebook and row2 row idx[1] of the 128 x 8 second one
 *  (indices taken modulo 4 and 128). Bad frame: ISF[i] = ((mem[i] 29491 + 16384) >> 15) + mean[i],
 *  saturated. Then the first value is raised to at least 461 and values 2..7 to at least the previous
 *  + 461 (the 8th is left), and mem[i] = ISF[i] - mean[i], saturated.
 *  @param pSrcIdxs      in: 2 indices (read on a good frame only).
 *  @param pSrcDstMemory in/out: 8 values, the past quantised high-band ISFs minus the mean.
 *  @param pDstQntIsf    out: 8 high-band ISFs.
 *  @param bfi           in: non-zero for a bad frame.
 *  @param tableSet      in: 0 selects the low-rate mean and first codebook, non-zero the 12.8 kHz set.
 *  @return xvoStsNullPtr when a pointer is null (argument order); else xvoStsOk. */
XVOSC_API XvoStatus xvosISFQuantDecodeHighBand_AMRWBE_16s(const Xvo16s* pSrcIdxs, Xvo16s* pSrcDstMemory,
                                                         Xvo16s* pDstQntIsf, Xvo32s bfi, Xvo32s tableSet);

/** AMR-WB open-loop pitch search for one half frame (one frame at 6.6 kbit/s) of the weighted speech
 *  decimated to 6.4 kHz, with the updates the encoder makes after it, in this order:
 *  1. the correlation sum_j wsp[j] wsp[j-T] for T = 115 down to 18, weighted by the lag weighting
 *     table and, when the median lag is positive and the weighting flag set, by the table centred on
 *     the median lag; the lag of the largest (the shorter of equal ones) is the result;
 *  2. the normalised correlation at that lag of the 180 Hz high-passed signal (history and filter
 *     memory carried by the caller), the gain;
 *  3. if gain > 19661 (0.6): the lag enters the 5-lag history (newest first), the median lag becomes
 *     the median of the history and the adaptive weight 32767; otherwise the weight is multiplied by
 *     29491 (0.9); the weighting flag becomes 1 while the weight is at least 26214 (0.8), else 0;
 *  4. the tone register is shifted right once and bit 14 set when gain > 21298 (0.65).
 *  @param pSrcWgtSpch         in: 115 past samples then len current ones (decimated weighted speech).
 *  @param pDstLag             out: the open-loop lag at 6.4 kHz (the 12.8 kHz lag is twice it).
 *  @param pDstGain            out: the normalised correlation, Q15.
 *  @param pSrcDstMedianLag    in/out: the median of the reliable lags (0 before the first).
 *  @param pSrcDstLagHist      in/out: the last 5 reliable lags, newest first.
 *  @param pSrcDstAdaptWeight  in/out: the adaptive weight, Q15.
 *  @param pSrcDstWeightFlag   in/out: 1 while the weighting around the median lag is used.
 *  @param pSrcDstHpMem        in/out: 9 values of high-pass filter memory.
 *  @param pSrcDstHpWspHist    in/out: the last 115 high-passed samples.
 *  @param pSrcDstTone         in/out: the VAD's tone register.
 *  @param len                 in: 64 (half frame) or 128 (6.6 kbit/s whole frame).
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsSize when len is neither;
 *          xvoStsRange when the weighting is on and the median lag is outside 15..116 (the weighting
 *          table would be read outside); else xvoStsOk. A failing call writes nothing. */
XVOSC_API XvoStatus xvosOpenLoopPitchSearch_AMRWB_16s(const Xvo16s* pSrcWgtSpch, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                     Xvo16s* pSrcDstMedianLag, Xvo16s* pSrcDstLagHist,
                                                     Xvo16s* pSrcDstAdaptWeight, Xvo16s* pSrcDstWeightFlag,
                                                     Xvo16s* pSrcDstHpMem, Xvo16s* pSrcDstHpWspHist, Xvo16s* pSrcDstTone,
                                                     Xvo32s len);

/** AMR-WB+ open-loop pitch search: steps 1-3 of xvosOpenLoopPitchSearch_AMRWB_16s (no tone register)
 *  over lags maxLag down to minLag + 1, for the lag range of the AMR-WB+ internal sampling rate
 *  (at 12.8 kHz: minLag 18, maxLag 115).
 *  @param pSrcWgtSpch         in: maxLag past samples then len current ones.
 *  @param pDstLag             out: the open-loop lag (decimated rate).
 *  @param pDstGain            out: the normalised correlation, Q15.
 *  @param pSrcDstMedianLag    in/out: as for AMR-WB.
 *  @param pSrcDstLagHist      in/out: 5 lags, newest first.
 *  @param pSrcDstAdaptWeight  in/out: the adaptive weight, Q15.
 *  @param pSrcDstWeightFlag   in/out: the weighting flag.
 *  @param pSrcDstHpMem        in/out: 9 values of high-pass filter memory.
 *  @param pSrcDstHpWspHist    in/out: the last maxLag high-passed samples.
 *  @param minLag              in: the lag below the shortest searched, at least 1.
 *  @param maxLag              in: the longest lag searched, minLag < maxLag <= 256, maxLag - minLag <= 198.
 *  @param len                 in: current samples, 1..256.
 *  @return xvoStsNullPtr when a pointer is null (argument order); xvoStsSize when len is outside
 *          1..256; xvoStsRange when the lag range is not accepted, or the weighting is on and the
 *          median lag is outside maxLag - 100 .. minLag + 99; else xvoStsOk. A failing call writes
 *          nothing. */
XVOSC_API XvoStatus xvosOpenLoopPitchSearch_AMRWBE_16s(const Xvo16s* pSrcWgtSpch, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                      Xvo16s* pSrcDstMedianLag, Xvo16s* pSrcDstLagHist,
                                                      Xvo16s* pSrcDstAdaptWeight, Xvo16s* pSrcDstWeightFlag,
                                                      Xvo16s* pSrcDstHpMem, Xvo16s* pSrcDstHpWspHist, Xvo32s minLag,
                                                      Xvo32s maxLag, Xvo32s len);
/* @section amrwb:end */

/* ======================================================================== */
/* AMR-WB voice activity detection                                        */
/* ======================================================================== */
/* @section amrwb_vad:begin */
/*
 * AMR-WB voice activity detector (3GPP TS 26.173 wb_vad), one 256-sample frame at 12.8 kHz per
 * call. The state record is opaque: query its size (172 bytes) with xvosVADGetSize_AMRWB_16s,
 * provide that many bytes (2-byte alignment suffices; the record holds one 32-bit field at byte
 * 144, so 4-byte alignment is best) and set it up with xvosVADInit_AMRWB_16s. Its layout is fixed
 * so that a state captured elsewhere can be loaded byte for byte: 16-bit fields unless stated,
 * in this order: background-noise estimate (12, initially 150), averaged levels (12, 150),
 * previous frame's levels (12, 150), tail levels (12, 0), filter memories (16: five 5th-order
 * filters of 2 values, then six 3rd-order filters, 0), decision register, burst count, hangover
 * count, stationarity count, speech-estimation frame count, maximum-search count, current maximum
 * (all 0), speech level estimate (2050), previous frame power (32-bit, 0), and the 12 band levels
 * of the last frame (0).
 */
typedef struct XvoVADState_AMRWB XvoVADState_AMRWB;

/** Size of the AMR-WB VAD record.
 *  @param pDstSize out: 172.
 *  @return xvoStsNullPtr when pDstSize is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosVADGetSize_AMRWB_16s(Xvo32s* pDstSize);

/** Sets every field of the record to its initial value (see the layout above).
 *  @param pState out: the record (172 bytes).
 *  @return xvoStsNullPtr when pState is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosVADInit_AMRWB_16s(XvoVADState_AMRWB* pState);

/** Decides whether one frame holds speech:
 *  1. frame power P = 2 sum x^2 (saturated); the decision uses P plus the previous frame's power
 *     (saturated), and P is kept for the next frame; when that two-frame power is below 686080 the
 *     tone register keeps only its low 13 bits (mask 0x1FFF);
 *  2. the 12-band filter bank (5th- and 3rd-order half-band pairs on the input halved) gives the
 *     band levels; the squared per-band SNRs against the noise estimate are summed and compared
 *     with a threshold set by the noise level and corrected by the speech level; the result enters
 *     bit 14 of the decision register;
 *  3. the stationarity count (reset to 20 when the tone register's bits 10-14 are all set) and
 *     the background-noise update (12 bands, ceiling 20000) follow; hangover and burst lengths
 *     follow the threshold; a two-frame power below 30000 gives 0 and clears the counters;
 *  4. the speech level estimate: level = (sum of bands 2-12 << 12) >> 16; after 25 frames whose
 *     level exceeds 129 and the estimate (or that the register marks active) within 80 frames,
 *     the estimate moves 0.15 of the way to half their maximum when that half exceeds 410.
 *  @param pSrcSpch  in: 256 samples (the encoder's scaled input frame).
 *  @param pState    in/out: the record.
 *  @param pToneFlag in/out: the tone register (bit 14 set by the open-loop pitch search for a
 *                   strongly periodic half frame, shifted there).
 *  @param pVadFlag  out: 1 for speech, 0 for noise.
 *  @return xvoStsNullPtr when speech or state is null, then when the tone or flag pointer is null;
 *          else xvoStsOk. */
XVOSC_API XvoStatus xvosVAD_AMRWB_16s(const Xvo16s* pSrcSpch, XvoVADState_AMRWB* pState, Xvo16s* pToneFlag,
                                     Xvo16s* pVadFlag);

/** The 12 band levels of the last frame (0 after Init), lowest band first.
 *  @param pState          in: the record.
 *  @param pDstEnergyLevel out: 12 levels.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosVADGetEnergyLevel_AMRWB_16s(const XvoVADState_AMRWB* pState, Xvo16s* pDstEnergyLevel);
/* @section amrwb_vad:end */

/* ======================================================================== */
/* AMR-WB+ band split, join, resampling and low-band post-filter          */
/* ======================================================================== */
/* @section amrwbe:begin */
/*
 * AMR-WB+ (3GPP TS 26.290) band split and join around the 2 kHz low band of the stereo coder, the
 * decoder's join and upsampling to 48 or 44.1 kHz, TCX gain decoding and segmental SNR. These
 * functions keep no state: every filter history lives in caller buffers passed on each call.
 *
 * Low-band buffer: 16-bit samples at 5/32 of the full rate; its first 20 entries are history (the
 * last 20 low-band samples of the previous frame, which the caller moves there between frames),
 * the current samples follow. Output j of the 5/32 interpolation sits at position 5j in 32nds of
 * a low-band sample and weighs the 20 buffer entries from (5j >> 5) + 1 with phase (5j) mod 32 of
 * the Q14 interpolation filter. Every Q14 dot product of this group gives (sum + 8192) >> 14,
 * with sums from 0x1FFFE000 on clamped to 32767; below that the low 16 bits are kept (large
 * negative sums wrap rather than clamp).
 */

/** Splits a full-rate frame into its decimated low band and the full-rate residual:
 *  1. decimation by 32/5 into pSrcDstLowBand[20 ...]: (len / 32) * 5 outputs; the 128-tap
 *     polyphase filter (5 phases) starts at phase 0 reading pSrc from pSrc[1]; after each output
 *     a phase below 4 moves on by 2 and the read position by 6 samples, otherwise the phase drops
 *     by 3 and the position moves by 7 (phase 5 reads as phase 0 one sample later);
 *  2. the 5/32 interpolation of the low-band buffer back to len samples (see above);
 *  3. pDstHighBand[j] = pSrc[j] - interpolation[j], saturated.
 *  @param pSrc           in: pSrc[0 .. 32 (len / 32) + 121] (the frame and the decimator's
 *                        look-ahead; len + 122 samples always suffice).
 *  @param pSrcDstLowBand in/out: 20 history samples (in), then (len / 32) * 5 decimated samples
 *                        (out); the interpolation reads entries up to ((5 (len - 1)) >> 5) + 20,
 *                        beyond the written ones when len is not a multiple of 32.
 *  @param pDstHighBand   out: len samples; may be pSrc itself.
 *  @param len            in: full-rate samples, 1 or more (1024 for the codec's frame).
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len is below 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosBandSplit_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pSrcDstLowBand, Xvo16s* pDstHighBand,
                                            Xvo32s len);

/** Joins a low band and a full-rate high band: pDst[j] = pSrcHighBand[j] + the 5/32 interpolation
 *  of the low-band buffer (saturated). With the buffer and residual of xvosBandSplit_AMRWBE_16s
 *  this gives back its input wherever nothing saturated.
 *  @param pSrcLowBand  in: 20 history samples, then the low band; entries up to
 *                      ((5 (len - 1)) >> 5) + 20 are read.
 *  @param pSrcHighBand in: len samples.
 *  @param pDst         out: len samples; may be pSrcHighBand.
 *  @param len          in: full-rate samples, 1 or more.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len is below 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosBandJoin_AMRWBE_16s(const Xvo16s* pSrcLowBand, const Xvo16s* pSrcHighBand, Xvo16s* pDst,
                                           Xvo32s len);

/** Joins the decoder's 12.8 kHz low and high bands and resamples the result to 48 or 44.1 kHz:
 *  1. the 25.6 kHz signal: even samples (LF + HF) twelve samples back, odd samples the 24-tap
 *     half-band interpolation of LF - HF (both LF*32767/32768 -+ HF/2, rounded, saturated);
 *  2. polyphase resampling by facUp / (8 downFactor), facUp = 1440 (48 kHz) or 1323 (44.1 kHz),
 *     with 12 taps per side per phase; the phase position (0 .. facUp - 1) carries over from
 *     call to call; the output count is ceil((2 len facUp - phase) / (8 downFactor)), which is
 *     3840 or 3528 for a 1024-sample frame at downFactor 96.
 *  @param pSrcLowBand     in: 24 history samples (the last 24 of the previous call), then len
 *                         new 12.8 kHz low-band samples.
 *  @param pSrcHighBand    in: the same for the high band.
 *  @param len             in: new samples per band, 1..1024.
 *  @param pDst            out: *pDstCount samples, at most ceil(2 len facUp / (8 downFactor))
 *                         (7680 for len 1024 at 48 kHz and downFactor 48).
 *  @param dstLen          in: 3840 selects 48 kHz, 3528 selects 44.1 kHz.
 *  @param pSrcDstHistory  in/out: 24 samples of the 25.6 kHz signal (zeros at the start).
 *  @param pSrcDstPhase    in/out: the phase position, 0 .. facUp - 1 (0 at the start).
 *  @param pDstCount       out: the number of samples written.
 *  @param downFactor      in: the internal sampling-rate factor, 48..164 (96 = 25.6 kHz).
 *  @return xvoStsNullPtr when a band pointer or pDst is null, then when the history, phase or
 *          count pointer is null; xvoStsSize when dstLen or len is below 1, len is above 1024 or
 *          dstLen is neither 3840 nor 3528; xvoStsRange when downFactor is outside 48..164 or the
 *          phase outside 0 .. facUp - 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosBandJoinUpsample_AMRWBE_16s(const Xvo16s* pSrcLowBand, const Xvo16s* pSrcHighBand, Xvo32s len,
                                                   Xvo16s* pDst, Xvo32s dstLen, Xvo16s* pSrcDstHistory,
                                                   Xvo16s* pSrcDstPhase, Xvo32s* pDstCount, Xvo16s downFactor);

/** TCX gain decoding (TS 26.290 D_gain_tcx): from the rms of the decoded spectrum, energy summed
 *  in blocks of 16 ((y >> 2)^2 scaled by 2^-5 per block, saturating),
 *  - good frame: gain = 10^(index / 28) / (4 rms), Q16; the rms of gain * spectrum is stored;
 *  - bad frame: the stored rms decays by 0.7 (at least 1) and gain = stored rms / rms.
 *  @param pSrcSpectrum in: len decoded spectral values (a last short block when len is not a
 *                      multiple of 16 sums only its own values).
 *  @param len          in: 1 or more (288, 576 or 1152 in the codec).
 *  @param index        in: the 7-bit gain index, 0..127.
 *  @param badFrame     in: 0 for a good frame, 1 for a lost one.
 *  @param pSrcDstRms   in/out: the rms of the last decoded excitation, Q0 (read on a bad frame).
 *  @param pDstGain     out: the gain, Q16.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len is below 1; xvoStsRange when
 *          index is outside 0..127 or badFrame is not 0 or 1; else xvoStsOk. */
XVOSC_API XvoStatus xvosGainDecodeTCX_AMRWBE_16s(const Xvo16s* pSrcSpectrum, Xvo32s len, Xvo32s index, Xvo32s badFrame,
                                                Xvo16s* pSrcDstRms, Xvo32s* pDstGain);

/** Segmental SNR: for each segment, signal energy 1 + sum 2 (x >> 3)^2 and error energy
 *  1 + sum 2 r^2 with r = ((x - y) 8192 + 32768) >> 16 (saturating 32-bit sums); the difference
 *  of their base-2 logarithms times 12330 (10 log10 2, Q12) is summed over the segments and
 *  averaged: SNR = sum * segLen / len, in dB Q8, floored at -25348 (-99 dB).
 *  @param pSrcSignal   in: len samples.
 *  @param pSrcEstimate in: len samples.
 *  @param len          in: total samples, 1 or more.
 *  @param segLen       in: segment length, 1 or more, dividing len.
 *  @param pDstSNR      out: the mean segmental SNR, dB Q8.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len or segLen is below 1 or len
 *          is not a multiple of segLen; else xvoStsOk. */
XVOSC_API XvoStatus xvosSNR_AMRWBE_16s(const Xvo16s* pSrcSignal, const Xvo16s* pSrcEstimate, Xvo32s len,
                                      Xvo32s segLen, Xvo16s* pDstSNR);
/** Decimates 44.1 or 48 kHz input to 25.6 kHz and splits it into two 12.8 kHz bands (TS 26.290
 *  Decim_split_12k8), the encoder's first step:
 *  1. polyphase decimation by (8 facFs) / facDown, facDown = 1440 (48 kHz) or 1323 (44.1 kHz),
 *     with the 48 / 44.1 kHz filters of xvosBandJoinUpsample_AMRWBE_16s read every facFs-th tap
 *     (about 18720 / (8 facFs) or 17199 / (8 facFs) taps per side), scaled by facFs / 180 (so the
 *     44.1 kHz path has a level of 165/180, -0.76 dB, as in the codec); the phase
 *     position carries over in *pSrcDstFrac, and the filter reads the oldest end of a 1560-sample
 *     input history (the codec's alignment delay);
 *  2. the 25.6 kHz signal, 24 samples late, through the 24-tap half-band low pass: low band =
 *     its even samples filtered (rounded), high band = the even samples minus the low band.
 *  @param pSrc          in: *pDstConsumed new input samples, at most
 *                       ceil((2 len facDown + frac) / (8 facFs)) (7680 for len 1024 at facFs 48).
 *  @param pDstLowBand   out: len samples at 12.8 kHz (times facFs / 96).
 *  @param pDstHighBand  out: len samples.
 *  @param len           in: band samples per call, 1..1024 (1024 = 80 ms at facFs 96).
 *  @param srcRate       in: 48000 or 44100.
 *  @param facFs         in: internal sampling-rate factor, 48..164 (96 = 12.8 kHz bands).
 *  @param pSrcDstMem    in/out: 1608 samples: 48 of the 25.6 kHz signal, then 1560 of input (zeros
 *                       at the start of a stream).
 *  @param pSrcDstFrac   in/out: phase position, 0 .. 8 facFs - 1 (0 at the start).
 *  @param pDstConsumed  out: input samples consumed.
 *  @return xvoStsNullPtr when a signal pointer is null, then when pSrcDstMem, pSrcDstFrac or
 *          pDstConsumed is null; xvoStsSize when len is outside 1..1024; xvoStsRange when srcRate
 *          is neither rate, facFs is outside 48..164 or the phase outside its range; else xvoStsOk. */
XVOSC_API XvoStatus xvosBandSplitDownsample_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pDstLowBand, Xvo16s* pDstHighBand,
                                                      Xvo32s len, Xvo32s srcRate, Xvo16s facFs, Xvo16s* pSrcDstMem,
                                                      Xvo16s* pSrcDstFrac, Xvo32s* pDstConsumed);

/** Polyphase conversion between 44.1 / 48 kHz and factor / 12 of that rate (TS 26.290 Decim_fs
 *  and Over_fs), with a 12-phase low pass of 12 taps per side (Q14). The phase position
 *  carries over in *pSrcDstFrac: interpolating, a stream may be cut into calls anywhere;
 *  decimating, the position restarts at the start of each call's input, so the stream stays
 *  continuous when len factor is a multiple of 12 (as with the codec's 20 ms frames).
 *  - direction 0 (decimate): len input samples at 44.1 / 48 kHz; the output count follows the
 *    phase (about len factor / 12) and is returned in *pDstCount; the filter is read every
 *    factor-th tap, 144 / factor taps per side, and the result scaled by factor / 12; 144 input
 *    samples of history.
 *  - direction 1 (interpolate): len output samples at 44.1 / 48 kHz; the input samples consumed
 *    (about len factor / 12) are returned in *pDstCount; 24 input samples of history.
 *  Factor 12 copies len samples unchanged and leaves the history and phase alone.
 *  @param pSrc          in: len samples (decimate) or *pDstCount samples (interpolate, at most
 *                       ceil((len factor + frac) / 12)).
 *  @param pDst          out: *pDstCount samples (decimate) or len samples (interpolate).
 *  @param len           in: 1..7680.
 *  @param direction     in: 0 decimate, 1 interpolate.
 *  @param factor        in: 2..12 for decimating except 7 (7/12 is not representable in the
 *                       scaling division), 1..12 for interpolating.
 *  @param pSrcDstMem    in/out: 144 (decimate) or 24 (interpolate) samples of input history.
 *  @param pSrcDstFrac   in/out: phase position in 1/factor input samples when decimating
 *                       (0 .. factor - 1), in 1/12 when interpolating (0..11); 0 at the start.
 *  @param pDstCount     out: the output count (decimate) or the input count (interpolate).
 *  @return xvoStsNullPtr when pSrc or pDst is null, then when pSrcDstMem, pSrcDstFrac or pDstCount
 *          is null; xvoStsSize when len is outside 1..7680; xvoStsRange when direction, factor or
 *          the phase is out of range; else xvoStsOk. */
XVOSC_API XvoStatus xvosResamplePolyphase_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s len, Xvo32s direction,
                                                    Xvo16s factor, Xvo16s* pSrcDstMem, Xvo16s* pSrcDstFrac,
                                                    Xvo32s* pDstCount);

/** Memory of the decoder's low-band post-filter, owned by the caller. Set up with
 *  xvosPostFilterLowBandInit_AMRWBE_16s (all zero, both lags 64). */
typedef struct XvoPostFilterLowBandState_AMRWBE {
    Xvo16s synth[503];  /**< the last 375 + 128 synthesis samples (375 + 64 used when not adjusting) */
    Xvo16s noise[24];   /**< the last 24 harmonic-noise samples, at the previous frame's scale */
    Xvo16s lag[2];      /**< lags of the previous frame's last subframes, 1..375 */
    Xvo16s gain[2];     /**< their pitch gains, Q14 */
    Xvo16s scale;       /**< the previous frame's 12-bit scaling shift, -3..12 */
    Xvo16s reserved;    /**< keeps the record a multiple of 4 bytes; not read */
} XvoPostFilterLowBandState_AMRWBE;

/** Sets up a post-filter memory: all zero, both lags 64.
 *  @return xvoStsNullPtr when pState is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosPostFilterLowBandInit_AMRWBE_16s(XvoPostFilterLowBandState_AMRWBE* pState);

/** The decoder's low-band (bass) post-filter over one 1024-sample frame of 12.8 kHz synthesis
 *  (TS 26.290 Bass_postfilter). Per 64-sample subframe with lag T and gain g (0..1 in Q14): T is
 *  halved when the synthesis correlates with itself at T/2 by more than 0.95; g is limited to
 *  sqrt(energy now / energy one lag later); the noise g (x[n] - x[n-T]/2 - x[n+T]/2) (or
 *  g (x[n] - x[n-T]) where n + T passes the available synthesis) is low-pass filtered (25 taps) and
 *  subtracted from the delayed synthesis. The frame is scaled to 12 significant bits
 *  for this, and the noise history follows the scale from frame to frame.
 *  @param pSrc        in: 1024 samples of synthesis.
 *  @param pSrcLag     in: 16 pitch lags, one per subframe, 1..375.
 *  @param pSrcGain    in: 16 pitch gains, Q14 (limited to 0..16384).
 *  @param pDst        out: 1024 samples, the synthesis 76 samples (pitchAdjust 0) or 140 samples
 *                     (pitchAdjust 1) late, filtered; may be pSrc.
 *  @param pitchAdjust in: 0: subframe k uses the lag and gain of subframe k - 1 (the previous
 *                     frame's last for k = 0); 1: the filter runs one more subframe late and
 *                     subframe k uses those of k - 2.
 *  @param pState      in/out: the filter memory.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange when pitchAdjust is not 0 or 1;
 *          xvoStsBadCodecParam when a lag of pSrcLag or of the memory is outside 1..375 or the
 *          memory's scale outside -3..12; else xvoStsOk. */
XVOSC_API XvoStatus xvosPostFilterLowBand_AMRWBE_16s(const Xvo16s* pSrc, const Xvo16s* pSrcLag, const Xvo16s* pSrcGain,
                                                    Xvo16s* pDst, Xvo32s pitchAdjust,
                                                    XvoPostFilterLowBandState_AMRWBE* pState);

/** FIR filter of the stereo coder's mid band (TS 26.290 Fir_filt): y[n] = sum over j < order of
 *  a[j] x[n - j], a in Q14, each product doubled and accumulated with saturation, result
 *  round(sum << 2) (unit gain for Q14 taps).
 *  @param pSrc     in: order - 1 history samples, then len samples.
 *  @param pDst     out: len samples; must not overlap pSrc.
 *  @param len      in: 1 or more.
 *  @param pSrcCoef in: order taps, Q14 (the codec uses order 9).
 *  @param order    in: 1..64.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsSize when len or order is below 1 or order
 *          is above 64; else xvoStsOk. */
XVOSC_API XvoStatus xvosFIRGenMidBand_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s len, const Xvo16s* pSrcCoef,
                                                Xvo32s order);
/* @section amrwbe:end */

/* ======================================================================== */
/* Voice-quality enhancement: noise suppressor and level control            */
/* ======================================================================== */
/* @section vqe:begin */
/*
 * Voice-quality pair a gateway puts in front of an encoder.
 *
 * Noise suppressor (echo-canceller toolkit, single precision): blocks of
 * exactly 16 samples on the 16-bit PCM scale held as floats, at 8000, 16000,
 * 22050 or 32000 Hz. A 128-point spectral analysis of the newest input, a
 * per-bin gain against a noise estimate that the caller (analysisControl 1)
 * or the built-in stationarity detector refreshes, windowed overlap-add
 * synthesis, an output delay line with optional smoothing, and a soft start.
 * Strength: level 0 (off) to 5; output smoothing: mode -1 (adaptive), 0
 * (17-tap), 1 (none, the default). The state holds every buffer (its FFT
 * record included) and must stay at the address Init saw; nothing is
 * allocated after Init.
 *
 * Level controller (G.169 style, single precision inside): 16-bit samples in
 * blocks of 8; tracks noise, speech and peak levels and moves a gain towards
 * the one that brings the speech to the target level, never above the
 * maximum gain, never letting a block's peak pass the peak limit.
 */

/** Opaque noise-suppressor state (caller memory, size from xvosFilterNoiseGetStateSize_EC_32f). */
typedef struct XvoFilterNoiseState_EC_32f XvoFilterNoiseState_EC_32f;

/** Size of a noise-suppressor state for one sampling rate.
 *  The size is align32(FFT record) + align32(FFT work area) + align32(4 x history length) + 4960
 *  bytes, where the history length is rate*1024/8000 samples: 10944, 15040, 18144 and 23232 bytes
 *  for the four rates.
 *  @param rate  in: XVO_PCM_FREQ_8000, _16000, _22050 or _32000.
 *  @param pSize out: bytes the caller must provide.
 *  @return xvoStsNullPtr when pSize is null; xvoStsSize when rate is not one of the four
 *          (note: xvoStsSize here, xvoStsRange in Init); else xvoStsOk. */
XVOSC_API XvoStatus xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency rate, int* pSize);

/** Initialises a noise-suppressor state: lays out its buffers (each 32-byte aligned) and the
 *  order-7 FFT record inside the block, builds the smoothing filters, selects level 5 and
 *  mode 1, and arms the 400-sample start-up attenuation and the ramp countdown.
 *  @param rate   in: XVO_PCM_FREQ_8000, _16000, _22050 or _32000.
 *  @param pState out: memory of the size given by xvosFilterNoiseGetStateSize_EC_32f; any
 *                alignment. The state holds pointers into itself: do not move or copy it.
 *  @return xvoStsNullPtr when pState is null; xvoStsRange when rate is not one of the four
 *          (the memory is then untouched); else xvoStsOk. */
XVOSC_API XvoStatus xvosFilterNoiseInit_EC_32f(XvoPCMFrequency rate, XvoFilterNoiseState_EC_32f* pState);

/** Selects the suppression level: 0 turns suppression (and the synthesis path) off, 1..5 set
 *  the gain rule, gain floors, synthesis window, soft-start gains and, at level 3, a block
 *  attenuation of residual noise. Before the first block the ramp countdown is re-armed.
 *  @param level  in: 0..5.
 *  @param pState in/out: an initialised state.
 *  @return xvoStsNullPtr when pState is null; xvoStsRange when level is above 5 or negative.
 *          Deliberate exception to the no-write rule: a rejected level is still stored, and
 *          the next blocks run with the previous level's parameters under that value (no
 *          level-specific stage is selected); set a valid level afterwards. */
XVOSC_API XvoStatus xvosFilterNoiseLevel_EC_32f(int level, XvoFilterNoiseState_EC_32f* pState);

/** Selects the output smoothing: 1 copies the delayed output unchanged, 0 smooths it with a
 *  17-tap filter, -1 smooths with a width that follows the recent suppression depth.
 *  @param mode   in: -1, 0 or 1.
 *  @param pState in/out: an initialised state.
 *  @return xvoStsNullPtr when pState is null; xvoStsBadArg for any other mode (the mode is
 *          then unchanged); else xvoStsOk. */
XVOSC_API XvoStatus xvosFilterNoiseSetMode_EC_32f(int mode, XvoFilterNoiseState_EC_32f* pState);

/** Suppresses noise in one block of 16 samples (out of place).
 *  The output lags the input by 56 samples once the filter runs (48 of synthesis, 8 of the
 *  output delay line). At level 0 nothing is synthesised and pDst is NOT written from pSrc:
 *  the soft-start stages scale whatever pDst already holds (use the in-place variant to pass
 *  the signal through at level 0).
 *  @param pSrc            in: 16 samples, 16-bit PCM scale (finite values).
 *  @param pDst            out: 16 samples; must not overlap pSrc (use the _I variant).
 *  @param analysisControl in: 1 analyse and take this block's spectrum as the noise estimate;
 *                         -1 skip the analysis (the history is not updated); any other
 *                         value analyse without touching the noise estimate.
 *  @param pState          in/out: an initialised state.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFilterNoise_EC_32f(const Xvo32f* pSrc, Xvo32f* pDst, int analysisControl,
                                          XvoFilterNoiseState_EC_32f* pState);

/** In-place twin of xvosFilterNoise_EC_32f; at level 0 the samples themselves pass through
 *  the soft-start stages.
 *  @param pSrcDst         in/out: 16 samples.
 *  @param analysisControl in: as for xvosFilterNoise_EC_32f.
 *  @param pState          in/out: an initialised state.
 *  @return xvoStsNullPtr when a pointer is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFilterNoise_EC_32f_I(Xvo32f* pSrcDst, int analysisControl, XvoFilterNoiseState_EC_32f* pState);

/** Feeds 16 samples to the state's history and runs the stationarity (tone or steady noise)
 *  detector. A confirmation (three consecutive stable candidates) ends the start-up
 *  attenuation, marks the signal stationary, stores its energy as the reference and takes
 *  the current spectrum as the noise estimate.
 *  @param pSrc       in: 16 samples, 16-bit PCM scale.
 *  @param pEnergy    out: energy (mean square) of the newest 16 x (rate*3/8000) samples, the
 *                    candidate compared against the previous one; 0 until rate*128/8000 samples are held.
 *  @param pStatistic out, optional (may be null): the smoothed detection statistic, 0..1
 *                    (1 = fully stationary), updated at each confirmation.
 *  @param pDetected  out: 1 when this call confirmed a stationary signal, else 0.
 *  @param pState     in/out: an initialised state.
 *  @return xvoStsNullPtr when pSrc, pEnergy, pDetected or pState is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosFilterNoiseDetect_EC_32f64f(const Xvo32f* pSrc, Xvo64f* pEnergy, Xvo32f* pStatistic,
                                                   int* pDetected, XvoFilterNoiseState_EC_32f* pState);

/** Opaque level-controller state, 124 bytes (caller memory). */
typedef struct XvoALCState_G169_16s XvoALCState_G169_16s;

/** Size of a level-controller state.
 *  @param pSize out: 124.
 *  @return xvoStsNullPtr when pSize is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosALCGetStateSize_G169_16s(int* pSize);

/** Initialises a level controller: target 1623.4912 (about 26.1 dB below full scale), peak
 *  limit 32767, maximum gain 3.8018899 (11.6 dB), starting gain 1/32.
 *  @param pState out: 124 bytes of caller memory.
 *  @return xvoStsNullPtr when pState is null; else xvoStsOk. */
XVOSC_API XvoStatus xvosALCInit_G169_16s(XvoALCState_G169_16s* pState);

/** Sets the maximum gain.
 *  @param maxGainDB in: maximum gain in dB, 0 or more (stored as 10^(maxGainDB/20)).
 *  @param pState    in/out: an initialised state.
 *  @return xvoStsNullPtr when pState is null; xvoStsRange when maxGainDB < 0 (nothing is
 *          stored); else xvoStsOk. */
XVOSC_API XvoStatus xvosALCSetGain_G169_16s(Xvo32f maxGainDB, XvoALCState_G169_16s* pState);

/** Sets the target speech level and the peak limit, both in dB below full scale (32768).
 *  @param targetDB in: target level, 0 or more (amplitude 32768 / 10^(targetDB/20)).
 *  @param peakDB   in: peak limit, 0 or more (amplitude 32768 / 10^(peakDB/20)).
 *  @param pState   in/out: an initialised state.
 *  @return xvoStsNullPtr when pState is null; xvoStsRange when either value is below 0
 *          (nothing is stored); else xvoStsOk. */
XVOSC_API XvoStatus xvosALCSetLevel_G169_16s(Xvo32f targetDB, Xvo32f peakDB, XvoALCState_G169_16s* pState);

/** Applies automatic level control to len samples, block by block (8 samples each).
 *  @param pSrc   in: len 16-bit samples.
 *  @param pDst   out: len samples, gain applied, limited to 16 bits and truncated towards
 *                zero; may equal pSrc (in place).
 *  @param len    in: a positive multiple of 8.
 *  @param pState in/out: an initialised state.
 *  @return xvoStsNullPtr when a pointer is null; xvoStsRange (not xvoStsSize) when len is
 *          below 8 or not a multiple of 8; else xvoStsOk. */
XVOSC_API XvoStatus xvosALC_G169_16s(const Xvo16s* pSrc, Xvo16s* pDst, int len, XvoALCState_G169_16s* pState);
/* @section vqe:end */

#ifdef __cplusplus
}
#endif

#endif /* XVOSC_H */
