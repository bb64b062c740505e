// G.729 algebraic codebook search: ns per 40-sample subframe, for every SIMD
// level this machine has, on speech-like subframes (a decaying resonant
// impulse response and a random target, correlated as the coder does).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "g729/fcb.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::g729;

namespace {

struct Subframe {
    int16_t d[40];
    int16_t rr[kMatrixSize];
};

/// 64 subframes: h[n] = decaying two-resonance response (Q12), x random;
/// d = correlation of x with h normalised to 13 bits, rr from the builder.
const std::vector<Subframe>& corpus() {
    static const std::vector<Subframe> c = [] {
        std::vector<Subframe> v(64);
        std::mt19937 rng(729);
        std::normal_distribution<double> g(0.0, 1.0);
        for (auto& s : v) {
            int16_t h[40], x[40];
            const double f1 = 0.2 + 0.5 * std::uniform_real_distribution<double>(0, 1)(rng);
            const double f2 = 1.0 + 1.5 * std::uniform_real_distribution<double>(0, 1)(rng);
            for (int n = 0; n < 40; ++n) {
                const double val = std::pow(0.85, n) * (std::cos(f1 * n) + 0.5 * std::cos(f2 * n));
                h[n] = static_cast<int16_t>(std::lround(4096.0 * val));
                x[n] = static_cast<int16_t>(std::lround(std::clamp(2000.0 * g(rng), -32768.0, 32767.0)));
            }
            xvosToeplizMatrix_G729_16s(h, s.rr);
            int32_t y[40], mx = 1;
            for (int i = 0; i < 40; ++i) {
                int64_t acc = 0;
                for (int j = i; j < 40; ++j) acc += 2 * int64_t(x[j]) * h[j - i];
                y[i] = static_cast<int32_t>(std::clamp<int64_t>(acc, INT32_MIN, INT32_MAX));
                mx = std::max(mx, std::abs(y[i]));
            }
            int sh = 0;
            while ((mx >> sh) > 8191) ++sh;
            for (int i = 0; i < 40; ++i) s.d[i] = static_cast<int16_t>(y[i] >> sh);
        }
        return v;
    }();
    return c;
}

void runLevel(benchmark::State& state, OwnCpuLevel level) {
    if (!ownCpuSupports(level)) {
        state.SkipWithError("CPU lacks this level");
        return;
    }
    const OwnFcbNestedFn fn = ownFcbNestedFor(level);
    const auto& c = corpus();
    int16_t rr[kMatrixSize], cod[40], code[2], left = 0;
    size_t i = 0;
    for (auto _ : state) {
        const Subframe& s = c[i % c.size()];
        std::memcpy(rr, s.rr, sizeof rr);
        const int16_t budget = static_cast<int16_t>(75 + ((i & 1) ? left : 30));
        ownFcbSearch_G729(s.d, rr, budget, cod, code, &left, fn);
        benchmark::DoNotOptimize(code);
        ++i;
    }
    state.counters["frame_ns"] = 5e6;  // one 40-sample subframe is 5 ms of audio
}

void BM_FcbSearch_scalar(benchmark::State& s) { runLevel(s, OwnCpuLevel::Scalar); }
void BM_FcbSearch_sse41(benchmark::State& s) { runLevel(s, OwnCpuLevel::SSE41); }
void BM_FcbSearch_avx2(benchmark::State& s) { runLevel(s, OwnCpuLevel::AVX2); }

/// The exported call, as a coder makes it (matrix copy included).
void BM_FcbSearch_xvosc(benchmark::State& state) {
    const auto& c = corpus();
    int16_t rr[kMatrixSize], cod[40], code[2], extra = 0;
    size_t i = 0;
    for (auto _ : state) {
        const Subframe& s = c[i % c.size()];
        std::memcpy(rr, s.rr, sizeof rr);
        xvosFixedCodebookSearch_G729_16s(s.d, rr, cod, code, &extra, static_cast<int16_t>(i & 1));
        benchmark::DoNotOptimize(code);
        ++i;
    }
    state.counters["frame_ns"] = 5e6;
}

void BM_ToeplizMatrix_xvosc(benchmark::State& state) {
    int16_t h[40], rr[kMatrixSize];
    for (int n = 0; n < 40; ++n) h[n] = static_cast<int16_t>(4096.0 * std::pow(0.8, n) * std::cos(0.7 * n));
    for (auto _ : state) {
        xvosToeplizMatrix_G729_16s(h, rr);
        benchmark::DoNotOptimize(rr);
    }
    state.counters["frame_ns"] = 5e6;
}

}  // namespace

BENCHMARK(BM_FcbSearch_scalar)->Name("g729/FixedCodebookSearch/scalar");
BENCHMARK(BM_FcbSearch_sse41)->Name("g729/FixedCodebookSearch/sse41");
BENCHMARK(BM_FcbSearch_avx2)->Name("g729/FixedCodebookSearch/avx2");
BENCHMARK(BM_FcbSearch_xvosc)->Name("g729/FixedCodebookSearch_16s/xvosc");
BENCHMARK(BM_ToeplizMatrix_xvosc)->Name("g729/ToeplizMatrix_16s/xvosc");
BENCHMARK_MAIN();
