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
    XVO_BITRATE_DTX   = 25  /**< silence descriptor frames */
} XvoSpeechRate;

/** Companding law of a decoder's output. */
typedef enum {
    XVO_PCM_MULAW  = 0,  /**< G.711 mu-law bytes */
    XVO_PCM_ALAW   = 1,  /**< G.711 A-law bytes */
    XVO_PCM_LINEAR = 2   /**< 14-bit uniform PCM */
} XvoPCMLaw;

/** Sampling frequencies accepted by the voice-quality kernels, in Hz. */
typedef enum {
    XVO_PCM_FREQ_8000  = 8000,
    XVO_PCM_FREQ_16000 = 16000,
    XVO_PCM_FREQ_22050 = 22050,
    XVO_PCM_FREQ_32000 = 32000
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
/* @section generic:end */

/* ======================================================================== */
/* G.726 ADPCM codec                                                        */
/* ======================================================================== */
/* @section g726:begin */
/* @section g726:end */

/* ======================================================================== */
/* G.729 line-spectral parameters                                           */
/* ======================================================================== */
/* @section g729lsp:begin */
/* @section g729lsp:end */

/* ======================================================================== */
/* G.729 codebook searches, gains, post-processing, Annex B                 */
/* ======================================================================== */
/* @section g729exc:begin */
/* @section g729exc:end */

/* ======================================================================== */
/* Voice-quality enhancement: noise suppressor and level control            */
/* ======================================================================== */
/* @section vqe:begin */
/* @section vqe:end */

#ifdef __cplusplus
}
#endif

#endif /* XVOSC_H */
