// Internal kernels of the G.729 Annex B SID spectral quantiser.
#pragma once

#include <cstdint>

#include "xvosc.h"

namespace xvo::g729 {

/// SID LSF decoding from (predictor, first-stage, second-stage) indices with
/// the Annex B noise predictor tables: reconstruction through the SID maps,
/// rearrangement (gaps 10 and 5), composition, memory update, stabilisation.
/// Returns 0, xvoStsLSFLow, xvoStsLSFHigh or xvoStsLSFLowHigh.
XvoStatus ownSidLsfDecode_16s(const int16_t* idx, int16_t* prevFreq, int16_t* lsf);

/// The Annex B SID search (Get_wegt, both predictors' residual targets, the
/// two-stage candidate search): writes the three indices; the memory is read only.
void ownSidLsfSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx);
/// The same with an explicit set of vector twins (tests and benchmarks).
struct OwnLspKernels;
void ownSidLsfSearch_16s(const int16_t* lsf, const int16_t* prevFreq, int16_t* idx, const OwnLspKernels& k);


}  // namespace xvo::g729
