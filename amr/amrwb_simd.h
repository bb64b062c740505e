// Vector twins of the AMR-WB hot loops: the ISF codebook distances and the open-loop pitch
// correlations. The scalar forms define the results (the reference's saturating operators); the
// vector forms reproduce them and are tested equal on random inputs. One table per CPU level,
// chosen once.
#pragma once

#include <cstdint>

#include "core/cpu.h"

namespace xvo::amrwb {

/// A codebook of `rows` rows by column pairs: v[p * rows + i] holds entries 2p (low half) and
/// 2p + 1 (high half) of row i; an odd last column is paired with 0. rows is a multiple of 8.
struct OwnVqPairs {
    const uint32_t* v;
    int pairs, rows;
};

/// d[i] = the reference's saturating sum of L_mult(t, t) over t = sub(x[j], row_i[j]) for every
/// row; xp holds x packed in pairs as the codebook.
using OwnVqDistFn = void (*)(const uint32_t* xp, const OwnVqPairs& cb, int32_t* d);

/// r[k] = sum_j 2 wsp[j] wsp[j - lag] in 32 bits for lag = lmax - k, k = 0..lmax - lmin - 1, over
/// j < len. Only for inputs where no partial sum can leave the 32-bit range (see the caller).
using OwnOlCorrFn = void (*)(const int16_t* wsp, int lmin, int lmax, int len, int32_t* r);

struct OwnAmrwbKernels {
    OwnCpuLevel level;
    OwnVqDistFn vqDist;
    OwnOlCorrFn olCorr;
};

const OwnAmrwbKernels& ownAmrwbKernelsFor(OwnCpuLevel level);
const OwnAmrwbKernels& ownAmrwbKernels();

/// Packs n values of x in pairs (the last one with 0 when n is odd).
inline void ownPackPairs(const int16_t* x, int n, uint32_t* xp) {
    for (int j = 0; j < n; j += 2)
        xp[j / 2] = static_cast<uint16_t>(x[j]) |
                    (j + 1 < n ? static_cast<uint32_t>(static_cast<uint16_t>(x[j + 1])) << 16 : 0u);
}

}  // namespace xvo::amrwb
