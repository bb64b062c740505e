// G.723.1 kernels: ns per call of the adaptive-codebook and MP-MLQ searches on the golden files'
// inputs (the inputs the reference steps were timed on), every accepted line in turn.
#include <benchmark/benchmark.h>

#include <vector>

#include "golden_inputs.h"
#include "xvosc.h"

namespace {

void BM_AdaptiveSearch(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("g723/xvosAdaptiveCodebookSearch_G723.txt");
    if (g.rows.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    struct Line {
        std::vector<Xvo16s> tv, h, exc;
        std::vector<Xvo32s> err;
        Xvo16s lag, sf, sine;
        int rate;
    };
    std::vector<Line> lines;
    for (size_t r = 0; r < g.rows.size(); ++r) {
        Line l{g.get(r, "pSrcAdptTarget"), g.get(r, "pSrcImpulseResponse"), g.get(r, "pSrcPrevExcitation"),
               g.get32(r, "pSrcPrevError"),
               static_cast<Xvo16s>(g.value(r, "valBaseLag")), static_cast<Xvo16s>(g.value(r, "subFrame")),
               static_cast<Xvo16s>(g.value(r, "sineDetect")), g.value(r, "rate")};
        lines.push_back(std::move(l));
    }
    Xvo16s lid, gid;
    size_t k = 0;
    for (auto _ : state) {
        const Line& l = lines[k];
        xvosAdaptiveCodebookSearch_G723(l.lag, l.tv.data(), l.h.data(), l.exc.data(), l.err.data(), &lid, &gid, l.sf,
                                        l.sine, l.rate);
        benchmark::DoNotOptimize(gid);
        k = (k + 1) % lines.size();
    }
}
BENCHMARK(BM_AdaptiveSearch)->Name("g723/AdaptiveCodebookSearch_golden/xvosc");

void BM_MPMLQSearch(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("g723/xvosMPMLQFixedCodebookSearch_G723.txt");
    if (g.rows.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    struct Line {
        std::vector<Xvo16s> h, tv;
        Xvo16s lag, sf;
    };
    std::vector<Line> lines;
    for (size_t r = 0; r < g.rows.size(); ++r)
        lines.push_back({g.get(r, "pSrcImpulseResponse"), g.get(r, "pSrcTarget"),
                         static_cast<Xvo16s>(g.value(r, "valLag")), static_cast<Xvo16s>(g.value(r, "subFrame"))});
    Xvo16s code[60], grid, trn, gi, sign;
    Xvo32s pos;
    size_t k = 0;
    for (auto _ : state) {
        const Line& l = lines[k];
        xvosMPMLQFixedCodebookSearch_G723(l.lag, l.h.data(), l.tv.data(), code, &grid, &trn, &gi, &sign, &pos, l.sf);
        benchmark::DoNotOptimize(code);
        k = (k + 1) % lines.size();
    }
}
BENCHMARK(BM_MPMLQSearch)->Name("g723/MPMLQFixedCodebookSearch_golden/xvosc");

}  // namespace

BENCHMARK_MAIN();
