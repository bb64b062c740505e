// Scalar twins of the generic kernels: the definition of their results.
// Sums are formed exactly in 64 bits, one product at a time.
#include <cstdint>

#include "fixed.h"
#include "generic_kernels.h"

namespace xvo::generic {
namespace {

int64_t dot(const int16_t* x, const int16_t* y, int n) {
    int64_t s = 0;
    for (int i = 0; i < n; ++i) s += int32_t(x[i]) * y[i];
    return s;
}

int64_t energyScalar(const int16_t* x, int n) { return dot(x, x, n); }

void xcorrFixedScalar(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out) {
    for (int k = 0; k < nLags; ++k) out[k] = dot(x, y + k, n);
}

void xcorrTruncScalar(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out) {
    for (int k = 0; k < nLags; ++k) out[k] = k < n ? dot(x, y + k, n - k) : 0;
}

void convScalar(const int16_t* a, const int16_t* b, int m0, int count, int64_t* out) {
    for (int m = m0; m < m0 + count; ++m) {
        int64_t s = 0;
        for (int i = 0; i <= m; ++i) s += int32_t(a[i]) * b[m - i];
        out[m - m0] = s;
    }
}

int maxAbsScalar(const int16_t* x, int n) {
    int m = 0;
    for (int i = 0; i < n; ++i) {
        const int v = fx::abs_s(x[i]);
        if (v > m) m = v;
    }
    return m;
}

void shiftScalar(const int16_t* src, int16_t* dst, int n, int left) {
    if (left > 0) {
        for (int i = 0; i < n; ++i) dst[i] = fx::shl_wrap(src[i], left);
    } else {
        const int r = -left > 15 ? 15 : -left;
        for (int i = 0; i < n; ++i) dst[i] = fx::asr16(src[i], r);
    }
}

void harmonicScalar(int16_t val, int lag, int16_t* x, int len) {
    for (int i = 0; i < len; ++i) x[i] = fx::sat16(int32_t(x[i]) + ((int32_t(x[i - lag]) * val) >> 15));
}

}  // namespace

// The dedicated lengths have no separate scalar body: the scalar twin of a
// dedicated path is the general scalar kernel.
const OwnGenericKernels kGenericScalar = {
    OwnCpuLevel::Scalar, &energyScalar, &xcorrFixedScalar, &xcorrTruncScalar, &xcorrTruncScalar,
    &convScalar,         &convScalar,   &maxAbsScalar,     &shiftScalar,       &harmonicScalar};

}  // namespace xvo::generic
