// Automatic level control in the manner of ITU-T G.169: 16-bit speech in
// blocks of 8 samples, single-precision arithmetic throughout.
//
// Per block the controller tracks a smoothed mean amplitude s, its peak hold
// p, a noise floor N (and 4N, the talk-spurt threshold), a slow level, the
// smoothed speech power and the speech peak; during talk spurts it moves a
// target-following gain towards target / speech amplitude (never above the
// maximum gain), and applies a smoothed copy of that gain that is cut back at
// once whenever a block's peak would pass the peak limit.
#include <cmath>
#include <cstddef>

#include "core/check.h"
#include "xvosc.h"

struct XvoALCState_G169_16s {
    // Settings.
    Xvo32f targetLevel;    // target amplitude T = 32768 / 10^(L/20)
    Xvo32f peakLimit;      // largest block peak allowed after the gain
    Xvo32f noiseMin;       // bounds of the noise estimate
    Xvo32f noiseMax;
    Xvo32f maxGain;        // G = 10^(g/20)
    Xvo32f rateMinActive;  // lower bound of the adaptation rate between spurts
    Xvo32f rateMin;        // lower bound of the stored adaptation rate
    Xvo32f holdBlocks;     // quiet blocks that end a talk spurt
    Xvo32f gainStep;       // per-block gain increase, fraction of the target gain
    // Spurt bookkeeping.
    Xvo16s quietCount;  // consecutive quiet blocks (saturates at 16383)
    Xvo16s spurtCount;  // talk spurts seen (saturates at 16383)
    Xvo16s loudCount;   // blocks whose mean passed 4N (saturates at 16383)
    Xvo16s inSpurt;     // 1 during a talk spurt
    // Level trackers.
    Xvo32f blockMean;
    Xvo32f smoothMean;  // s
    Xvo32f peakHold;    // p
    Xvo32f speechPeak;
    Xvo32f noise;       // N
    Xvo32f noise4;      // 4N
    Xvo32f slowLevel;
    Xvo32f blockPower;
    Xvo32f power;
    Xvo32f rate;
    Xvo32f amplitude;
    Xvo32f correction;
    // Gains.
    Xvo32f gain;         // target-following gain
    Xvo32f step;         // gainStep or 0
    Xvo32f appliedGain;  // a
    Xvo32f gainSmooth;   // k, smoothing coefficient of a
    Xvo32f blockPeak;
    // Values saved when a spurt starts, restored when it is cancelled.
    Xvo32f savedPower;
    Xvo32f savedGain;
    Xvo32f savedRate;
};
static_assert(sizeof(XvoALCState_G169_16s) == 124, "the level-controller state is 124 bytes");

namespace xvo {
namespace {

constexpr int kBlock = 8;
constexpr Xvo16s kCountMax = 16383;

inline Xvo16s ownIncSat(Xvo16s c) { return c < kCountMax ? static_cast<Xvo16s>(c + 1) : kCountMax; }
inline float ownMax(float a, float b) { return a > b ? a : b; }
inline float ownMin(float a, float b) { return a < b ? a : b; }

/// Quotient of the gain rule. A zero denominator only reaches it with a zero
/// target (a target set far below full scale underflows to 0): the gain the
/// rule wants is then 0, not the 0/0 the division would give.
inline float ownGainQuotient(float t, float d) { return d > 0.0f ? t / d : 0.0f; }

void ownALCInit_G169(XvoALCState_G169_16s* st) {
    *st = XvoALCState_G169_16s{};
    st->targetLevel = 1623.4912f;
    st->peakLimit = 32767.0f;
    st->noiseMin = 4.125246f;
    st->noiseMax = 65.38f;
    st->maxGain = 3.8018899f;
    st->rateMinActive = 0.02f;
    st->rateMin = 0.0033333f;
    st->holdBlocks = 200.0f;
    st->gainStep = 0.01f;
    st->quietCount = 200;
    st->spurtCount = 0;
    st->loudCount = 0;
    st->inSpurt = 0;
    st->noise = 65.38f;
    st->noise4 = 65.38f;  // the start value, not 4N: the first block recomputes it
    st->slowLevel = 32767.0f;
    st->rate = 0.1f;
    st->correction = 0.7f;
    st->gain = 0.03125f;
    st->gainSmooth = 1.0f;
    st->savedGain = 0.03125f;
    st->savedRate = 0.1f;
}

void ownALCBlock_G169(const Xvo16s* x, Xvo16s* y, XvoALCState_G169_16s* st) {
    // 1. Block mean, smoothed mean, peak hold.
    float sumAbs = 0.0f;
    float peak = 0.0f;
    for (int i = 0; i < kBlock; ++i) {
        const float a = std::fabs(static_cast<float>(x[i]));
        sumAbs += a;  // exact: at most 8 * 32768
        peak = ownMax(peak, a);
    }
    st->blockMean = sumAbs * 0.125f;
    const float s = 0.8f * st->blockMean + 0.2f * st->smoothMean;
    st->smoothMean = s;
    const float p = ownMax(s, 0.99f * st->peakHold);
    st->peakHold = p;

    // 2. Noise floor: falls fast, rises slowly, holds when the block is loud.
    float alpha, beta;
    if (s < st->noise) {
        alpha = 0.9f, beta = 0.1f;
    } else if (s < 2.0f * st->noise) {
        alpha = 0.99f, beta = 0.01f;
    } else {
        alpha = 1.0f, beta = 0.0f;
    }
    const float nNew = ownMax(alpha * st->noise + beta * s, st->noiseMin);
    // Floor tied to the previous block's speech amplitude once spurts have
    // been seen (for the first spurt only when it has proved itself).
    float floorC = 0.0f;
    if (st->spurtCount >= 1) {
        floorC = 1456.7665f * st->amplitude;
        if (st->spurtCount == 1 && (st->loudCount < 501 || st->rate >= 0.0025f)) floorC = 0.0f;
    }
    st->noise = ownMin(ownMax(nNew, floorC), st->noiseMax);
    st->noise4 = 4.0f * st->noise;

    // 3. Slow level tracker: rises slowly, falls fast, never below the noise.
    if (s >= st->slowLevel)
        st->slowLevel = ownMax(0.99f * st->slowLevel + 0.01f * s, st->noise);
    else
        st->slowLevel = ownMax(0.7f * st->slowLevel + 0.3f * s, st->noise);

    // 4. Loud blocks.
    if (st->noise4 < st->blockMean) st->loudCount = ownIncSat(st->loudCount);

    // 5. Talk spurts.
    if (p > st->noise4) {
        st->quietCount = 0;
        if (!st->inSpurt) {
            st->savedRate = st->rate;
            st->savedPower = st->power;
            st->savedGain = st->gain;
            st->inSpurt = 1;
            st->spurtCount = ownIncSat(st->spurtCount);
            st->correction = 0.7f;
        }
    } else if (st->inSpurt) {
        st->quietCount = ownIncSat(st->quietCount);
        if (static_cast<float>(st->quietCount) == st->holdBlocks) {
            st->inSpurt = 0;
            if (st->loudCount < 50) {  // too few loud blocks: not speech, undo it
                st->rate = st->savedRate;
                st->power = st->savedPower;
                st->gain = st->savedGain;
                st->spurtCount = static_cast<Xvo16s>(st->spurtCount - 1);
            }
        }
    }
    if (!st->inSpurt) st->loudCount = 0;

    // 6. Gain step: the first spurt must show enough loud blocks first.
    if (st->spurtCount == 1) {
        if (st->loudCount < 10)
            st->step = 0.0f;
        else if (st->loudCount >= 500)
            st->step = st->gainStep;
        else
            st->step = s >= 3.0f * st->noise ? st->gainStep : 0.0f;
    } else {
        st->step = st->gainStep;
    }

    // 7. Speech peak (the amplitude used is still the previous block's).
    if (!st->inSpurt) {
        st->speechPeak = st->spurtCount == 0 ? p : st->amplitude;
    } else if (p > st->speechPeak) {
        st->speechPeak = p;
    } else if (p > st->noise4) {
        st->speechPeak = 0.999f * st->speechPeak + 0.001f * p;
    }

    // 8. Block power (float products accumulated in sample order).
    float sumSq = 0.0f;
    for (int i = 0; i < kBlock; ++i) {
        const float v = static_cast<float>(x[i]);
        sumSq += v * v;
    }
    st->blockPower = sumSq * 0.125f;

    // 9. Adaptation rate and speech power.
    float r;
    if (!st->inSpurt) {
        r = st->spurtCount == 0 ? 0.1f : ownMax(st->rateMinActive, st->rate);
    } else {
        r = st->rate;
        if (st->spurtCount == 1 && st->loudCount < 500 && st->power < 0.1f * st->blockPower) r = ownMax(0.05f, st->rate);
        // The power moves by the multiplier r - r^2 while the rate carried forward is r itself:
        // the two differ on purpose.
        if (s >= st->noise4 && (st->blockMean >= st->noise4 || st->loudCount > 19))
            st->power = st->power + (st->blockPower - st->power) * (r - r * r);
        if (s < st->noise4 && st->loudCount < 500) st->correction = 0.7f;
    }
    st->rate = ownMax(st->rateMin, r);

    // 10. Speech amplitude; the correction creeps from 0.7 towards 0.89.
    st->amplitude = std::sqrt(st->power) * st->correction;
    if (st->loudCount < 500) st->correction = ownMin(st->correction * 1.000461f, 0.89f);

    // 11. Target-following gain, only during a spurt.
    if (st->inSpurt) {
        const float T = st->targetLevel, G = st->maxGain;
        float t;
        if (T <= st->amplitude * G)
            t = ownGainQuotient(T, st->amplitude);
        else if (T <= G * st->speechPeak)
            t = ownGainQuotient(T, st->speechPeak);
        else
            t = G;
        st->gain = ownMin(st->gain + st->step * t, t);
    }

    // 12. Applied gain with the peak limiter.
    float a = ownMin(st->appliedGain + (st->gain - st->appliedGain) * st->gainSmooth, st->gain);
    st->blockPeak = peak;
    if (peak * a > st->peakLimit) {
        a = st->peakLimit / peak;
        st->gainSmooth = 0.001f;
    } else {
        st->gainSmooth = ownMin(1.1f * st->gainSmooth, 1.0f);
    }
    st->appliedGain = a;

    // 13. Output, limited to 16 bits and truncated towards zero.
    for (int i = 0; i < kBlock; ++i) {
        float v = a * static_cast<float>(x[i]);
        v = ownMin(ownMax(v, -32768.0f), 32767.0f);
        y[i] = static_cast<Xvo16s>(static_cast<int>(v));
    }
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosALCGetStateSize_G169_16s(int* pSize) {
    XVO_CHECK(ownCheckPtrs(pSize));
    *pSize = static_cast<int>(sizeof(XvoALCState_G169_16s));
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosALCInit_G169_16s(XvoALCState_G169_16s* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    ownALCInit_G169(pState);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosALCSetGain_G169_16s(Xvo32f maxGainDB, XvoALCState_G169_16s* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    XVO_RETURN_IF(maxGainDB < 0.0f, xvoStsRange);
    pState->maxGain = static_cast<Xvo32f>(std::pow(10.0, static_cast<double>(maxGainDB) / 20.0));
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosALCSetLevel_G169_16s(Xvo32f targetDB, Xvo32f peakDB, XvoALCState_G169_16s* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    XVO_RETURN_IF(targetDB < 0.0f || peakDB < 0.0f, xvoStsRange);
    pState->targetLevel = static_cast<Xvo32f>(32768.0 / std::pow(10.0, static_cast<double>(targetDB) / 20.0));
    pState->peakLimit = static_cast<Xvo32f>(32768.0 / std::pow(10.0, static_cast<double>(peakDB) / 20.0));
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosALC_G169_16s(const Xvo16s* pSrc, Xvo16s* pDst, int len, XvoALCState_G169_16s* pState) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pState));
    XVO_RETURN_IF(len < kBlock || len % kBlock != 0, xvoStsRange);
    for (int i = 0; i < len; i += kBlock) ownALCBlock_G169(pSrc + i, pDst + i, pState);
    return xvoStsOk;
}
