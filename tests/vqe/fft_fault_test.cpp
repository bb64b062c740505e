// Allocation failures of the transform layer: built only into test_vqe_faults,
// which links the test build of xvocore whose xvoMalloc fails on demand. Each
// failure must give xvoStsMemAlloc, write nothing and leave no block behind
// (the live count here, LeakSanitizer in the sanitizer build).
#ifdef XVO_FFT_FAULT_TEST
#include <gtest/gtest.h>

#include <vector>

#include "vqe/fft.h"

extern "C" void xvoTestFailAllocation(int nth);
extern "C" int xvoTestLiveAllocations(void);

using namespace xvo;

namespace {
struct Disarm {
    ~Disarm() { xvoTestFailAllocation(0); }
};
}  // namespace

// InitAlloc takes the record, then (from order 11) an init buffer: failing
// either one returns -9 with nothing left; the third call is never made.
TEST(FftFaults, InitAllocFailsCleanly) {
    Disarm d;
    struct Case {
        int order, nth;
    };
    for (const Case c : {Case{7, 1}, Case{3, 1}, Case{12, 1}, Case{12, 2}}) {
        XvoRealFFTSpec_32f* rec = nullptr;
        xvoTestFailAllocation(c.nth);
        EXPECT_EQ(xvoRealFFTInitAlloc(&rec, c.order, 2, 0), xvoStsMemAlloc) << c.order << " " << c.nth;
        EXPECT_EQ(rec, nullptr);
        EXPECT_EQ(xvoTestLiveAllocations(), 0) << c.order << " " << c.nth;
    }
    // Two allocations at order 12: arming the third leaves the call intact,
    // and the record is the only block that stays until it is freed.
    XvoRealFFTSpec_32f* rec = nullptr;
    xvoTestFailAllocation(3);
    ASSERT_EQ(xvoRealFFTInitAlloc(&rec, 12, 2, 0), xvoStsOk);
    EXPECT_EQ(xvoTestLiveAllocations(), 1);
    EXPECT_EQ(xvoRealFFTFree(rec), xvoStsOk);
    EXPECT_EQ(xvoTestLiveAllocations(), 0);
}

// A transform without a caller work buffer allocates one for the call only.
TEST(FftFaults, TemporaryWorkAreaFailsCleanly) {
    Disarm d;
    XvoRealFFTSpec_32f* rec = nullptr;
    xvoTestFailAllocation(0);
    ASSERT_EQ(xvoRealFFTInitAlloc(&rec, 8, 1, 0), xvoStsOk);
    std::vector<float> x(256, 1.0f), y(256, -7.0f);
    for (int dir = 0; dir < 2; ++dir) {
        xvoTestFailAllocation(1);
        const XvoStatus st = dir == 0 ? xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), rec, nullptr)
                                      : xvoRealFFTInv_PackToR_32f(x.data(), y.data(), rec, nullptr);
        EXPECT_EQ(st, xvoStsMemAlloc);
        EXPECT_EQ(y, std::vector<float>(256, -7.0f));
        EXPECT_EQ(xvoTestLiveAllocations(), 1);
    }
    xvoTestFailAllocation(0);
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), rec, nullptr), xvoStsOk);
    EXPECT_EQ(y[0], 256.0f / 256.0f);
    EXPECT_EQ(xvoTestLiveAllocations(), 1);
    EXPECT_EQ(xvoRealFFTFree(rec), xvoStsOk);
    EXPECT_EQ(xvoTestLiveAllocations(), 0);

    // Orders without a work area never allocate.
    ASSERT_EQ(xvoRealFFTInitAlloc(&rec, 6, 8, 0), xvoStsOk);
    xvoTestFailAllocation(1);
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), rec, nullptr), xvoStsOk);
    xvoTestFailAllocation(0);
    EXPECT_EQ(xvoRealFFTFree(rec), xvoStsOk);
    EXPECT_EQ(xvoTestLiveAllocations(), 0);
}

TEST(FftFaults, AllocationWrappersReportFailure) {
    Disarm d;
    xvoTestFailAllocation(1);
    EXPECT_EQ(xvoAllocBytes(64), nullptr);
    xvoTestFailAllocation(1);
    EXPECT_EQ(xvoAlloc_32f(64), nullptr);
    EXPECT_EQ(xvoTestLiveAllocations(), 0);
}
#endif
