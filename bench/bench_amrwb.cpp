// AMR-WB kernels: ns per call of the ISF quantiser (one frame) and the open-loop pitch search
// (one half frame of decimated weighted speech) on speech-like inputs.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "golden_inputs.h"
#include "xvosc.h"

namespace {

// ISF vectors scattered around the AMR-WB mean, as an encoder produces them frame after frame.
std::vector<std::array<Xvo16s, 16>> isfFrames() {
    const int mean[16] = {738, 1326, 2336, 3578, 4596, 5662, 6711, 7730, 8750, 9753, 10705, 11728, 12833, 13971, 15043, 4037};
    std::mt19937 rng(26173);
    std::normal_distribution<double> n(0.0, 250.0);
    std::vector<std::array<Xvo16s, 16>> v(256);
    for (auto& f : v)
        for (int i = 0; i < 16; ++i) f[i] = static_cast<Xvo16s>(mean[i] + std::lround(n(rng)));
    return v;
}

void BM_ISFQuant(benchmark::State& state) {
    const auto frames = isfFrames();
    Xvo16s mem[16] = {}, q[16], idx[7];
    size_t k = 0;
    for (auto _ : state) {
        xvosISFQuant_AMRWB_16s(frames[k].data(), mem, q, idx, XvoSpeechRate(state.range(0)));
        benchmark::DoNotOptimize(q);
        k = (k + 1) % frames.size();
    }
}
BENCHMARK(BM_ISFQuant)->Name("amrwb/ISFQuant_46b/xvosc")->Arg(XVO_BITRATE_12650);
BENCHMARK(BM_ISFQuant)->Name("amrwb/ISFQuant_36b/xvosc")->Arg(XVO_BITRATE_6600);

void BM_OpenLoopPitch(benchmark::State& state) {
    // A 6.4 kHz pulse train with a drifting period through a resonance, plus noise.
    std::vector<Xvo16s> w(6400);
    std::mt19937 rng(7);
    std::normal_distribution<double> n(0.0, 1.0);
    double y1 = 0, y2 = 0;
    for (size_t i = 0; i < w.size(); ++i) {
        const double period = 50.0 + 10.0 * std::sin(i / 900.0);
        const double y = (std::fmod(double(i), period) < 1.0 ? 60.0 : 0.0) + 0.5 * n(rng) + 1.3 * y1 - 0.6 * y2;
        y2 = y1, y1 = y;
        w[i] = static_cast<Xvo16s>(std::lround(std::clamp(y * 12.0, -32768.0, 32767.0)));
    }
    Xvo16s lag, gain, median = 0, hist[5] = {}, weight = 0, flag = 0, hpMem[9] = {}, hpHist[115] = {}, tone = 0;
    size_t pos = 0;
    for (auto _ : state) {
        xvosOpenLoopPitchSearch_AMRWB_16s(&w[pos], &lag, &gain, &median, hist, &weight, &flag, hpMem, hpHist, &tone, 64);
        benchmark::DoNotOptimize(lag);
        pos = (pos + 64) % (w.size() - 115 - 64);
    }
}
BENCHMARK(BM_OpenLoopPitch)->Name("amrwb/OpenLoopPitchSearch/xvosc");

// Both kernels on the golden files' inputs (those the reference steps were timed on).
void BM_ISFQuantGolden(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("amrwb/xvosISFQuant_AMRWB_16s.txt");
    if (g.rows.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    std::vector<std::array<Xvo16s, 33>> lines(g.rows.size());  // isf 16, memory 16, mode
    for (size_t r = 0; r < lines.size(); ++r) {
        const auto isf = g.get(r, "isf"), mem = g.get(r, "mem");
        std::copy(isf.begin(), isf.end(), lines[r].begin());
        std::copy(mem.begin(), mem.end(), lines[r].begin() + 16);
        lines[r][32] = static_cast<Xvo16s>(g.value(r, "mode"));
    }
    Xvo16s q[16], idx[7];
    size_t k = 0;
    for (auto _ : state) {
        auto l = lines[k];
        xvosISFQuant_AMRWB_16s(l.data(), l.data() + 16, q, idx, XvoSpeechRate(l[32]));
        benchmark::DoNotOptimize(q);
        k = (k + 1) % lines.size();
    }
}
BENCHMARK(BM_ISFQuantGolden)->Name("amrwb/ISFQuant_golden/xvosc");

void BM_OpenLoopPitchGolden(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("amrwb/xvosOpenLoopPitchSearch_AMRWB_16s.txt");
    if (g.rows.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    // Each line's fields laid out once: wsp (243), then the in/out state copied per call.
    struct Line {
        std::array<Xvo16s, 243> wsp;
        std::array<Xvo16s, 133> state;  // median, history 5, weight, flag, memory 9, high-passed 115, tone
        int len;
    };
    std::vector<Line> lines(g.rows.size());
    for (size_t r = 0; r < lines.size(); ++r) {
        const auto w = g.get(r, "wsp");
        std::copy(w.begin(), w.end(), lines[r].wsp.begin());
        size_t o = 0;
        for (const char* f : {"oldMedianLag", "lagHist", "adaptWeight", "weightFlag", "hpMem", "hpWspHist", "tone"})
            for (Xvo16s v : g.get(r, f)) lines[r].state[o++] = v;
        lines[r].len = g.value(r, "len");
    }
    size_t k = 0;
    for (auto _ : state) {
        const Line& l = lines[k];
        std::array<Xvo16s, 133> st = l.state;
        Xvo16s lag, gain;
        xvosOpenLoopPitchSearch_AMRWB_16s(l.wsp.data(), &lag, &gain, &st[0], &st[1], &st[6], &st[7], &st[8], &st[17],
                                          &st[132], l.len);
        benchmark::DoNotOptimize(gain);
        k = (k + 1) % lines.size();
    }
}
BENCHMARK(BM_OpenLoopPitchGolden)->Name("amrwb/OpenLoopPitchSearch_golden/xvosc");

// The detector frame by frame over the golden sequences' frames (captured encoder input).
void BM_VADGolden(benchmark::State& state) {
    static const auto g = xvobench::loadGoldenInputs("amrwb/xvosVAD_AMRWB_16s_sequences/enc_tst_m2.txt");
    if (g.rows.empty()) {
        state.SkipWithError("golden inputs not found");
        return;
    }
    std::vector<std::array<Xvo16s, 256>> frames(g.rows.size());
    for (size_t r = 0; r < frames.size(); ++r) {
        const auto s = g.get(r, "speech");
        std::copy(s.begin(), s.end(), frames[r].begin());
    }
    alignas(4) unsigned char rec[172];
    auto* st = reinterpret_cast<XvoVADState_AMRWB*>(rec);
    xvosVADInit_AMRWB_16s(st);
    Xvo16s tone = 0, flag;
    size_t k = 0;
    for (auto _ : state) {
        xvosVAD_AMRWB_16s(frames[k].data(), st, &tone, &flag);
        benchmark::DoNotOptimize(flag);
        k = (k + 1) % frames.size();
    }
}
BENCHMARK(BM_VADGolden)->Name("amrwb/VAD_golden/xvosc");

}  // namespace

BENCHMARK_MAIN();
