// AMR-WB ISF decoding shared by the AMR-WB and AMR-WB+ decoders.
#pragma once

#include <cstdint>

namespace xvo::amrwb {

/// Decodes one frame of 16 ISFs into out: on a good frame the stage-1 and stage-2 rows addressed by
/// idx (layout 0: 46-bit, 7 indices; 1: 36-bit, 5 indices; a set bit k of lossMask leaves out the
/// stage-2 row of the k-th 46-bit split), the mean and the MA prediction from mem (which takes the
/// new residual), and shifts the 3 x 16 history hist (new ISFs first); on a bad frame the estimate
/// from prev and the history, with mem refreshed and hist left alone. Then the order enforcement.
void ownDecodeIsfFrame(const int16_t* idx, int layout, int lossMask, int16_t* out, int16_t* mem, const int16_t* prev,
                       int16_t* hist, bool bad);

}  // namespace xvo::amrwb
