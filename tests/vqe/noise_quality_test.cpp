// The noise suppressor on signals no one tuned it for: a speech-like talker
// (and real speech from espeak-ng when it is installed) in white and in
// low-pass noise. The caller marks pause blocks as noise updates, as a
// gateway with a voice-activity detector would. Measured: the noise power
// removed in the pauses, the speech-segment energy kept, determinism and
// finiteness. That processing allocates nothing is proven by the contract
// registry's no-heap test.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "xvosc.h"

namespace xvovqe {
struct Talk {
    std::vector<float> clean;
    std::vector<unsigned char> active;
};
Talk makeTalk(int rate, double seconds, uint64_t seed, double dbfs);
std::vector<float> makeNoise(int rate, size_t n, uint64_t seed, double dbfs, bool lowpass);
std::vector<float> espeakSpeech(int rate, const char* text);
}  // namespace xvovqe

namespace {

constexpr int kLag = 56;  // output delay of the suppressor, samples

struct Result {
    double pauseDb = 0;   // output/input power in the pauses
    double speechDb = 0;  // output/input energy over the speech segments
    bool finite = true;
    std::vector<float> out;
};

/// Runs the suppressor over x; blocks wholly inside `quiet` are noise updates.
Result suppress(int rate, int level, const std::vector<float>& x, const std::vector<unsigned char>& quiet,
                const std::vector<unsigned char>& active) {
    int size = 0;
    EXPECT_EQ(xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(rate), &size), xvoStsOk);
    std::vector<unsigned char> mem(size);
    auto* st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(mem.data());
    EXPECT_EQ(xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(rate), st), xvoStsOk);
    EXPECT_EQ(xvosFilterNoiseLevel_EC_32f(level, st), xvoStsOk);
    const size_t n = x.size() / 16 * 16;
    Result r;
    r.out.assign(n, 0.0f);
    for (size_t b = 0; b < n; b += 16) {
        bool q = true;
        for (size_t i = b; i < b + 16; ++i) q = q && quiet[i];
        EXPECT_EQ(xvosFilterNoise_EC_32f(&x[b], &r.out[b], q ? 1 : 0, st), xvoStsOk);
    }
    double pin = 0, pout = 0, sin = 0, sout = 0;
    for (size_t i = static_cast<size_t>(rate) / 2; i + kLag < n; ++i) {  // after the soft start
        const double o = r.out[i + kLag];
        if (quiet[i]) pin += double(x[i]) * x[i], pout += o * o;
        if (active[i]) sin += double(x[i]) * x[i], sout += o * o;
    }
    for (float v : r.out) r.finite = r.finite && std::isfinite(v);
    r.pauseDb = 10 * std::log10(pout / pin);
    r.speechDb = 10 * std::log10(sout / sin);
    return r;
}

/// Pause samples: no active sample within 30 ms either side.
std::vector<unsigned char> pauses(const std::vector<unsigned char>& active, int rate) {
    const long m = rate * 30 / 1000, n = static_cast<long>(active.size());
    std::vector<unsigned char> q(active.size(), 1);
    long last = -1000000;
    for (long i = 0; i < n; ++i)
        if (active[i]) last = i;
    std::vector<long> next(n + 1, 1000000000);
    for (long i = n - 1; i >= 0; --i) next[i] = active[i] ? i : next[i + 1];
    last = -1000000;
    for (long i = 0; i < n; ++i) {
        if (active[i]) last = i;
        q[i] = (i - last > m) && (next[i] - i > m);
    }
    return q;
}

// Noise removed in the pauses, by level (dB, at least). Levels 1, 2 and 5
// synthesise with window A (4/3 overlap-add gain), 3 and 4 with window B.
struct Bound {
    int level;
    double minCut;
};
constexpr Bound kBounds[] = {{1, 4.5}, {2, 7.5}, {3, 12.0}, {4, 24.0}, {5, 7.5}};

}  // namespace

// Talker at -26 dBFS, noise 10 dB below it, at each rate, white and low-pass
// noise. Speech-segment energy stays within -4..+3 dB of the noisy input's
// (levels 1, 2 and 5 add about 2 dB through window A; 3 and 4 take about
// 1..3 dB with the noise they remove).
TEST(NoiseQuality, SpeechLikeTalkerInNoise) {
    for (int rate : {8000, 16000, 22050, 32000}) {
        for (bool lowpass : {false, true}) {
            const auto t = xvovqe::makeTalk(rate, 8.0, 40 + rate, 26.0);
            const auto nz = xvovqe::makeNoise(rate, t.clean.size(), 3, 36.0, lowpass);
            std::vector<float> x(t.clean.size());
            for (size_t i = 0; i < x.size(); ++i) x[i] = t.clean[i] + nz[i];
            const auto quiet = pauses(t.active, rate);
            for (const Bound& b : kBounds) {
                const Result r = suppress(rate, b.level, x, quiet, t.active);
                ASSERT_TRUE(r.finite);
                EXPECT_LT(r.pauseDb, -b.minCut) << rate << " lp=" << lowpass << " level " << b.level;
                EXPECT_GT(r.speechDb, -4.0) << rate << " lp=" << lowpass << " level " << b.level;
                EXPECT_LT(r.speechDb, 3.0) << rate << " lp=" << lowpass << " level " << b.level;
                if (rate == 8000)
                    std::printf("  %5d Hz %-8s level %d: pauses %6.1f dB, speech %+5.1f dB\n", rate,
                                lowpass ? "low-pass" : "white", b.level, r.pauseDb, r.speechDb);
            }
        }
    }
}

TEST(NoiseQuality, DeterministicRuns) {
    const auto t = xvovqe::makeTalk(16000, 3.0, 8, 26.0);
    const auto nz = xvovqe::makeNoise(16000, t.clean.size(), 4, 40.0, false);
    std::vector<float> x(t.clean.size());
    for (size_t i = 0; i < x.size(); ++i) x[i] = t.clean[i] + nz[i];
    const auto quiet = pauses(t.active, 16000);
    for (int level = 1; level <= 5; ++level) {
        const Result a = suppress(16000, level, x, quiet, t.active), b = suppress(16000, level, x, quiet, t.active);
        ASSERT_EQ(a.out.size(), b.out.size());
        EXPECT_EQ(std::memcmp(a.out.data(), b.out.data(), 4 * a.out.size()), 0) << level;
    }
}

// Real speech (espeak-ng, resampled by sox) in white noise at 8 and 16 kHz.
// Pauses are where the clean speech's 30 ms neighbourhood stays 50 dB below
// its peak.
TEST(NoiseQuality, RealSpeechFromEspeak) {
    for (int rate : {8000, 16000}) {
        const auto clean = xvovqe::espeakSpeech(
            rate, "The quick brown fox jumps over the lazy dog. Please call me back, the line is noisy today.");
        if (clean.empty()) GTEST_SKIP() << "espeak-ng or sox not installed";
        double peak = 0, e = 0;
        for (float v : clean) peak = std::max(peak, double(std::fabs(v)));
        std::vector<unsigned char> active(clean.size());
        for (size_t i = 0; i < clean.size(); ++i) active[i] = std::fabs(clean[i]) > peak * 0.003;
        size_t m = 0;
        for (size_t i = 0; i < clean.size(); ++i)
            if (active[i]) e += double(clean[i]) * clean[i], ++m;
        const double speechDbfs = 10 * std::log10(e / m / (32768.0 * 32768.0));
        // Half a second of noise before the speech so the first update is clean.
        const size_t lead = rate / 2;
        std::vector<float> x(lead + clean.size() + lead, 0.0f);
        std::vector<unsigned char> act(x.size(), 0);
        for (size_t i = 0; i < clean.size(); ++i) x[lead + i] = clean[i], act[lead + i] = active[i];
        const auto nz = xvovqe::makeNoise(rate, x.size(), 6, -speechDbfs + 12.0, false);
        for (size_t i = 0; i < x.size(); ++i) x[i] += nz[i];
        const auto quiet = pauses(act, rate);
        for (const Bound& b : kBounds) {
            const Result r = suppress(rate, b.level, x, quiet, act);
            ASSERT_TRUE(r.finite);
            EXPECT_LT(r.pauseDb, -b.minCut) << rate << " level " << b.level;
            EXPECT_GT(r.speechDb, -4.0) << rate << " level " << b.level;
            EXPECT_LT(r.speechDb, 3.0) << rate << " level " << b.level;
            std::printf("  espeak %5d Hz level %d: pauses %6.1f dB, speech %+5.1f dB\n", rate, b.level, r.pauseDb,
                        r.speechDb);
        }
    }
}
