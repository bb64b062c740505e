#include "xvocore.h"

#include <cstdlib>

#include <omp.h>

extern "C" void* xvoMalloc(int size) {
    if (size < 1) return nullptr;
    const size_t bytes = (static_cast<size_t>(size) + 63u) & ~static_cast<size_t>(63u);
    return std::aligned_alloc(64, bytes);
}

extern "C" void xvoFree(void* ptr) { std::free(ptr); }

extern "C" int ownGetNumThreads(void) {
    const int n = omp_get_max_threads();
    return n < 1 ? 1 : n;
}
