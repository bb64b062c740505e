// Spectral noise suppressor of the echo-canceller toolkit (single precision).
//
// One call takes a block of 16 samples (16-bit PCM scale, as floats) at 8000,
// 16000, 22050 or 32000 Hz:
//   analysis    the newest 128 input samples -> order-7 real FFT -> 65-bin
//               power spectrum; a noise-update block (analysisControl 1, or a
//               confirmation of the stationarity detector) takes that power
//               spectrum as the noise estimate N and its reciprocal;
//   suppression per bin a-posteriori ratio P/N, averaged with its previous
//               value, times the level's weight gives a linear gain, bounded
//               below by the level's floors and above by 1;
//   synthesis   inverse FFT of the weighted spectrum, the newest 64 samples
//               windowed (sin^2 window, hop 16) and overlap-added;
//   output      a two-block delay line read 8 samples in (optionally through
//               a symmetric smoothing filter), then the soft-start stages and,
//               at level 3, an attenuation of blocks that carry little more
//               than residual noise.
// The output lags the input by 56 samples.
//
// The state lives in the caller's block: the fixed fields, then the input
// history, the order-7 FFT record and the FFT work area, every buffer on a
// 32-byte boundary (the block is used from its first 32-byte boundary on, so
// the state must not be moved after Init).
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/fixed.h"
#include "vqe/fft.h"
#include "vqe/noise_filter.h"

namespace xvo {
namespace {
constexpr int kOrder = 7;  // 128-point analysis
constexpr int kFftFlag = XVO_FFT_DIV_INV_BY_N;

constexpr size_t ownAlign32(size_t n) { return (n + 31) & ~size_t(31); }
}  // namespace
}  // namespace xvo

namespace xvo {
namespace {

using State = XvoFilterNoiseState_EC_32f;

// ---------------------------------------------------------------------------
// Tables
// ---------------------------------------------------------------------------

// Synthesis window B, first half (the window is symmetric, 64 points, zero at
// both ends), Q15: the sin^2 curve 0.5 * sin^2(pi n / 63.05) truncated to
// Q15, whose hop-16 overlap-add sums to 0.98..0.99. Window A is 4/3 of it
// (peak 0.666178), an overlap-add gain of about 1.31 (+2.4 dB) for the levels
// that use it.
constexpr Xvo16s kWindowBHalfQ15[32] = {
    0,    40,   162,  362,  642,   996,   1421,  1913,  2468,  3079,  3742,  4448,  5191,  5965,  6760,  7570,
    8385, 9199, 10003, 10789, 11549, 12276, 12962, 13601, 14186, 14712, 15173, 15565, 15883, 16126, 16289, 16372};

struct Windows {
    Xvo32f a[kOla], b[kOla];
};
constexpr Windows ownMakeWindows() {
    Windows w{};
    for (int n = 0; n < 32; ++n) {
        const double q = kWindowBHalfQ15[n];
        w.b[n] = w.b[kOla - 1 - n] = static_cast<Xvo32f>(q / 32768.0);
        w.a[n] = w.a[kOla - 1 - n] = static_cast<Xvo32f>(q * 4.0 / 3.0 / 32768.0);
    }
    return w;
}
constexpr Windows kWindows = ownMakeWindows();

// Level parameters. The energy weights are the complements of the poles
// formed in single precision (1 - 0.998f = 0x3B031200, 1 - 0.991f =
// 0x3C1374C0, 1 - 0.981f = 0x3C9BA5E0), one unit in the last place or a few
// below the floats nearest to 0.002, 0.009 and 0.019; the poles are the
// nearest floats (0.998 = 0x3F7F7CEE, 0.991 = 0x3F7DB22D, 0.981 = 0x3F7B22D1).
struct LevelParams {
    Xvo32f weight, lowFloor, highFloor, blockAtt, pole, energyWeight, startAtt, rampAtt, rampGain;
    Xvo32s rampDivisor;  // ramp countdown = rate / divisor
};
constexpr Xvo32f kPole1 = 0.998f, kPole2 = 0.991f, kPole3 = 0.981f;
constexpr LevelParams kLevels[6] = {
    {},  // level 0 only switches the suppression off
    {0.03125f, 0.25f, 0.4f, 0.08f, kPole1, 1.0f - kPole1, 0.02f, 0.04f, 0.06f, 40},
    {0.03125f, 0.003f, 0.275f, 1.0f, kPole2, 1.0f - kPole2, 0.5f, 0.2f, 0.3f, 40},
    {0.03125f, 0.003f, 0.275f, 0.5f, kPole3, 1.0f - kPole3, 0.5f, 0.2f, 0.3f, 40},
    {0.00390625f, 0.003f, 0.04f, 0.0625f, kPole3, 1.0f - kPole3, 0.015f, 0.04f, 0.6f, 100},
    {0.03125f, 0.003f, 0.275f, 1.0f, kPole2, 1.0f - kPole2, 0.5f, 0.2f, 0.3f, 40},  // as level 2
};
static_assert(std::bit_cast<Xvo32u>(1.0f - kPole1) == 0x3B031200u && std::bit_cast<Xvo32u>(1.0f - kPole2) == 0x3C1374C0u &&
              std::bit_cast<Xvo32u>(1.0f - kPole3) == 0x3C9BA5E0u && std::bit_cast<Xvo32u>(kPole1) == 0x3F7F7CEEu &&
              std::bit_cast<Xvo32u>(kPole2) == 0x3F7DB22Du && std::bit_cast<Xvo32u>(kPole3) == 0x3F7B22D1u,
              "level constants");

bool ownRateOk(int rate) { return rate == 8000 || rate == 16000 || rate == 22050 || rate == 32000; }
int ownHistoryLen(int rate) { return rate * 1024 / 8000; }


struct FftSizes {
    int recordBytes = 0, init = 0, work = 0;
};
FftSizes ownFftSizes() {
    FftSizes z;
    xvoRealFFTGetSize(kOrder, kFftFlag, 0, &z.recordBytes, &z.init, &z.work);
    return z;
}

// ---------------------------------------------------------------------------
// History ring
// ---------------------------------------------------------------------------

void ownAppend(State* st, const Xvo32f* src) {
    const int L2 = st->len2;
    int pos = st->histPos;
    for (int i = 0; i < kBlock; ++i) {
        st->history[pos] = src[i];
        if (++pos == L2) pos = 0;
    }
    st->histPos = pos;
    st->histCount = st->histCount + kBlock < L2 ? st->histCount + kBlock : L2;
}

/// Copies the newest n samples of the history, oldest first (n <= histCount).
void ownNewest(const State* st, Xvo32f* dst, int n) {
    const int L2 = st->len2;
    int start = st->histPos - n;
    if (start < 0) start += L2;
    const int first = start + n <= L2 ? n : L2 - start;
    std::memcpy(dst, st->history + start, sizeof(Xvo32f) * first);
    std::memcpy(dst + first, st->history, sizeof(Xvo32f) * (n - first));
}

/// The sample `back` samples before the next one (1 = the newest).
Xvo32f ownBack(const State* st, int back) {
    int i = st->histPos - back;
    if (i < 0) i += st->len2;
    return st->history[i];
}

/// Forward transform of the newest 128 samples and their power spectrum.
void ownAnalyse(State* st) {
    ownNewest(st, st->frame, kFrame);
    xvoRealFFTFwd_RToPack_32f(st->frame, st->spectrum, st->fftSpec, st->fftWork);
    const Xvo32f* s = st->spectrum;
    st->power[0] = static_cast<Xvo64f>(s[0]) * s[0];
    for (int k = 1; k < kBins - 1; ++k)
        st->power[k] = static_cast<Xvo64f>(s[2 * k - 1]) * s[2 * k - 1] + static_cast<Xvo64f>(s[2 * k]) * s[2 * k];
    st->power[kBins - 1] = static_cast<Xvo64f>(s[kFrame - 1]) * s[kFrame - 1];
}

/// Takes the newest power spectrum as the noise estimate: N, 1/N and the
/// band sums (each bin's sum over the 7 bins centred on it, clipped to bins
/// 0..64). A bin of exact zero power gives 1/N = +inf; the gain rule turns
/// the ratios that produces into 32767 (or 1 for 0 * inf).
void ownUpdateNoise(State* st) {
    std::memcpy(st->noise, st->power, sizeof st->noise);
    xvoDivCRev_64f(st->noise, st->invNoise, kBins, 1.0);
    const int half = st->bandWidth / 2;
    for (int k = 0; k < kBins; ++k) {
        const int lo = k - half < 0 ? 0 : k - half;
        const int hi = k + half > kBins - 1 ? kBins - 1 : k + half;
        Xvo64f sum = 0.0;
        for (int j = lo; j <= hi; ++j) sum += st->noise[j];
        st->bandSum[k] = sum;
    }
}

// ---------------------------------------------------------------------------
// Suppression and synthesis
// ---------------------------------------------------------------------------

/// Clamps an a-posteriori ratio to [1, 32767]; NaN (0 * inf) counts as 1.
inline Xvo64f ownClampRatio(Xvo64f g) {
    if (!(g >= 1.0)) return 1.0;
    return g > 32767.0 ? 32767.0 : g;
}

/// Per-bin gains of levels 1, 2, 3, 5 (and of a stored invalid level): the
/// linear rule g = w * xi on the smoothed ratio xi = (xi + P/N) / 2.
void ownGains(State* st) {
    const Xvo64f w = st->suppressWeight;
    for (int k = 0; k < kBins; ++k) {
        const Xvo64f gamma = ownClampRatio(st->power[k] * st->invNoise[k]);
        st->ratio[k] = static_cast<Xvo32f>((st->ratio[k] + gamma) * 0.5);
        Xvo32f g = static_cast<Xvo32f>(w * st->ratio[k]);
        const Xvo32f floor = k < 3 ? st->lowFloor : st->highFloor;
        g = g < floor ? floor : g;
        st->gains[k] = g > 1.0f ? 1.0f : g;
    }
}

/// Level 4, the strongest setting (w = 1/256, floor 0.04): the same rule on a
/// smoother footing. The ratio is taken against the band-averaged noise (the
/// mean of N over the 7 bins around each bin), which removes most of the
/// spread a single-block noise estimate has; and within the middle and upper
/// bands (from the band edges 14 and 48 up) a bin may not exceed 4 times its
/// band's mean gain, so lone noise peaks in a suppressed band do not ring as
/// "musical" tones while harmonics of speech, which lift the band mean, pass.
void ownGainsLevel4(State* st) {
    const Xvo64f w = st->suppressWeight;
    const int half = st->bandWidth / 2;
    for (int k = 0; k < kBins; ++k) {
        const int lo = k - half < 0 ? 0 : k - half;
        const int hi = k + half > kBins - 1 ? kBins - 1 : k + half;
        const Xvo64f mean = st->bandSum[k] / (hi - lo + 1);
        const Xvo64f gamma = ownClampRatio(st->power[k] / mean);
        st->ratio[k] = static_cast<Xvo32f>((st->ratio[k] + gamma) * 0.5);
        Xvo32f g = static_cast<Xvo32f>(w * st->ratio[k]);
        const Xvo32f floor = k < 3 ? st->lowFloor : st->highFloor;
        g = g < floor ? floor : g;
        st->gains[k] = g > 1.0f ? 1.0f : g;
    }
    const struct { int from, to; Xvo32f inv; } bands[2] = {
        {st->edge1, st->edge2, st->invMid}, {st->edge2, kBins, st->invHigh}};
    for (const auto& b : bands) {
        Xvo32f sum = 0.0f;
        for (int k = b.from; k < b.to; ++k) sum += st->gains[k];
        const Xvo32f cap = 4.0f * sum * b.inv;
        for (int k = b.from; k < b.to; ++k)
            if (st->gains[k] > cap) st->gains[k] = cap < st->highFloor ? st->highFloor : cap;
    }
}

void ownSynthesise(State* st, const Xvo32f* src) {
    const Xvo32f* win = (st->level == 3 || st->level == 4) ? kWindows.b : kWindows.a;
    Xvo32f* acc = st->acc;
    std::memmove(acc, acc + kBlock, sizeof(Xvo32f) * (kOla - kBlock));
    std::memset(acc + kOla - kBlock, 0, sizeof(Xvo32f) * kBlock);
    Xvo32f* fr = st->frame;
    if (st->histCount < kFrame) {
        // Warm-up: the input itself, delayed and windowed.
        std::memmove(fr, fr + kBlock, sizeof(Xvo32f) * (kOla - kBlock));
        std::memcpy(fr + kOla - kBlock, src, sizeof(Xvo32f) * kBlock);
        for (int n = 0; n < kOla; ++n) acc[n] += fr[n] * win[n];
    } else {
        if (st->level == 4)
            ownGainsLevel4(st);
        else
            ownGains(st);
        // Minimum gain of bins 3..63 in four independent lanes (the minimum
        // does not depend on the order, and the lanes vectorise).
        Xvo32f lane[4] = {st->gains[3], st->gains[4], st->gains[5], st->gains[6]};
        for (int k = 7; k + 4 <= kBins - 1; k += 4)
            for (int j = 0; j < 4; ++j) lane[j] = st->gains[k + j] < lane[j] ? st->gains[k + j] : lane[j];
        Xvo32f m = st->gains[kBins - 2];  // bin 63, the one left after 15 groups of 4
        for (int j = 0; j < 4; ++j) m = lane[j] < m ? lane[j] : m;
        st->gainStat[0] = st->gainStat[1], st->gainStat[1] = st->gainStat[2], st->gainStat[2] = st->gainStat[3];
        st->gainStat[3] = m;
        // Weighted spectrum (Pack) -> synthesis frame -> time domain.
        const Xvo32f* s = st->spectrum;
        const Xvo32f* g = st->gains;
        fr[0] = s[0] * g[0];
        for (int k = 1; k < kBins - 1; ++k) fr[2 * k - 1] = s[2 * k - 1] * g[k], fr[2 * k] = s[2 * k] * g[k];
        fr[kFrame - 1] = s[kFrame - 1] * g[kBins - 1];
        xvoRealFFTInv_PackToR_32f(fr, fr, st->fftSpec, st->fftWork);
        for (int n = 0; n < kOla; ++n) acc[n] += fr[kOla + n] * win[n];
    }
    for (int n = 0; n < kOla; ++n) {
        Xvo32f v = acc[n];
        v = v < -32768.0f ? -32768.0f : (v > 32767.0f ? 32767.0f : v);
        acc[n] = std::fabs(v) < 0.5f ? 0.0f : v;
    }
}

/// Output delay line and smoothing (steps common to both variants).
void ownDelayAndSmooth(State* st, Xvo32f* dst) {
    std::memcpy(st->delay, st->delay + kBlock, sizeof(Xvo32f) * kBlock);
    std::memcpy(st->delay + kBlock, st->acc, sizeof(Xvo32f) * kBlock);

    // D follows the suppression depth three blocks back: deep suppression
    // (small minimum gain) asks for wide smoothing.
    Xvo64f x = 8.0 * (1.0 - static_cast<Xvo64f>(st->gainStat[0]));
    x = x > 7.5 ? 8.0 : (x < 1.0 ? 1.0 : x);
    st->delayEst = 0.999 * st->delayEst + 0.001 * x;
    const int r = static_cast<int>(st->delayEst + 0.5);

    const Xvo32f* dl = st->delay;
    if ((st->stationary && st->refEnergy < 2.0) || st->mode == 1 || (st->mode == -1 && r == 0)) {
        std::memcpy(dst, dl + 8, sizeof(Xvo32f) * kBlock);
        return;
    }
    const int d = st->mode == 0 ? 8 : r;
    const Xvo32f* c = st->smoothCoef + st->smoothSet[d];
    for (int k = 0; k < kBlock; ++k) {
        const Xvo32f* x0 = dl + 8 + k - d;
        Xvo32f sum = 0.0f;
        for (int j = 0; j <= 2 * d; ++j) sum += c[j] * x0[j];
        dst[k] = sum;
    }
}

/// Truncation of a float to a 32-bit integer as the x86 conversion does it:
/// values outside the 32-bit range (and NaN) give 0x80000000.
inline Xvo32s ownTruncate32(Xvo32f v) {
    if (!(v > -2147483904.0f && v < 2147483648.0f)) return INT32_MIN;
    return static_cast<Xvo32s>(v);
}

/// Start-up attenuation, ramp, level-3 block attenuation.
void ownSoftStart(State* st, Xvo32f* out) {
    if (st->startCount >= 1) {
        for (int k = 0; k < kBlock; ++k) out[k] *= st->startAtt;
        st->startCount -= kBlock;
    } else if (st->rampCount > 0) {
        st->rampCount -= kBlock;
        if (1.07f * st->detLevel > st->energyIn) {
            for (int k = 0; k < kBlock; ++k) out[k] *= st->rampAtt;
        } else if (st->stationary && 1.07 * st->refEnergy > st->energyIn) {
            // The ramp factor exceeds 1 in magnitude while the countdown is
            // long (it is negative above R), and the product is wrapped to 16
            // bits, not saturated: kept as the design has it.
            const Xvo32f R = st->rampLength;
            const Xvo32f f = st->rampGain * (1.0f + (R - static_cast<Xvo32f>(st->rampCount)) / R);
            for (int k = 0; k < kBlock; ++k)
                out[k] = static_cast<Xvo32f>(fx::wrap16(ownTruncate32(out[k] * f)));
        }
    }
    if (st->level == 3 && st->histCount >= 48) {
        for (int h = 0; h < 2; ++h) {
            Xvo32f ein = 0.0f, eout = 0.0f;
            for (int i = 0; i < 8; ++i) {
                const Xvo32f v = ownBack(st, 48 - 8 * h - i);
                ein += v * v;
                eout += out[8 * h + i] * out[8 * h + i];
            }
            st->energyIn = st->energyPole * st->energyIn + st->energyWeight * (ein * 0.125f);
            st->energyOut = st->energyPole * st->energyOut + st->energyWeight * (eout * 0.125f);
            if (st->startCount < 1 && st->rampCount < 1 && st->energyIn > 2.3f * st->energyOut)
                for (int i = 0; i < 8; ++i) out[8 * h + i] *= st->blockAtt;
        }
    }
}

void ownFilterBlock(State* st, const Xvo32f* src, Xvo32f* dst, int analysisControl) {
    Xvo32f in[kBlock];
    std::memcpy(in, src, sizeof in);  // src may be dst
    st->firstBlock = 1;
    if (analysisControl != -1) {
        ownAppend(st, in);
        if (st->histCount >= kFrame) {
            ownAnalyse(st);
            if (analysisControl == 1) ownUpdateNoise(st);
        }
    }
    // At level 0 neither synthesis nor the output delay line runs, and the
    // out-of-place call does not copy pSrc to pDst: the soft-start stages
    // below scale whatever pDst holds (the in-place call's own samples, so
    // those pass undelayed). Kept as designed. A stored invalid level is not
    // 0: it synthesises with the previous level's parameters.
    if (st->level != 0) {
        if (st->suppressWeight > 0.0f) ownSynthesise(st, in);
        ownDelayAndSmooth(st, dst);
    }
    ownSoftStart(st, dst);
}

// ---------------------------------------------------------------------------
// Stationarity detector
// ---------------------------------------------------------------------------

Xvo64f ownMeanSquare(const Xvo32f* x, int n) {
    Xvo64f e = 0.0;
    for (int i = 0; i < n; ++i) e += static_cast<Xvo64f>(x[i]) * x[i];
    return e / n;
}

/// Periodicity: the largest normalised correlation of the newest L1 samples
/// with themselves at lags detLag - c .. detLag + c in steps of b, summed on
/// every a-th sample; 0..1.
Xvo32f ownPeriodicity(const State* st, const Xvo32f* x, int n) {
    Xvo64f best = 0.0;
    for (int lag = st->detLag - st->detC; lag <= st->detLag + st->detC; lag += st->detB) {
        Xvo64f xy = 0.0, xx = 0.0, yy = 0.0;
        for (int i = lag; i < n; i += st->detA) {
            xy += static_cast<Xvo64f>(x[i]) * x[i - lag];
            xx += static_cast<Xvo64f>(x[i]) * x[i];
            yy += static_cast<Xvo64f>(x[i - lag]) * x[i - lag];
        }
        if (xx > 0.0 && yy > 0.0) {
            const Xvo64f c = xy / std::sqrt(xx * yy);
            best = c > best ? c : best;
        }
    }
    return static_cast<Xvo32f>(best > 1.0 ? 1.0 : best);
}

/// Appends a block and tests for a stationary signal. The candidate is the
/// energy of the newest detBlocks blocks (6 ms); it is stable when it lies
/// within the stability ratio of the previous candidate in both directions
/// and the short-term (L1) and long-term (L2) energies also agree within that
/// ratio. The statistic of a candidate is the larger of its stationarity
/// (short/long energy balance, where a balance within the confirmation
/// energy ratio counts as 1) and its periodicity.
int ownDetect(State* st, const Xvo32f* src, Xvo64f* pEnergy, Xvo32f* pStatistic) {
    ownAppend(st, src);
    int detected = 0;
    Xvo64f energy = 0.0;
    if (st->histCount >= st->len1) {  // L1 >= 128: the spectrum can be formed too
        ownAnalyse(st);
        Xvo32f buf[4096];
        const int nLong = st->histCount;
        ownNewest(st, buf, nLong);
        const Xvo32f* tail = buf + nLong - st->len1;
        const Xvo64f e1 = ownMeanSquare(tail, st->len1);
        const Xvo64f e2 = ownMeanSquare(buf, nLong);
        const int nCand = st->detBlocks * kBlock;
        energy = ownMeanSquare(buf + nLong - nCand, nCand);

        const Xvo64f hi = e1 > e2 ? e1 : e2, lo = e1 > e2 ? e2 : e1;
        Xvo64f balance = hi > 0.0 ? lo / hi * st->confirmRatio : 0.0;
        balance = balance > 1.0 ? 1.0 : balance;
        const Xvo32f per = ownPeriodicity(st, tail, st->len1);
        const Xvo32f x = static_cast<Xvo32f>(balance) > per ? static_cast<Xvo32f>(balance) : per;

        st->detLevel = 0.8f * static_cast<Xvo32f>(e1) + 0.2f * st->detLevel;

        const Xvo64f ratio = st->stabilityRatio;
        const Xvo64f prev = st->candEnergy;
        const bool stable = energy > 0.0 && energy <= ratio * prev && prev <= ratio * energy && hi <= ratio * lo;
        st->candEnergy = energy;
        st->confirmCount = stable ? st->confirmCount + 1 : 0;
        if (st->confirmCount >= st->required) {
            detected = 1;
            st->startCount = 0;
            st->confirmCount = 0;
            st->stationary = 1;
            const Xvo64f k = st->refEnergy * st->scaleFactor;
            st->required = 3 * (k > 0.0 && k < 1.0e6 ? static_cast<int>(k) : 0) + 3;
            st->stabilityRatio = 1.065f;
            st->refEnergy = energy;
            st->statistic = 0.955f * st->statistic + 0.045f * x;
            st->detLag = st->rate == 8000 ? 42 : 21;
            ownUpdateNoise(st);
        }
    }
    st->lastDetect = detected;
    *pEnergy = energy;
    if (pStatistic) *pStatistic = st->statistic;
    return detected;
}

// ---------------------------------------------------------------------------
// Set-up
// ---------------------------------------------------------------------------

void ownApplyLevel(State* st, int level) {
    st->level = level;
    if (level < 0 || level > 5) return;
    if (level == 0) {
        st->suppressWeight = 0.0f;
        return;
    }
    const LevelParams& p = kLevels[level];
    st->suppressWeight = p.weight;
    st->lowFloor = p.lowFloor;
    st->highFloor = p.highFloor;
    st->blockAtt = p.blockAtt;
    st->energyPole = p.pole;
    st->energyWeight = p.energyWeight;
    st->startAtt = p.startAtt;
    st->rampAtt = p.rampAtt;
    st->rampGain = p.rampGain;
    if (!st->firstBlock) st->rampCount = st->rate / p.rampDivisor;
    st->levelActive = level != 5;
}

void ownInit(State* st, int rate) {
    std::memset(st, 0, sizeof *st);
    st->rate = rate;
    st->len1 = rate * 128 / 8000;
    st->len2 = ownHistoryLen(rate);
    for (int k = 0; k < kBins; ++k) st->invNoise[k] = 1.0;

    // Behind the fixed fields: the history, the FFT record, the FFT work area.
    const FftSizes z = ownFftSizes();
    Xvo8u* p = reinterpret_cast<Xvo8u*>(st) + sizeof *st;
    st->history = reinterpret_cast<Xvo32f*>(p);
    std::memset(st->history, 0, sizeof(Xvo32f) * st->len2);
    p += ownAlign32(sizeof(Xvo32f) * st->len2);
    Xvo8u* specMem = p;
    p += ownAlign32(z.recordBytes);
    st->fftWork = p;
    p += ownAlign32(z.init > z.work ? z.init : z.work);
    xvoRealFFTInit(&st->fftSpec, kOrder, kFftFlag, 0, specMem, z.init > 0 ? st->fftWork : nullptr);

    st->required = 3;
    st->edge1 = 14;
    st->edge2 = 48;
    st->stabilityRatio = 3.0f;
    st->suppressWeight = 1.0f / 256.0f;
    st->rampCount = 80;
    st->startCount = 400;
    st->rampLength = 80.0f;

    // Smoothing set d: 2d+1 taps, the tap j places from the nearer end is
    // (j div 2) + 0.5, normalised to sum 1. Set d starts at coefficient d^2.
    for (int d = 0; d < kSmoothSets; ++d) {
        st->smoothSet[d] = d * d;
        Xvo32f* c = st->smoothCoef + d * d;
        Xvo32f sum = 0.0f;
        for (int i = 0; i <= 2 * d; ++i) {
            const int j = i <= d ? i : 2 * d - i;
            c[i] = static_cast<Xvo32f>(j / 2) + 0.5f;
            sum += c[i];
        }
        for (int i = 0; i <= 2 * d; ++i) c[i] /= sum;
    }

    ownApplyLevel(st, 5);
    st->nLow = st->edge1;
    st->nMid = st->edge2 - st->edge1;
    st->nHigh = kBins - st->edge2;
    st->invLow = 1.0f / st->nLow;
    st->invMid = 1.0f / st->nMid;
    st->invHigh = 1.0f / st->nHigh;
    st->delayEst = 1.0;
    st->mode = st->level == 2 ? 0 : 1;

    const bool narrow = rate == 8000;
    st->detBlocks = rate * 3 / 8000;
    st->detA = narrow ? 4 : 6;
    st->detB = narrow ? 6 : 2;
    st->detC = narrow ? 12 : 6;
    st->bandWidth = 7;
    st->detLag = narrow ? 56 : 28;
    st->confirmRatio = narrow ? 1.08f : 1.3f;
}

}  // namespace

State* ownNoiseState(void* p) { return reinterpret_cast<State*>(ownAlign32(reinterpret_cast<uintptr_t>(p))); }

const Xvo32f* ownNoiseWindow(int b) { return b ? kWindows.b : kWindows.a; }

size_t ownFilterNoiseStateSize(int rate) {
    const FftSizes z = ownFftSizes();
    return ownAlign32(z.recordBytes) + ownAlign32(z.init > z.work ? z.init : z.work) +
           ownAlign32(sizeof(Xvo32f) * ownHistoryLen(rate)) + 4960;
}

}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency rate, int* pSize) {
    XVO_CHECK(ownCheckPtrs(pSize));
    XVO_RETURN_IF(!ownRateOk(rate), xvoStsSize);
    *pSize = static_cast<int>(ownFilterNoiseStateSize(rate));
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFilterNoiseInit_EC_32f(XvoPCMFrequency rate, XvoFilterNoiseState_EC_32f* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    XVO_RETURN_IF(!ownRateOk(rate), xvoStsRange);
    ownInit(ownNoiseState(pState), rate);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFilterNoiseLevel_EC_32f(int level, XvoFilterNoiseState_EC_32f* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    // The level is stored before it is checked (a rejected level stays).
    ownApplyLevel(ownNoiseState(pState), level);
    XVO_RETURN_IF(static_cast<unsigned>(level) > 5u, xvoStsRange);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFilterNoiseSetMode_EC_32f(int mode, XvoFilterNoiseState_EC_32f* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    XVO_RETURN_IF(mode < -1 || mode > 1, xvoStsBadArg);
    ownNoiseState(pState)->mode = mode;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFilterNoise_EC_32f(const Xvo32f* pSrc, Xvo32f* pDst, int analysisControl,
                                          XvoFilterNoiseState_EC_32f* pState) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pState));
    ownFilterBlock(ownNoiseState(pState), pSrc, pDst, analysisControl);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFilterNoise_EC_32f_I(Xvo32f* pSrcDst, int analysisControl, XvoFilterNoiseState_EC_32f* pState) {
    XVO_CHECK(ownCheckPtrs(pSrcDst, pState));
    ownFilterBlock(ownNoiseState(pState), pSrcDst, pSrcDst, analysisControl);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFilterNoiseDetect_EC_32f64f(const Xvo32f* pSrc, Xvo64f* pEnergy, Xvo32f* pStatistic,
                                                   int* pDetected, XvoFilterNoiseState_EC_32f* pState) {
    XVO_CHECK(ownCheckPtrs(pSrc, pEnergy, pDetected, pState));
    *pDetected = ownDetect(ownNoiseState(pState), pSrc, pEnergy, pStatistic);
    return xvoStsOk;
}
