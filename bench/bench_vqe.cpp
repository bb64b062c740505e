// Voice-quality stages, cost per second of audio: the noise suppressor at
// each rate (levels 2 and 4, noise updates in the leading pause) side by side
// with speexdsp's preprocessor (denoise on, AGC and dereverb off, VAD at its default off, 10 ms
// frames, the same audio), and the level controller. One iteration is one
// second of audio; the counter frame_ns carries that duration. After the run
// a table gives microseconds per second of audio and the ratio xvosc /
// speexdsp.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "xvosc.h"

#ifdef XVOSC_HAVE_SPEEXDSP
#include <speex/speex_preprocess.h>
#endif

namespace {

constexpr int kRates[] = {8000, 16000, 22050, 32000};

/// One second of a voiced tone burst (0.3..0.8 s) in white noise, 16-bit scale.
std::vector<float> audio(int rate) {
    std::vector<float> x(rate);
    uint32_t s = 12345;
    for (int i = 0; i < rate; ++i) {
        s = s * 1664525u + 1013904223u;
        const double t = double(i) / rate;
        double v = (int(s >> 16) - 32768) / 32768.0 * 300.0;
        if (t > 0.3 && t < 0.8)
            for (int h = 1; h <= 8; ++h) v += 2000.0 / h * std::sin(2 * M_PI * 140.0 * h * t);
        x[i] = static_cast<float>(v);
    }
    return x;
}

void XvoscDenoise(benchmark::State& state, int rate, int level) {
    int size = 0;
    xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(rate), &size);
    std::vector<unsigned char> mem(size);
    auto* st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(mem.data());
    xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(rate), st);
    xvosFilterNoiseLevel_EC_32f(level, st);
    const auto x = audio(rate);
    std::vector<float> y(x.size());
    const int blocks = rate / 16, updates = rate * 3 / 10 / 16;
    for (auto _ : state) {
        for (int b = 0; b < blocks; ++b)
            xvosFilterNoise_EC_32f(&x[16 * b], &y[16 * b], b < updates ? 1 : 0, st);
        benchmark::DoNotOptimize(y.data());
    }
    state.counters["frame_ns"] = 1e9;
}

#ifdef XVOSC_HAVE_SPEEXDSP
void SpeexDenoise(benchmark::State& state, int rate) {
    const int frame = rate / 100;
    SpeexPreprocessState* st = speex_preprocess_state_init(frame, rate);
    int on = 1, off = 0;
    speex_preprocess_ctl(st, SPEEX_PREPROCESS_SET_DENOISE, &on);
    speex_preprocess_ctl(st, SPEEX_PREPROCESS_SET_AGC, &off);
    speex_preprocess_ctl(st, SPEEX_PREPROCESS_SET_DEREVERB, &off);
    const auto x = audio(rate);
    std::vector<spx_int16_t> in(x.size()), buf(x.size());
    for (size_t i = 0; i < x.size(); ++i) in[i] = static_cast<spx_int16_t>(std::lround(x[i]));
    const int frames = rate / frame;
    for (auto _ : state) {
        buf = in;
        for (int f = 0; f < frames; ++f) speex_preprocess_run(st, &buf[f * frame]);
        benchmark::DoNotOptimize(buf.data());
    }
    speex_preprocess_state_destroy(st);
    state.counters["frame_ns"] = 1e9 * frames * frame / rate;
}
#endif

void XvoscAlc(benchmark::State& state, int rate) {
    unsigned char mem[124];
    auto* st = reinterpret_cast<XvoALCState_G169_16s*>(mem);
    xvosALCInit_G169_16s(st);
    const auto x = audio(rate);
    std::vector<int16_t> in(x.size()), out(x.size());
    for (size_t i = 0; i < x.size(); ++i) in[i] = static_cast<int16_t>(std::lround(x[i] * 0.25f));
    const int n = rate / 8 * 8;
    for (auto _ : state) {
        for (int i = 0; i + 160 <= n; i += 160) xvosALC_G169_16s(&in[i], &out[i], 160, st);
        benchmark::DoNotOptimize(out.data());
    }
    state.counters["frame_ns"] = 1e9 * (n / 160 * 160) / rate;
}

// Console output as usual, plus the fastest repetition of each run kept for
// the table (microseconds per second of audio).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    std::map<std::string, double> us;  // name -> us per second of audio
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const auto it = run.counters.find("frame_ns");
            const double audioS = it == run.counters.end() ? 1.0 : double(it->second) / 1e9;
            // CPU time: the machine may be shared; the fastest repetition wins.
            const double t = run.GetAdjustedCPUTime() / audioS;  // in the run's unit (us)
            double& slot = us[run.run_name.function_name];
            if (slot == 0.0 || t < slot) slot = t;
        }
    }
};

}  // namespace

int main(int argc, char** argv) {
    for (int rate : kRates) {
        const std::string r = "/rate:" + std::to_string(rate);
        for (int level : {2, 4})
            benchmark::RegisterBenchmark(("NoiseFilter" + r + "/level:" + std::to_string(level) + "/xvosc").c_str(),
                                         XvoscDenoise, rate, level)
                ->Unit(benchmark::kMicrosecond);
#ifdef XVOSC_HAVE_SPEEXDSP
        benchmark::RegisterBenchmark(("NoiseFilter" + r + "/speexdsp").c_str(), SpeexDenoise, rate)
            ->Unit(benchmark::kMicrosecond);
#endif
    }
    for (int rate : {8000, 16000})
        benchmark::RegisterBenchmark(("ALC/rate:" + std::to_string(rate) + "/xvosc").c_str(), XvoscAlc, rate)
            ->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    RatioReporter rep;
    benchmark::RunSpecifiedBenchmarks(&rep);
    std::printf("\nmicroseconds per second of audio (ratio xvosc / speexdsp denoise)\n");
    for (int rate : kRates) {
        const std::string r = "/rate:" + std::to_string(rate);
        const double peer = rep.us["NoiseFilter" + r + "/speexdsp"];
        for (int level : {2, 4}) {
            const double ours = rep.us["NoiseFilter" + r + "/level:" + std::to_string(level) + "/xvosc"];
            if (ours <= 0.0) continue;
            std::printf("suppressor %5d Hz level %d  xvosc %8.1f", rate, level, ours);
            if (peer > 0.0) std::printf("  speexdsp %8.1f  ratio %.2f", peer, ours / peer);
            std::printf("  (%.2f us per 10 ms)\n", ours / 100.0);
        }
    }
    for (int rate : {8000, 16000}) {
        const double ours = rep.us["ALC/rate:" + std::to_string(rate) + "/xvosc"];
        const double peer = rep.us["NoiseFilter/rate:" + std::to_string(rate) + "/speexdsp"];
        if (ours <= 0.0) continue;
        std::printf("level controller %5d Hz  xvosc %8.1f", rate, ours);
        if (peer > 0.0) std::printf("  (%.2f of speexdsp's denoise)", ours / peer);
        std::printf("\n");
    }
    benchmark::Shutdown();
    return 0;
}
