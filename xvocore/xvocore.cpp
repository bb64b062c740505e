#include "xvocore.h"

#include <cstdlib>

#include <omp.h>

#ifdef XVOCORE_FAULT_INJECTION
// Test builds only (never defined for the shipped library): an allocation
// that fails on demand, and a count of live allocations for leak checks.
#include <atomic>

namespace {
std::atomic<int> failCountdown{0};
std::atomic<int> liveAllocations{0};
}  // namespace

/** Makes the nth next xvoMalloc call fail (1: the next one); 0 disarms. */
extern "C" XVOCORE_API void xvoTestFailAllocation(int nth) { failCountdown = nth; }

/** Blocks taken from xvoMalloc and not yet released. */
extern "C" XVOCORE_API int xvoTestLiveAllocations(void) { return liveAllocations; }
#endif

extern "C" void* xvoMalloc(int size) {
    if (size < 1) return nullptr;
#ifdef XVOCORE_FAULT_INJECTION
    if (failCountdown.load() > 0 && failCountdown.fetch_sub(1) == 1) return nullptr;
#endif
    const size_t bytes = (static_cast<size_t>(size) + 63u) & ~static_cast<size_t>(63u);
    void* p = std::aligned_alloc(64, bytes);
#ifdef XVOCORE_FAULT_INJECTION
    if (p != nullptr) ++liveAllocations;
#endif
    return p;
}

extern "C" void xvoFree(void* ptr) {
#ifdef XVOCORE_FAULT_INJECTION
    if (ptr != nullptr) --liveAllocations;
#endif
    std::free(ptr);
}

extern "C" int ownGetNumThreads(void) {
    const int n = omp_get_max_threads();
    return n < 1 ? 1 : n;
}
