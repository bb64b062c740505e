// CPU feature levels for choosing SIMD twins of the hot kernels.
//
// Each vectorised family keeps a table of kernel pointers (one prototype per
// kernel shared by every instruction set). The table for the running CPU is
// chosen once, on first use, from ownCpuLevel(); tests ask for the table of
// every level the machine supports and require identical results from each.
#pragma once

namespace xvo {

enum class OwnCpuLevel : int { Scalar = 0, SSE2 = 1, SSE41 = 2, AVX2 = 3 };

/// Highest level this CPU supports (computed once, then constant).
OwnCpuLevel ownCpuLevel();

/// True when the CPU supports `level`.
inline bool ownCpuSupports(OwnCpuLevel level) { return static_cast<int>(level) <= static_cast<int>(ownCpuLevel()); }

/// Printable name of a level ("scalar", "sse2", "sse4.1", "avx2").
const char* ownCpuLevelName(OwnCpuLevel level);

}  // namespace xvo
