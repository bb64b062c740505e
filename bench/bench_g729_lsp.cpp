// G.729 line-spectral kernels: ns per call of the LPC-to-LSP root finder
// (main body and Annex A) and of the LSF quantisers (main body and Annex B
// SID), for the exported functions and for every SIMD level of the internal
// kernels this machine has, on speech-like spectra (stable 10th-order filters
// with five resonances).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include "g729/annexb.h"
#include "g729/g729_tables.h"
#include "g729/lsp.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::g729;

namespace {

struct Frame {
    int16_t lpc[11];
    int16_t lsp[10];
    int16_t lsf[10];
};

/// 256 frames: A(z) with five pole pairs (radius 0.75..0.97, spread angles),
/// in Q12, and its LSP/LSF from the library itself.
const std::vector<Frame>& corpus() {
    static const std::vector<Frame> c = [] {
        std::vector<Frame> v(256);
        std::mt19937 rng(7290);
        std::uniform_real_distribution<double> u(0.0, 1.0);
        for (auto& fr : v) {
            std::vector<std::complex<double>> poly{1.0};
            for (int k = 0; k < 5; ++k) {
                const double w = M_PI * (k + 0.2 + 0.6 * u(rng)) / 5.0, r = 0.75 + 0.22 * u(rng);
                const std::complex<double> p = std::polar(r, w);
                for (const auto& root : {p, std::conj(p)}) {
                    poly.push_back(0.0);
                    for (size_t i = poly.size() - 1; i > 0; --i) poly[i] -= root * poly[i - 1];
                }
            }
            for (int i = 0; i <= 10; ++i)
                fr.lpc[i] = static_cast<int16_t>(std::clamp(std::lround(4096.0 * poly[i].real()), -32768L, 32767L));
            static const int16_t prev[10] = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -30000};
            xvosLPCToLSP_G729_16s(fr.lpc, prev, fr.lsp);
            xvosLSPToLSF_G729_16s(fr.lsp, fr.lsf);
        }
        return v;
    }();
    return c;
}

const OwnLspKernels* kernelsOrSkip(benchmark::State& state, OwnCpuLevel level) {
    if (!ownCpuSupports(level)) {
        state.SkipWithError("CPU level not supported");
        return nullptr;
    }
    return &ownLspKernelsFor(level);
}

void BM_LPCToLSP(benchmark::State& state, bool annexA) {
    const auto& c = corpus();
    const int16_t prev[10] = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -30000};
    int16_t lsp[10];
    size_t i = 0;
    for (auto _ : state) {
        const Frame& fr = c[i++ & 255];
        if (annexA) xvosLPCToLSP_G729A_16s(fr.lpc, prev, lsp);
        else xvosLPCToLSP_G729_16s(fr.lpc, prev, lsp);
        benchmark::DoNotOptimize(lsp);
    }
}

void BM_LPCToLSPKernel(benchmark::State& state, OwnCpuLevel level) {
    const OwnLspKernels* k = kernelsOrSkip(state, level);
    if (!k) return;
    const auto& c = corpus();
    int16_t lsp[10];
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ownLPCToLSP_16s(c[i++ & 255].lpc, lsp, kLpcToLspG729, *k));
        benchmark::DoNotOptimize(lsp);
    }
}

void BM_LPCToLSP32f(benchmark::State& state) {
    std::vector<std::vector<float>> a;
    for (const auto& fr : corpus()) {
        std::vector<float> v(11);
        for (int j = 0; j < 11; ++j) v[j] = fr.lpc[j] / 4096.0f;
        a.push_back(v);
    }
    const float prev[10] = {0.9f, 0.8f, 0.6f, 0.4f, 0.2f, 0.0f, -0.2f, -0.4f, -0.6f, -0.9f};
    float lsp[10];
    size_t i = 0;
    for (auto _ : state) {
        xvosLPCToLSP_G729_32f(a[i++ & 255].data(), prev, lsp);
        benchmark::DoNotOptimize(lsp);
    }
}

/// The exported quantiser: LSF input (xvosLSFQuant) or LSP input (xvosLSPQuant).
void BM_Quant(benchmark::State& state, bool fromLsp) {
    const auto& c = corpus();
    int16_t mem[40], q[10], idx[4];
    for (int k = 0; k < 4; ++k) std::copy(kFreqPrevReset, kFreqPrevReset + 10, mem + 10 * k);
    size_t i = 0;
    for (auto _ : state) {
        const Frame& fr = c[i++ & 255];
        if (fromLsp) xvosLSPQuant_G729_16s(fr.lsp, mem, q, idx);
        else xvosLSFQuant_G729_16s(fr.lsf, mem, q, idx);
        benchmark::DoNotOptimize(q);
    }
}

void BM_LSFQuantSearch(benchmark::State& state, OwnCpuLevel level) {
    const OwnLspKernels* k = kernelsOrSkip(state, level);
    if (!k) return;
    const auto& c = corpus();
    int16_t mem[40], idx[4];
    for (int j = 0; j < 4; ++j) std::copy(kFreqPrevReset, kFreqPrevReset + 10, mem + 10 * j);
    size_t i = 0;
    for (auto _ : state) {
        ownLSFQuantSearch_16s(c[i++ & 255].lsf, mem, idx, *k);
        benchmark::DoNotOptimize(idx);
    }
}

/// The Annex B SID quantiser on the corpus LSF, spaced as its callers pass them.
void BM_SidQuant(benchmark::State& state, const OwnLspKernels* k) {
    std::vector<std::array<int16_t, 10>> lsf;
    for (const auto& fr : corpus()) {
        std::array<int16_t, 10> v;
        std::copy(fr.lsf, fr.lsf + 10, v.begin());
        if (v[0] < 40) v[0] = 40;
        for (int j = 0; j < 9; ++j)
            if (v[j + 1] - v[j] < 642) v[j + 1] = static_cast<int16_t>(std::min(v[j] + 642, 32767));
        if (v[9] > 25681) v[9] = 25681;
        if (v[9] < v[8]) v[8] = static_cast<int16_t>(v[9] - 321);
        lsf.push_back(v);
    }
    int16_t mem[40], q[10], idx[4];
    for (int j = 0; j < 4; ++j) std::copy(kFreqPrevReset, kFreqPrevReset + 10, mem + 10 * j);
    size_t i = 0;
    for (auto _ : state) {
        const int16_t* v = lsf[i++ & 255].data();
        if (k) {
            ownSidLsfSearch_16s(v, mem, idx, *k);
        } else {
            int16_t m[40];
            std::copy(mem, mem + 40, m);  // the memory stays that of the reset
            xvosLSFQuant_G729B_16s(v, m, q, idx);
        }
        benchmark::DoNotOptimize(idx);
    }
}

void BM_SidQuantSearch(benchmark::State& state, OwnCpuLevel level) {
    const OwnLspKernels* k = kernelsOrSkip(state, level);
    if (k) BM_SidQuant(state, k);
}

void BM_LSFDecode(benchmark::State& state) {
    int16_t mem[40], lsf[10];
    for (int k = 0; k < 4; ++k) std::copy(kFreqPrevReset, kFreqPrevReset + 10, mem + 10 * k);
    int16_t idx[4] = {0, 0, 0, 0};
    for (auto _ : state) {
        idx[0] ^= 1;
        idx[1] = static_cast<int16_t>((idx[1] + 37) & 127);
        idx[2] = static_cast<int16_t>((idx[2] + 5) & 31);
        idx[3] = static_cast<int16_t>((idx[3] + 11) & 31);
        xvosLSFDecode_G729_16s(idx, mem, lsf);
        benchmark::DoNotOptimize(lsf);
    }
}

}  // namespace

BENCHMARK_CAPTURE(BM_LPCToLSP, G729/xvosc, false);
BENCHMARK_CAPTURE(BM_LPCToLSP, G729A/xvosc, true);
BENCHMARK_CAPTURE(BM_LPCToLSPKernel, G729/scalar, OwnCpuLevel::Scalar);
BENCHMARK_CAPTURE(BM_LPCToLSPKernel, G729/sse41, OwnCpuLevel::SSE41);
BENCHMARK_CAPTURE(BM_LPCToLSPKernel, G729/avx2, OwnCpuLevel::AVX2);
BENCHMARK(BM_LPCToLSP32f)->Name("BM_LPCToLSP/G729_32f/xvosc");
BENCHMARK_CAPTURE(BM_Quant, LSF_G729/xvosc, false);
BENCHMARK_CAPTURE(BM_LSFQuantSearch, G729/scalar, OwnCpuLevel::Scalar);
BENCHMARK_CAPTURE(BM_LSFQuantSearch, G729/sse41, OwnCpuLevel::SSE41);
BENCHMARK_CAPTURE(BM_LSFQuantSearch, G729/avx2, OwnCpuLevel::AVX2);
BENCHMARK_CAPTURE(BM_Quant, LSP_G729/xvosc, true);
BENCHMARK(BM_LSFDecode)->Name("BM_LSFDecode/G729/xvosc");
BENCHMARK_CAPTURE(BM_SidQuant, LSF_G729B/xvosc, nullptr);
BENCHMARK_CAPTURE(BM_SidQuantSearch, G729B/scalar, OwnCpuLevel::Scalar);
BENCHMARK_CAPTURE(BM_SidQuantSearch, G729B/sse41, OwnCpuLevel::SSE41);
BENCHMARK_CAPTURE(BM_SidQuantSearch, G729B/avx2, OwnCpuLevel::AVX2);

BENCHMARK_MAIN();
