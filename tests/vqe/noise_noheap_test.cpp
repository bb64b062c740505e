// The suppressor and the level controller allocate nothing once initialised:
// this file replaces the C allocator of the test program (forwarding to
// glibc's own entry points) and counts the allocations made while they run.
// Not built under AddressSanitizer, whose allocator must stay its own.
#include <gtest/gtest.h>

#if !defined(__SANITIZE_ADDRESS__)

#include <atomic>
#include <cstdlib>
#include <vector>

#include "xvosc.h"

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
}

namespace {
std::atomic<bool> g_counting{false};
std::atomic<long> g_allocs{0};
void note() {
    if (g_counting.load(std::memory_order_relaxed)) g_allocs.fetch_add(1, std::memory_order_relaxed);
}
}  // namespace

extern "C" {
void* malloc(size_t n) { note(); return __libc_malloc(n); }
void* calloc(size_t n, size_t m) { note(); return __libc_calloc(n, m); }
void* realloc(void* p, size_t n) { note(); return __libc_realloc(p, n); }
void* aligned_alloc(size_t a, size_t n) { note(); return __libc_memalign(a, n); }
void* memalign(size_t a, size_t n) { note(); return __libc_memalign(a, n); }
int posix_memalign(void** p, size_t a, size_t n) {
    note();
    *p = __libc_memalign(a, n);
    return *p ? 0 : 12;
}
void free(void* p) { __libc_free(p); }
}

TEST(NoiseNoHeap, ProcessingAllocatesNothing) {
    for (int rate : {8000, 16000, 22050, 32000}) {
        int size = 0;
        ASSERT_EQ(xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(rate), &size), xvoStsOk);
        std::vector<unsigned char> mem(size);
        auto* st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(mem.data());
        unsigned char alc[124];
        auto* a = reinterpret_cast<XvoALCState_G169_16s*>(alc);
        std::vector<float> x(16 * 400), y(x.size());
        std::vector<short> s(x.size()), t(x.size());
        for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<float>((i * 7919) % 4001) - 2000.0f, s[i] = short(x[i]);
        g_allocs = 0;
        g_counting = true;
        xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(rate), st);
        xvosALCInit_G169_16s(a);
        for (int level = 0; level <= 5; ++level) {
            xvosFilterNoiseLevel_EC_32f(level, st);
            for (size_t b = 0; b < x.size(); b += 16) {
                double e;
                float stat;
                int det;
                xvosFilterNoise_EC_32f(&x[b], &y[b], (b / 16) % 7 == 0 ? 1 : 0, st);
                xvosFilterNoise_EC_32f_I(&y[b], -1, st);
                xvosFilterNoiseDetect_EC_32f64f(&x[b], &e, &stat, &det, st);
            }
        }
        xvosALC_G169_16s(s.data(), t.data(), static_cast<int>(s.size()), a);
        g_counting = false;
        EXPECT_EQ(g_allocs.load(), 0) << rate;
    }
    g_allocs = 0;  // the counter itself works
    g_counting = true;
    void* volatile p = std::malloc(16);
    g_counting = false;
    std::free(p);
    EXPECT_EQ(g_allocs.load(), 1);
}

#endif
