// Real FFT: one forward + inverse pair (Pack format, caller work buffer) per
// iteration at orders 5..12, for every SIMD twin this machine runs, side by
// side with FFTW single precision (r2c + c2r, FFTW_MEASURE plans). After the
// run a table gives the CPU time of each (the fastest repetition) and the
// ratio xvosc / FFTW. On a shared machine use --benchmark_repetitions=12
// --benchmark_enable_random_interleaving so that both sides see the same load.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/cpu.h"
#include "vqe/fft.h"
#include "vqe/fft_kernels.h"

#ifdef XVOSC_HAVE_FFTW
#include <fftw3.h>
#endif

using namespace xvo;

namespace {

constexpr int kMinOrder = 5, kMaxOrder = 12;

std::vector<float> signal(int n) {
    std::mt19937 g(7);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> v(n);
    for (auto& e : v) e = d(g);
    return v;
}

struct Record {
    std::vector<Xvo8u> mem, init, work;
    XvoRealFFTSpec_32f* rec = nullptr;
    explicit Record(int order) {
        int s, i, w;
        xvoRealFFTGetSize(order, XVO_FFT_DIV_INV_BY_N, 0, &s, &i, &w);
        mem.resize(s);
        init.resize(i + 1);
        int b = 0;
        xvoRealFFTInit(&rec, order, XVO_FFT_DIV_INV_BY_N, 0, mem.data(), init.data());
        xvoRealFFTGetBufSize(rec, &b);
        work.resize(b + 1);
    }
};

// The exported path: checks, dispatch, the active twin.
void XvoscPair(benchmark::State& state, int order) {
    Record r(order);
    const int n = 1 << order;
    auto x = signal(n);
    std::vector<float> y(n), z(n);
    for (auto _ : state) {
        xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), r.rec, r.work.data());
        xvoRealFFTInv_PackToR_32f(y.data(), z.data(), r.rec, r.work.data());
        benchmark::DoNotOptimize(z.data());
        benchmark::ClobberMemory();
    }
}

// One twin's kernels directly (the SIMD speed-up over scalar).
void TwinPair(benchmark::State& state, int order, OwnRealFFTKernels k) {
    Record r(order);
    const int n = 1 << order;
    auto x = signal(n);
    std::vector<float> y(n), z(n), work(n + 16);
    for (auto _ : state) {
        k.fwd(r.rec, x.data(), y.data(), work.data());
        k.inv(r.rec, y.data(), z.data(), work.data());
        benchmark::DoNotOptimize(z.data());
        benchmark::ClobberMemory();
    }
}

#ifdef XVOSC_HAVE_FFTW
void FftwPair(benchmark::State& state, int order) {
    const int n = 1 << order;
    float* x = fftwf_alloc_real(n);
    float* z = fftwf_alloc_real(n);
    fftwf_complex* y = fftwf_alloc_complex(n / 2 + 1);
    fftwf_plan fwd = fftwf_plan_dft_r2c_1d(n, x, y, FFTW_MEASURE);
    fftwf_plan inv = fftwf_plan_dft_c2r_1d(n, y, z, FFTW_MEASURE);
    const auto s = signal(n);
    std::copy(s.begin(), s.end(), x);
    for (auto _ : state) {
        fftwf_execute(fwd);
        fftwf_execute(inv);
        benchmark::DoNotOptimize(z);
        benchmark::ClobberMemory();
    }
    fftwf_destroy_plan(fwd);
    fftwf_destroy_plan(inv);
    fftwf_free(x);
    fftwf_free(y);
    fftwf_free(z);
}
#endif

// Console output as usual, plus the per-order times kept for the ratio table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, std::map<int, double>> ns;  // impl -> order -> ns per pair
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const std::string name = run.run_name.function_name;  // RealFFT_FwdInv/order:<k>/<impl>
            const auto a = name.find("order:"), b = name.rfind('/');
            if (a == std::string::npos || b == std::string::npos || b < a) continue;
            // The fastest repetition: the least disturbed by other load.
            double& t = ns[name.substr(b + 1)][std::stoi(name.substr(a + 6))];
            const double now = run.GetAdjustedCPUTime();
            if (t == 0.0 || now < t) t = now;
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::pair<std::string, OwnRealFFTKernels>> twins{{"scalar", ownRealFFTKernelsScalar()}};
    if (ownCpuSupports(OwnCpuLevel::SSE2)) twins.emplace_back("sse2", ownRealFFTKernelsSSE2());
    if (ownCpuSupports(OwnCpuLevel::AVX2)) twins.emplace_back("avx2", ownRealFFTKernelsAVX2());
    for (int k = kMinOrder; k <= kMaxOrder; ++k) {
        const std::string base = "RealFFT_FwdInv/order:" + std::to_string(k) + "/";
        benchmark::RegisterBenchmark((base + "xvosc").c_str(), XvoscPair, k);
#ifdef XVOSC_HAVE_FFTW
        benchmark::RegisterBenchmark((base + "fftw").c_str(), FftwPair, k);
#endif
        for (const auto& [name, kern] : twins) benchmark::RegisterBenchmark((base + name).c_str(), TwinPair, k, kern);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter rep;
    benchmark::RunSpecifiedBenchmarks(&rep);
    std::printf("\nforward + inverse pair, ns (ratio xvosc / fftw)\n");
    for (int k = kMinOrder; k <= kMaxOrder; ++k) {
        const double ours = rep.ns["xvosc"].count(k) ? rep.ns["xvosc"][k] : 0.0;
        const double peer = rep.ns["fftw"].count(k) ? rep.ns["fftw"][k] : 0.0;
        if (ours <= 0.0) continue;
        if (peer > 0.0)
            std::printf("order %2d  N=%5d  xvosc %9.1f  fftw %9.1f  ratio %.2f\n", k, 1 << k, ours, peer, ours / peer);
        else
            std::printf("order %2d  N=%5d  xvosc %9.1f\n", k, 1 << k, ours);
    }
    benchmark::Shutdown();
    return 0;
}
