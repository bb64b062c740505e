// SIMD twins of the nested G.729 search (placeholders that run the scalar
// kernel until the vector versions land).
#include "g729/fcb.h"
namespace xvo::g729 {
OwnFcbPick ownFcbNested_G729_sse41(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time) { return ownFcbNested_G729_scalar(absD, rr, thres, time); }
OwnFcbPick ownFcbNested_G729_avx2(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time) { return ownFcbNested_G729_scalar(absD, rr, thres, time); }
}  // namespace xvo::g729
