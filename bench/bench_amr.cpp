// GSM-AMR and AMR-WB kernels: ns per call of the exported functions on a
// speech-like signal (a slowly varying resonant noise with a 100..200 Hz
// pitch pulse train), one frame or subframe per call.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "golden_inputs.h"
#include "xvosc.h"

namespace {

const std::vector<Xvo16s>& speech() {
    static const std::vector<Xvo16s> s = [] {
        std::vector<Xvo16s> v(8000 * 4);
        std::mt19937 rng(26073);
        std::normal_distribution<double> n(0.0, 1.0);
        double y1 = 0, y2 = 0;
        for (size_t i = 0; i < v.size(); ++i) {
            const double pitch = 8000.0 / (150.0 + 50.0 * std::sin(i / 4000.0));
            const double src = (std::fmod(double(i), pitch) < 1.0 ? 40.0 : 0.0) + 0.3 * n(rng);
            const double y = src + 1.6 * y1 - 0.8 * y2;
            y2 = y1, y1 = y;
            v[i] = static_cast<Xvo16s>(std::lround(std::clamp(y * 300.0 * (1.2 + std::sin(i / 3000.0)), -32768.0, 32767.0)));
        }
        return v;
    }();
    return s;
}

void BM_VAD1(benchmark::State& state) {
    const auto& s = speech();
    XvoVAD1State_GSMAMR st{};
    for (int i = 0; i < 9; ++i) st.bckrEst[i] = st.aveLevel[i] = st.oldLevel[i] = 150;
    st.bestCorrHp = st.corrHpFast = 13106;
    size_t pos = 0;
    Xvo16s flag;
    for (auto _ : state) {
        xvosVAD1_GSMAMR_16s(&s[pos], &st, &flag, 16000);
        benchmark::DoNotOptimize(flag);
        pos = (pos + 160) % (s.size() - 160);
    }
}
BENCHMARK(BM_VAD1)->Name("gsmamr/VAD1/xvosc");

void BM_AutoCorr(benchmark::State& state) {
    const auto& s = speech();
    const auto mode = XvoSpeechRate(state.range(0));
    Xvo32s acf[22];
    size_t pos = 0;
    for (auto _ : state) {
        xvosAutoCorr_GSMAMR_16s32s(&s[pos], acf, mode);
        benchmark::DoNotOptimize(acf);
        pos = (pos + 160) % (s.size() - 240);
    }
}
BENCHMARK(BM_AutoCorr)->Name("gsmamr/AutoCorr_7k95/xvosc")->Arg(XVO_BITRATE_7950);
BENCHMARK(BM_AutoCorr)->Name("gsmamr/AutoCorr_12k2/xvosc")->Arg(XVO_BITRATE_12200);

void BM_AdaptiveCodebookSearch(benchmark::State& state) {
    const auto& s = speech();
    Xvo16s h[40], target[40], ol[2] = {60, 60}, vec[40], exc[194], frac, index;
    for (int i = 0; i < 40; ++i) h[i] = static_cast<Xvo16s>(4096.0 * std::pow(0.85, i) * std::cos(0.4 * i));
    size_t pos = 0;
    int sf = 0;
    Xvo16s lag = 60;
    for (auto _ : state) {
        std::copy(&s[pos], &s[pos] + 194, exc);
        std::copy(&s[pos + 154], &s[pos + 194], target);
        xvosAdaptiveCodebookSearch_GSMAMR_16s(target, h, ol, &lag, exc, &frac, &index, vec, static_cast<Xvo16s>(sf),
                                              XvoSpeechRate(state.range(0)));
        benchmark::DoNotOptimize(vec);
        pos = (pos + 40) % (s.size() - 200);
        sf = (sf + 1) & 3;
    }
}
BENCHMARK(BM_AdaptiveCodebookSearch)->Name("gsmamr/AdaptiveCodebookSearch_4k75/xvosc")->Arg(XVO_BITRATE_4750);
BENCHMARK(BM_AdaptiveCodebookSearch)->Name("gsmamr/AdaptiveCodebookSearch_12k2/xvosc")->Arg(XVO_BITRATE_12200);

// The search on the golden file's captured inputs (the inputs the reference step was timed on),
// every accepted line in turn.
void BM_AdaptiveCodebookSearchGolden(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("amrnb/xvosAdaptiveCodebookSearch_GSMAMR_16s.txt");
    struct Case {
        std::vector<Xvo16s> target, h, ol, exc;
        Xvo16s lag, sf, mode;
    };
    std::vector<Case> cases;
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const int mode = g.value(r, "mode"), sf = g.value(r, "subframe");
        if (mode < 0 || mode > 7 || sf < 0 || sf > 3) continue;
        cases.push_back({g.get(r, "target"), g.get(r, "h"), g.get(r, "olLag"), g.get(r, "exc"),
                         static_cast<Xvo16s>(g.value(r, "lag")), static_cast<Xvo16s>(sf), static_cast<Xvo16s>(mode)});
    }
    if (cases.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    Xvo16s exc[194], vec[40], frac, index, lag;
    size_t k = 0;
    for (auto _ : state) {
        const Case& c = cases[k];
        std::copy(c.exc.begin(), c.exc.end(), exc);
        lag = c.lag;
        xvosAdaptiveCodebookSearch_GSMAMR_16s(c.target.data(), c.h.data(), c.ol.data(), &lag, exc, &frac, &index, vec,
                                              c.sf, XvoSpeechRate(c.mode));
        benchmark::DoNotOptimize(vec);
        k = (k + 1) % cases.size();
    }
}
BENCHMARK(BM_AdaptiveCodebookSearchGolden)->Name("gsmamr/AdaptiveCodebookSearch_golden/xvosc");

// Option 2 frame by frame over the golden sequence's frames (the encoder's input).
void BM_VAD2Golden(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("amrnb/xvosVAD2_GSMAMR_16s.seq-spch_dos.txt");
    if (g.rows.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    std::vector<std::vector<Xvo16s>> frames;
    for (size_t r = 0; r < g.rows.size(); ++r) frames.push_back(g.get(r, "speech"));
    XvoVAD2State_GSMAMR st{};
    Xvo16s flag;
    size_t k = 0;
    for (auto _ : state) {
        xvosVAD2_GSMAMR_16s(frames[k].data(), &st, &flag, 0);
        benchmark::DoNotOptimize(flag);
        k = (k + 1) % frames.size();
    }
}
BENCHMARK(BM_VAD2Golden)->Name("gsmamr/VAD2_golden/xvosc");

// The algebraic search on the golden file's captured inputs, every accepted line in turn.
void BM_AlgebraicSearchGolden(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("amrnb/xvosAlgebraicCodebookSearch_GSMAMR_16s.txt");
    struct Case {
        std::vector<Xvo16s> target, res, h;
        Xvo16s lag, gain, sf, mode;
    };
    std::vector<Case> cases;
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const int mode = g.value(r, "mode"), sf = g.value(r, "subframe"), lag = g.value(r, "lag");
        const bool ok = mode == 0 || mode == 1 || mode == 3 || mode == 6 || mode == 7 || mode == 8 || mode == 11 ||
                        mode == 12 || mode == 25;
        if (!ok || sf < 0 || sf > 3 || lag < 17 || lag > 144) continue;
        cases.push_back({g.get(r, "target"), g.get(r, "ltpRes"), g.get(r, "h"), static_cast<Xvo16s>(lag),
                         static_cast<Xvo16s>(g.value(r, "gain")), static_cast<Xvo16s>(sf), static_cast<Xvo16s>(mode)});
    }
    if (cases.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    Xvo16s h[40], code[40], y[40], idx[10];
    size_t k = 0;
    for (auto _ : state) {
        const Case& c = cases[k];
        std::copy(c.h.begin(), c.h.end(), h);
        xvosAlgebraicCodebookSearch_GSMAMR_16s(c.lag, c.gain, c.target.data(), c.res.data(), h, code, y, idx, c.sf,
                                               XvoSpeechRate(c.mode));
        benchmark::DoNotOptimize(y);
        k = (k + 1) % cases.size();
    }
}
BENCHMARK(BM_AlgebraicSearchGolden)->Name("gsmamr/AlgebraicCodebookSearch_golden/xvosc");

void BM_QuantLSPDecode(benchmark::State& state) {
    Xvo16s idx[5] = {20, 100, 30, 17, 9}, res[10] = {}, past[10] = {1384, 2077, 3420, 5108, 6742, 8122, 9863, 11092, 12714, 13701};
    Xvo16s lsp[20], lsf[20];
    for (auto _ : state) {
        xvosQuantLSPDecode_GSMAMR_16s(idx, res, past, lsp, lsf, 0, XvoSpeechRate(state.range(0)));
        benchmark::DoNotOptimize(lsp);
        idx[0] = static_cast<Xvo16s>((idx[0] + 7) & 127);
    }
}
BENCHMARK(BM_QuantLSPDecode)->Name("gsmamr/QuantLSPDecode_7k95/xvosc")->Arg(XVO_BITRATE_7950);
BENCHMARK(BM_QuantLSPDecode)->Name("gsmamr/QuantLSPDecode_12k2/xvosc")->Arg(XVO_BITRATE_12200);

}  // namespace

BENCHMARK_MAIN();
