// AMR-WB+ band split / join per 1024-sample frame and join-and-upsample per frame (1024 samples
// per band to 3840 at 48 kHz or 3528 at 44.1 kHz), the encoder's 48 kHz decimation and band split
// and the decoder's low-band post-filter per frame, on speech-like noise.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "xvosc.h"

namespace {

std::vector<Xvo16s> noise(size_t n, int level, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<Xvo16s> v(n);
    for (auto& x : v) x = static_cast<Xvo16s>(int(rng() % (2 * level + 1)) - level);
    return v;
}

void BM_SplitJoin(benchmark::State& state) {
    const auto src = noise(1024 + 128, 8000, 1);
    std::vector<Xvo16s> low(180, 0), high(1024), out(1024);
    for (auto _ : state) {
        xvosBandSplit_AMRWBE_16s(src.data(), low.data(), high.data(), 1024);
        xvosBandJoin_AMRWBE_16s(low.data(), high.data(), out.data(), 1024);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_SplitJoin)->Name("amrwbe/BandSplit+BandJoin_1024/xvosc");

void BM_JoinUpsample(benchmark::State& state) {
    const auto lf = noise(24 + 1024, 8000, 2), hf = noise(24 + 1024, 2000, 3);
    std::vector<Xvo16s> out(3840), hist(24, 0);
    Xvo16s phase = 0;
    Xvo32s n = 0;
    for (auto _ : state) {
        xvosBandJoinUpsample_AMRWBE_16s(lf.data(), hf.data(), 1024, out.data(), int(state.range(0)), hist.data(), &phase,
                                        &n, 96);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_JoinUpsample)->Name("amrwbe/BandJoinUpsample_48k/xvosc")->Arg(3840);
BENCHMARK(BM_JoinUpsample)->Name("amrwbe/BandJoinUpsample_44k1/xvosc")->Arg(3528);

void BM_SplitDownsample(benchmark::State& state) {
    const auto src = noise(7680, 8000, 4);
    std::vector<Xvo16s> low(1024), high(1024), mem(1608, 0);
    Xvo16s frac = 0;
    Xvo32s used = 0;
    for (auto _ : state) {
        xvosBandSplitDownsample_AMRWBE_16s(src.data(), low.data(), high.data(), 1024, 48000, 96, mem.data(), &frac, &used);
        benchmark::DoNotOptimize(low.data());
    }
}
BENCHMARK(BM_SplitDownsample)->Name("amrwbe/BandSplitDownsample_48k_1024/xvosc");

void BM_PostFilterLowBand(benchmark::State& state) {
    const auto syn = noise(1024, 8000, 5);
    std::vector<Xvo16s> out(1024), lag(16, 90), gain(16, 12000);
    XvoPostFilterLowBandState_AMRWBE st;
    xvosPostFilterLowBandInit_AMRWBE_16s(&st);
    for (auto _ : state) {
        xvosPostFilterLowBand_AMRWBE_16s(syn.data(), lag.data(), gain.data(), out.data(), 0, &st);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(BM_PostFilterLowBand)->Name("amrwbe/PostFilterLowBand_1024/xvosc");

}  // namespace
BENCHMARK_MAIN();
