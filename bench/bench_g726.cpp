// G.726 encode and decode speed per rate, side by side with spandsp's G.726
// (linear PCM mode, one code per byte) on the same speech-like input. Prints
// ns per sample for both libraries and the ratio spandsp / xvosc, then the
// encoders over 1, 8 and 64 independent channels (ours through the
// multi-channel entry point, spandsp one state after another) as channels
// per core at 32 kbit/s. Each benchmark runs several repetitions and the
// tables take the fastest, which is the steadiest figure on a shared machine.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "xvosc.h"

#ifdef XVOSC_HAVE_SPANDSP
#include <spandsp.h>
#endif

namespace {

constexpr int kN = 8000;  // one second per iteration
constexpr int kRepetitions = 7;
constexpr int kChannelCounts[] = {1, 8, 64};
constexpr int kKbps[] = {16, 24, 32, 40};
constexpr XvoSpeechRate kRate[] = {XVO_BITRATE_16000, XVO_BITRATE_24000, XVO_BITRATE_32000, XVO_BITRATE_40000};

/// Voiced speech stand-in: a gliding pitch with 10 harmonics, a syllable
/// envelope and a little noise, 14-bit.
const std::vector<int16_t>& input14() {
    static const std::vector<int16_t> x = [] {
        std::vector<int16_t> v(kN);
        uint32_t seed = 12345;
        double ph = 0;
        for (int i = 0; i < kN; ++i) {
            const double t = i / 8000.0;
            ph += 2 * M_PI * (110 + 30 * std::sin(2 * M_PI * 2.1 * t)) / 8000.0;
            double s = 0;
            for (int h = 1; h <= 10; ++h) s += std::sin(h * ph) / h;
            seed = seed * 1664525u + 1013904223u;
            const double noise = (static_cast<int>(seed >> 20) - 2048) / 16.0;
            const double env = 0.5 + 0.5 * std::sin(2 * M_PI * 4.0 * t);
            v[i] = static_cast<int16_t>(std::lround(std::clamp(2600 * env * s + noise, -8192.0, 8191.0)));
        }
        return v;
    }();
    return x;
}

const std::vector<uint8_t>& codes(int r) {
    static std::map<int, std::vector<uint8_t>> cache;
    auto& c = cache[r];
    if (c.empty()) {
        c.resize(kN);
        std::vector<uint8_t> st(88);
        xvosEncodeInit_G726_16s8u(reinterpret_cast<XvoG726State*>(st.data()), kRate[r]);
        xvosEncode_G726_16s8u(reinterpret_cast<XvoG726State*>(st.data()), input14().data(), c.data(), kN);
    }
    return c;
}

/// Counters of a run that codes `channels` channels of kN samples (one second) per iteration:
/// ns per sample and channel, and the audio duration per iteration (frame_ns) from which the
/// report derives channels per core.
void perSample(benchmark::State& state, int channels = 1) {
    const double n = static_cast<double>(kN) * channels;
    state.counters["ns/sample"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * n, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["frame_ns"] = 1e9 * channels;
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}

/// Channel c's input: the speech stand-in rotated by 101 c samples, so that no
/// two channels code the same signal.
int16_t channelSample(int c, int i) { return input14()[(i + 101 * c) % kN]; }

void XvoscEncodeChannels(benchmark::State& state) {
    const int nch = static_cast<int>(state.range(0));
    std::vector<uint8_t> st(88 * static_cast<size_t>(nch));
    auto* s = reinterpret_cast<XvoG726State*>(st.data());
    for (int c = 0; c < nch; ++c)
        xvosEncodeInit_G726_16s8u(reinterpret_cast<XvoG726State*>(st.data() + 88 * c), XVO_BITRATE_32000);
    std::vector<int16_t> in(static_cast<size_t>(kN) * nch);
    for (int i = 0; i < kN; ++i)
        for (int c = 0; c < nch; ++c) in[static_cast<size_t>(i) * nch + c] = channelSample(c, i);
    std::vector<uint8_t> out(in.size());
    for (auto _ : state) {
        xvosEncodeMulti_G726_16s8u(s, in.data(), out.data(), nch, kN);
        benchmark::DoNotOptimize(out.data());
    }
    perSample(state, nch);
}

void XvoscEncode(benchmark::State& state) {
    const int r = static_cast<int>(state.range(0));
    std::vector<uint8_t> st(88), out(kN);
    auto* s = reinterpret_cast<XvoG726State*>(st.data());
    xvosEncodeInit_G726_16s8u(s, kRate[r]);
    for (auto _ : state) {
        xvosEncode_G726_16s8u(s, input14().data(), out.data(), kN);
        benchmark::DoNotOptimize(out.data());
    }
    perSample(state);
}

void XvoscDecode(benchmark::State& state) {
    const int r = static_cast<int>(state.range(0));
    std::vector<uint8_t> st(92);
    std::vector<int16_t> out(kN);
    auto* s = reinterpret_cast<XvoG726State*>(st.data());
    xvosDecodeInit_G726_8u16s(s, kRate[r], XVO_PCM_LINEAR);
    for (auto _ : state) {
        xvosDecode_G726_8u16s(s, codes(r).data(), out.data(), kN);
        benchmark::DoNotOptimize(out.data());
    }
    perSample(state);
}

#ifdef XVOSC_HAVE_SPANDSP
void SpandspEncode(benchmark::State& state) {
    const int r = static_cast<int>(state.range(0));
    std::vector<int16_t> in16(kN);
    for (int i = 0; i < kN; ++i) in16[i] = static_cast<int16_t>(input14()[i] * 4);  // its linear mode takes 16 bits
    std::vector<uint8_t> out(kN);
    g726_state_t* s = g726_init(nullptr, kKbps[r] * 1000, G726_ENCODING_LINEAR, G726_PACKING_NONE);
    for (auto _ : state) {
        g726_encode(s, out.data(), in16.data(), kN);
        benchmark::DoNotOptimize(out.data());
    }
    g726_free(s);
    perSample(state);
}

void SpandspEncodeChannels(benchmark::State& state) {
    const int nch = static_cast<int>(state.range(0));
    std::vector<g726_state_t*> s(nch);
    std::vector<std::vector<int16_t>> in(nch, std::vector<int16_t>(kN));
    for (int c = 0; c < nch; ++c) {
        s[c] = g726_init(nullptr, 32000, G726_ENCODING_LINEAR, G726_PACKING_NONE);
        for (int i = 0; i < kN; ++i) in[c][i] = static_cast<int16_t>(channelSample(c, i) * 4);
    }
    std::vector<uint8_t> out(kN);
    for (auto _ : state) {
        for (int c = 0; c < nch; ++c) g726_encode(s[c], out.data(), in[c].data(), kN);
        benchmark::DoNotOptimize(out.data());
    }
    for (auto* p : s) g726_free(p);
    perSample(state, nch);
}

void SpandspDecode(benchmark::State& state) {
    const int r = static_cast<int>(state.range(0));
    std::vector<int16_t> out(kN);
    g726_state_t* s = g726_init(nullptr, kKbps[r] * 1000, G726_ENCODING_LINEAR, G726_PACKING_NONE);
    for (auto _ : state) {
        g726_decode(s, out.data(), codes(r).data(), kN);
        benchmark::DoNotOptimize(out.data());
    }
    g726_free(s);
    perSample(state);
}
#endif

/// Console output plus a closing table of ns/sample and the ratio per rate.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "min" || run.error_occurred) continue;
            const auto it = run.counters.find("ns/sample");
            if (it != run.counters.end()) nsPerSample_[run.run_name.function_name + "/" + run.run_name.args] = it->second.value * 1e9;
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\nfastest of %d repetitions, CPU time per sample\n", kRepetitions);
        std::printf("%-8s %-6s %14s %14s %8s\n", "op", "kbit/s", "xvosc ns/smp", "spandsp ns/smp", "ratio");
        for (const char* op : {"Encode", "Decode"})
            for (int r = 0; r < 4; ++r) {
                char xn[32], sn[32];
                std::snprintf(xn, sizeof xn, "Xvosc%s/%d", op, r);
                std::snprintf(sn, sizeof sn, "Spandsp%s/%d", op, r);
                const double x = get(xn);
                const double s = get(sn);
                if (x <= 0) continue;
                if (s > 0)
                    std::printf("%-8s %-6d %14.1f %14.1f %7.2fx\n", op, kKbps[r], x, s, s / x);
                else
                    std::printf("%-8s %-6d %14.1f %14s %8s\n", op, kKbps[r], x, "-", "-");
            }
        std::printf("\nencoding at 32 kbit/s, channels per core (one second of audio per channel per second)\n");
        std::printf("%-9s %14s %14s %8s\n", "channels", "xvosc", "spandsp", "ratio");
        for (int nch : kChannelCounts) {
            char xn[48], sn[48];
            std::snprintf(xn, sizeof xn, "XvoscEncodeChannels/channels:%d", nch);
            std::snprintf(sn, sizeof sn, "SpandspEncodeChannels/channels:%d", nch);
            const double x = get(xn), sp = get(sn);  // ns per sample and channel
            if (x <= 0) continue;
            if (sp > 0)
                std::printf("%-9d %14.0f %14.0f %7.2fx\n", nch, 1e9 / (kN * x), 1e9 / (kN * sp), sp / x);
            else
                std::printf("%-9d %14.0f %14s %8s\n", nch, 1e9 / (kN * x), "-", "-");
        }
    }

private:
    double get(const std::string& name) const {
        const auto it = nsPerSample_.find(name);
        return it == nsPerSample_.end() ? 0.0 : it->second;
    }
    std::map<std::string, double> nsPerSample_;
};

void perRate(benchmark::internal::Benchmark* b) {
    b->DenseRange(0, 3)
        ->Repetitions(kRepetitions)
        ->ReportAggregatesOnly(true)
        ->ComputeStatistics("min", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
}

void perChannelCount(benchmark::internal::Benchmark* b) {
    b->ArgName("channels");
    for (int n : kChannelCounts) b->Arg(n);
    b->Repetitions(kRepetitions)
        ->ReportAggregatesOnly(true)
        ->ComputeStatistics("min", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); });
}

}  // namespace

BENCHMARK(XvoscEncodeChannels)->Apply(perChannelCount);
BENCHMARK(XvoscEncode)->Apply(perRate);
BENCHMARK(XvoscDecode)->Apply(perRate);
#ifdef XVOSC_HAVE_SPANDSP
BENCHMARK(SpandspEncodeChannels)->Apply(perChannelCount);
BENCHMARK(SpandspEncode)->Apply(perRate);
BENCHMARK(SpandspDecode)->Apply(perRate);
#endif

int main(int argc, char** argv) {
    // Repetitions of all cases interleave in random order, so a burst of load
    // on a shared machine does not fall on one library only.
    std::vector<char*> args(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    args.insert(args.begin() + 1, interleave);
    int n = static_cast<int>(args.size());
    benchmark::Initialize(&n, args.data());
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
