// Generic correlation, convolution and scaling kernels at their common
// sizes, for every SIMD twin this machine runs against the scalar twin, and
// the exported functions (checks, dispatch, the active twin). The name's
// implementation component is the CPU level ("scalar", "sse2", "avx2") or
// "xvosc" for the exported call. After the run a table gives each twin's
// speed-up over the scalar one (fastest repetition of each).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/generic_kernels.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::generic;

namespace {

// Speech-like level (sums within 32 bits, as codec callers keep them) or
// full scale (sums beyond 32 bits: the wide accumulation).
std::vector<int16_t> signal(size_t n, int amp, uint32_t seed = 5) {
    std::mt19937 g(seed);
    std::uniform_int_distribution<int> d(-amp, amp);
    std::vector<int16_t> v(n);
    for (auto& e : v) e = static_cast<int16_t>(d(g));
    return v;
}

struct Case {
    std::string name;
    std::function<void(const OwnGenericKernels&, benchmark::State&)> run;
};

template <class F>
void loop(benchmark::State& st, F f) {
    for (auto _ : st) {
        f();
        benchmark::ClobberMemory();
    }
}

// Truncated correlation of n samples over `lags` lags: of one signal
// (autocorrelation, through the dedicated kernel when n is 160) or of an
// impulse response with a target (the backward-filtered target).
Case truncated(const std::string& name, int n, int lags, int amp, bool autocorr) {
    return {name, [=](const OwnGenericKernels& k, benchmark::State& st) {
                auto x = signal(n, amp, 1), y = autocorr ? x : signal(n, amp, 2);
                std::vector<int64_t> r(lags);
                const auto fn = n == 160 ? k.xcorrTrunc160 : k.xcorrTrunc;
                loop(st, [&] { fn(x.data(), autocorr ? x.data() : y.data(), n, lags, r.data()); });
            }};
}

Case convolution(const std::string& name, int n) {
    return {name, [=](const OwnGenericKernels& k, benchmark::State& st) {
                auto a = signal(n, 3000, 1), b = signal(n, 4096, 2);
                std::vector<int64_t> r(n);
                const auto fn = n == 40 ? k.conv40 : k.conv;
                loop(st, [&] { fn(a.data(), b.data(), 0, n, r.data()); });
            }};
}

const std::vector<Case>& cases() {
    static const std::vector<Case> c = {
        truncated("autocorr/160x11", 160, 11, 3000, true),
        truncated("autocorr/240x11", 240, 11, 2000, true),
        truncated("autocorr_fullscale/160x11", 160, 11, 32767, true),
        truncated("crosscorr/40x40", 40, 40, 3000, false),
        truncated("crosscorr/64x64", 64, 64, 3000, false),
        {"crosscorr_lags/80x144", [](const OwnGenericKernels& k, benchmark::State& st) {
             auto x = signal(80, 3000, 1), y = signal(80 + 144, 3000, 2);
             int64_t r[64];
             loop(st, [&] {
                 for (int k0 = 0; k0 < 144; k0 += 64)
                     k.xcorrFixed(x.data(), y.data() + k0, 80, 144 - k0 < 64 ? 144 - k0 : 64, r);
             });
         }},
        convolution("conv/40", 40),
        convolution("conv/64", 64),
        {"harmonic/40_lag50", [](const OwnGenericKernels& k, benchmark::State& st) {
             auto x = signal(90, 3000);
             loop(st, [&] { k.harmonic(26214, 50, x.data() + 50, 40); });
         }},
        {"autoscale/160", [](const OwnGenericKernels& k, benchmark::State& st) {
             auto x = signal(160, 3000);
             std::vector<int16_t> y(160);
             loop(st, [&] {  // headroom 3, as xvosAutoScale_16s with *pScale = 3
                 const int m = k.maxAbs(x.data(), 160);
                 k.shift(x.data(), y.data(), 160, (m ? __builtin_clz(m) - 17 : 0) - 3);
             });
         }},
    };
    return c;
}

void exported() {
    static auto x = signal(240, 3000, 1), y = signal(240, 3000, 2);
    benchmark::RegisterBenchmark("autocorr/160x11/xvosc", [](benchmark::State& st) {
        int32_t r[11];
        loop(st, [&] { xvosAutoCorr_16s32s(x.data(), 160, r, 11); });
    });
    benchmark::RegisterBenchmark("autocorr_norme/240x11/xvosc", [](benchmark::State& st) {
        int32_t r[11];
        int n;
        loop(st, [&] { xvosAutoCorr_NormE_16s32s(x.data(), 240, r, 11, &n); });
    });
    benchmark::RegisterBenchmark("crosscorr_normm/40/xvosc", [](benchmark::State& st) {
        int16_t d[40];
        loop(st, [&] { xvosCrossCorr_NormM_16s(x.data(), y.data(), 40, d); });
    });
    benchmark::RegisterBenchmark("conv_sfs/40/xvosc", [](benchmark::State& st) {
        int16_t d[40];
        loop(st, [&] { xvosConvPartial_16s_Sfs(x.data(), y.data(), d, 40, 12); });
    });
    benchmark::RegisterBenchmark("pitch_lagmax/80x20..143/xvosc", [](benchmark::State& st) {
        int32_t m;
        int lag;
        loop(st, [&] { xvosAutoCorrLagMax_Inv_16s(x.data() + 150, 80, 20, 143, &m, &lag); });
    });
    benchmark::RegisterBenchmark("autoscale/160/xvosc", [](benchmark::State& st) {
        int16_t d[160];
        loop(st, [&] {
            int s = 2;
            xvosAutoScale_16s(x.data(), d, 160, &s);
        });
    });
}

}  // namespace

int main(int argc, char** argv) {
    for (const auto& c : cases())
        for (auto l : {OwnCpuLevel::Scalar, OwnCpuLevel::SSE2, OwnCpuLevel::AVX2}) {
            if (!ownCpuSupports(l)) continue;
            const auto* k = &ownGenericKernels(l);
            benchmark::RegisterBenchmark((c.name + "/" + ownCpuLevelName(l)).c_str(),
                                         [k, &c](benchmark::State& st) { c.run(*k, st); });
        }
    exported();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    // Console output plus a speed-up table from the collected times.
    struct Collect : benchmark::ConsoleReporter {
        std::map<std::string, std::map<std::string, double>> t;
        void ReportRuns(const std::vector<Run>& runs) override {
            ConsoleReporter::ReportRuns(runs);
            for (const auto& r : runs) {  // the fastest repetition: the machine may be shared
                if (r.run_type != Run::RT_Iteration) continue;
                const std::string n = r.run_name.function_name;
                const auto p = n.rfind('/');
                double& best = t[n.substr(0, p)][n.substr(p + 1)];
                if (best == 0 || r.GetAdjustedCPUTime() < best) best = r.GetAdjustedCPUTime();
            }
        }
    } rep;
    benchmark::RunSpecifiedBenchmarks(&rep);
    std::printf("\n%-28s %12s %10s %10s\n", "kernel", "scalar ns", "sse2 x", "avx2 x");
    for (const auto& [name, m] : rep.t) {
        if (!m.count("scalar")) continue;
        const double s = m.at("scalar");
        std::printf("%-28s %12.1f %10.2f %10.2f\n", name.c_str(), s, m.count("sse2") ? s / m.at("sse2") : 0.0,
                    m.count("avx2") ? s / m.at("avx2") : 0.0);
    }
    benchmark::Shutdown();
    return 0;
}
