// Steps shared by the GSM-AMR option-1 detector (9 bands) and the AMR-WB detector (12 bands):
// the band level sums, the stationarity ratio and averaged levels, and the background-noise
// update, each with the band count (and the noise ceiling) as parameters.
#pragma once

#include <cstdint>

#include "core/fixed.h"

namespace xvo::amrvad {

constexpr int16_t kNoiseMin = 40;       // floor of the background-noise estimate
constexpr int16_t kStatThrLevel = 184;  // levels below this count as this in the stationarity ratio

/// Sum of |x| over samples count1..count2-1 of a band (stride m from a), plus the level of the
/// previous frame's tail; the tail of this frame is kept in *subLevel for the next.
inline int16_t ownLevel(const int16_t* d, int16_t* subLevel, int count1, int count2, int m, int a, int scale) {
    using namespace fx;
    // The sums of 2 |x| stay below 2^23 for any band here, so they are plain; the previous tail
    // (a 16-bit value shifted by at most 16 - scale) and the final shifts keep the operators.
    int32_t t1 = 0, head = 0;
    for (int i = count1; i < count2; ++i) t1 += 2 * abs_s(d[m * i + a]);
    for (int i = 0; i < count1; ++i) head += 2 * abs_s(d[m * i + a]);
    const int32_t t2 = L_add(L_add(t1, L_shl(static_cast<int32_t>(*subLevel), 16 - scale)), head);
    *subLevel = extract_h(L_shl(t1, scale));
    return extract_h(L_shl(t2, scale));
}

/// Stationarity ratio: 64 times the sum over the bands of max/min of the level and its average
/// (both floored at 184).
inline int16_t ownStatRatio(const int16_t* level, const int16_t* aveLevel, int bands) {
    using namespace fx;
    int16_t rat = 0;
    for (int i = 0; i < bands; ++i) {
        int16_t num = level[i] > aveLevel[i] ? level[i] : aveLevel[i];
        int16_t den = level[i] > aveLevel[i] ? aveLevel[i] : level[i];
        if (num < kStatThrLevel) num = kStatThrLevel;
        if (den < kStatThrLevel) den = kStatThrLevel;
        const int16_t e = norm_s(den);
        rat = add(rat, shr(div_s(shr(num, 1), shl(den, e)), sub(8, e)));
    }
    return rat;
}

/// Averaged levels follow the levels by alpha (Q15).
inline void ownAveLevelUpdate(int16_t* aveLevel, const int16_t* level, int bands, int16_t alpha) {
    using namespace fx;
    for (int i = 0; i < bands; ++i) aveLevel[i] = add(aveLevel[i], mult_r(alpha, sub(level[i], aveLevel[i])));
}

/// Background-noise update from the previous frame's levels: downwards by `down` (less 2, floor
/// 40), upwards by `up` (plus bckrAdd, ceiling noiseMax: 16000 for GSM-AMR, 20000 for AMR-WB);
/// then the levels become the previous ones.
inline void ownNoiseUpdate(int16_t* bckrEst, int16_t* oldLevel, const int16_t* level, int bands, int16_t up,
                           int16_t down, int16_t bckrAdd, int16_t noiseMax) {
    using namespace fx;
    for (int i = 0; i < bands; ++i) {
        const int16_t t = sub(oldLevel[i], bckrEst[i]);
        if (t < 0) {
            bckrEst[i] = add(-2, add(bckrEst[i], mult_r(down, t)));
            if (bckrEst[i] < kNoiseMin) bckrEst[i] = kNoiseMin;
        } else {
            bckrEst[i] = add(bckrAdd, add(bckrEst[i], mult_r(up, t)));
            if (bckrEst[i] > noiseMax) bckrEst[i] = noiseMax;
        }
    }
    for (int i = 0; i < bands; ++i) oldLevel[i] = level[i];
}

/// Burst and hangover rule on the newest decision (bit 14 of vadReg): an active frame counts
/// towards a burst, and a burst of burstLen frames arms hangLen frames of hangover; an inactive
/// frame ends the burst and uses up one hangover frame if any is left. Returns the decision.
inline int16_t ownBurstHangover(int16_t vadReg, int16_t& burstCount, int16_t& hangCount, int16_t burstLen,
                                int16_t hangLen) {
    if ((vadReg & 0x4000) != 0) {
        burstCount = fx::add(burstCount, 1);
        if (burstCount >= burstLen) hangCount = hangLen;
        return 1;
    }
    burstCount = 0;
    if (hangCount > 0) {
        hangCount = fx::sub(hangCount, 1);
        return 1;
    }
    return 0;
}

}  // namespace xvo::amrvad
