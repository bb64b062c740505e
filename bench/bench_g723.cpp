// G.723.1 kernels: ns per call on the golden inputs (the reference encoder's
// and decoder's captured subframes), one benchmark per kernel.
#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "xvosc.h"
#include "golden_inputs.h"

namespace {

using xvobench::GoldenInputs;

const GoldenInputs& inputs(const char* name) {
    static std::map<std::string, GoldenInputs> cache;
    auto it = cache.find(name);
    if (it == cache.end()) it = cache.emplace(name, xvobench::loadGoldenInputs(std::string("g723/") + name + ".txt")).first;
    return it->second;
}

// The taming memory is 32-bit and the loader keeps 16 bits: the benchmark
// uses a memory below the threshold, so every candidate scans its whole table
// (the slowest case).
void BM_G723_AdaptiveCodebookSearch(benchmark::State& st) {
    const auto& g = inputs("xvosAdaptiveCodebookSearch_G723");
    if (g.rows.empty()) return st.SkipWithError("golden inputs not found");
    const Xvo32s err[5] = {0x10000000, 0x10000000, 0x10000000, 0x10000000, 0x10000000};
    size_t r = 0;
    for (auto _ : st) {
        const auto tv = g.get(r, "pSrcAdptTarget"), h = g.get(r, "pSrcImpulseResponse"),
                   exc = g.get(r, "pSrcPrevExcitation");
        Xvo16s lid, gid;
        xvosAdaptiveCodebookSearch_G723(Xvo16s(g.value(r, "valBaseLag")), tv.data(), h.data(), exc.data(), err, &lid,
                                        &gid, Xvo16s(g.value(r, "subFrame")), Xvo16s(g.value(r, "sineDetect")),
                                        g.value(r, "rate"));
        benchmark::DoNotOptimize(gid);
        r = (r + 1) % g.rows.size();
    }
}
BENCHMARK(BM_G723_AdaptiveCodebookSearch)->Name("g723/AdaptiveCodebookSearch_golden/xvosc");

void BM_G723_MPMLQSearch(benchmark::State& st) {
    const auto& g = inputs("xvosMPMLQFixedCodebookSearch_G723");
    if (g.rows.empty()) return st.SkipWithError("golden inputs not found");
    size_t r = 0;
    for (auto _ : st) {
        const auto h = g.get(r, "pSrcImpulseResponse"), t = g.get(r, "pSrcTarget");
        Xvo16s v[60], grid, tr, gi, sg;
        Xvo32s pos;
        xvosMPMLQFixedCodebookSearch_G723(Xvo16s(g.value(r, "valLag")), h.data(), t.data(), v, &grid, &tr, &gi, &sg,
                                          &pos, Xvo16s(g.value(r, "subFrame")));
        benchmark::DoNotOptimize(pos);
        r = (r + 1) % g.rows.size();
    }
}
BENCHMARK(BM_G723_MPMLQSearch)->Name("g723/MPMLQFixedCodebookSearch_golden/xvosc");

// The 5.3 kbit/s search on the MP-MLQ golden targets, a fresh budget per frame of 4.
template <bool Wide>
void BM_G723_AcelpSearch(benchmark::State& st) {
    const auto& g = inputs("xvosMPMLQFixedCodebookSearch_G723");
    if (g.rows.empty()) return st.SkipWithError("golden inputs not found");
    size_t r = 0;
    Xvo16s extra = 120;
    for (auto _ : st) {
        const auto h = g.get(r, "pSrcImpulseResponse"), t = g.get(r, "pSrcTarget");
        Xvo16s v[60], gi, sh, sg, pos;
        if (r % 4 == 0) extra = 120;
        const auto fn = Wide ? xvosACELPFixedCodebookSearch_G723_32s16s : xvosACELPFixedCodebookSearch_G723_16s;
        fn(t.data(), h.data(), v, &gi, &sh, &sg, &pos, &extra, Xvo16s(g.value(r, "valLag")), 8000);
        benchmark::DoNotOptimize(pos);
        r = (r + 1) % g.rows.size();
    }
}
BENCHMARK(BM_G723_AcelpSearch<false>)->Name("g723/ACELPFixedCodebookSearch_16s_golden/xvosc");
BENCHMARK(BM_G723_AcelpSearch<true>)->Name("g723/ACELPFixedCodebookSearch_32s16s_golden/xvosc");

void BM_G723_HarmonicSearch(benchmark::State& st) {
    const auto& g = inputs("xvosHarmonicSearch_G723_16s");
    if (g.rows.empty()) return st.SkipWithError("golden inputs not found");
    size_t r = 0;
    for (auto _ : st) {
        const auto w = g.get(r, "pSrc");
        Xvo16s gain, lag;
        xvosHarmonicSearch_G723_16s(Xvo16s(g.value(r, "valLag")), w.data() + 148, &gain, &lag);
        benchmark::DoNotOptimize(gain);
        r = (r + 1) % g.rows.size();
    }
}
BENCHMARK(BM_G723_HarmonicSearch)->Name("g723/HarmonicSearch_golden/xvosc");

void BM_G723_PitchPostFilter(benchmark::State& st) {
    const auto& g = inputs("xvosPitchPostFilter_G723_16s");
    if (g.rows.empty()) return st.SkipWithError("golden inputs not found");
    size_t r = 0;
    for (auto _ : st) {
        const auto b = g.get(r, "pSrc");
        Xvo16s lag, gain, sc;
        xvosPitchPostFilter_G723_16s(Xvo16s(g.value(r, "valLag")), b.data(), &lag, &gain, &sc,
                                     Xvo16s(g.value(r, "subFrame")), g.value(r, "rate"));
        benchmark::DoNotOptimize(gain);
        r = (r + 1) % g.rows.size();
    }
}
BENCHMARK(BM_G723_PitchPostFilter)->Name("g723/PitchPostFilter_golden/xvosc");

void BM_G723_GainControl(benchmark::State& st) {
    const auto& g = inputs("xvosGainControl_G723_16s_I");
    if (g.rows.empty()) return st.SkipWithError("golden inputs not found");
    size_t r = 0;
    for (auto _ : st) {
        auto x = g.get(r, "pSrcDst");
        Xvo16s gain = 4096;
        xvosGainControl_G723_16s_I(1 << 20, x.data(), &gain);
        benchmark::DoNotOptimize(gain);
        r = (r + 1) % g.rows.size();
    }
}
BENCHMARK(BM_G723_GainControl)->Name("g723/GainControl_golden/xvosc");

}  // namespace

BENCHMARK_MAIN();
