// Test signals for the voice-quality tests: a speech-like talker (voiced
// syllables through moving formant resonators, fricative onsets, pauses),
// white and low-pass noise, and optional real speech from espeak-ng + sox
// when both are installed. Everything is deterministic (own generator).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace xvovqe {

struct Talk {
    std::vector<float> clean;         // speech-like signal, 16-bit scale
    std::vector<unsigned char> active;  // 1 where a syllable is sounding
};

namespace {

struct Rng {
    uint64_t s;
    explicit Rng(uint64_t seed) : s(seed * 0x9E3779B97F4A7C15ull + 1) {}
    uint32_t next() {
        s ^= s << 13, s ^= s >> 7, s ^= s << 17;
        return static_cast<uint32_t>(s >> 11);
    }
    double uni() { return (next() & 0xFFFFFF) / 16777216.0; }          // [0, 1)
    double range(double lo, double hi) { return lo + (hi - lo) * uni(); }
    double gauss() {  // sum of 12 uniforms: cheap, bounded, close enough
        double a = 0;
        for (int i = 0; i < 12; ++i) a += uni();
        return a - 6.0;
    }
};

/// Two-pole resonator at f Hz with bandwidth bw Hz, unity gain near f.
struct Resonator {
    double a1 = 0, a2 = 0, g = 0, y1 = 0, y2 = 0;
    void set(double f, double bw, double fs) {
        const double r = std::exp(-M_PI * bw / fs);
        a1 = 2 * r * std::cos(2 * M_PI * f / fs);
        a2 = -r * r;
        g = 1 - r;
    }
    double run(double x) {
        const double y = g * x + a1 * y1 + a2 * y2;
        y2 = y1, y1 = y;
        return y;
    }
};

}  // namespace

/// A talker: pauses of 0.25..0.5 s between words of 1..3 syllables of
/// 0.12..0.22 s each, pitch 95..230 Hz gliding, three formants per syllable,
/// half of the words starting with a 40 ms fricative. Scaled so that the
/// active samples have the RMS level `dbfs` (dB below 32768).
Talk makeTalk(int rate, double seconds, uint64_t seed, double dbfs) {
    Rng rng(seed);
    const size_t n = static_cast<size_t>(seconds * rate);
    Talk t;
    t.clean.assign(n, 0.0f);
    t.active.assign(n, 0);
    std::vector<double> x(n, 0.0);
    size_t pos = static_cast<size_t>(rng.range(0.3, 0.45) * rate);  // leading pause
    Resonator f1, f2, f3, fric;
    while (pos < n) {
        const int syll = 1 + static_cast<int>(rng.uni() * 3);
        if (rng.uni() < 0.5) {  // fricative onset: high-band noise burst
            fric.set(rng.range(0.28, 0.4) * rate, 0.12 * rate, rate);
            const size_t len = static_cast<size_t>(0.04 * rate);
            for (size_t i = 0; i < len && pos < n; ++i, ++pos) {
                x[pos] = 0.6 * fric.run(rng.gauss()) * std::sin(M_PI * i / len);
                t.active[pos] = 1;
            }
        }
        for (int k = 0; k < syll && pos < n; ++k) {
            const size_t len = static_cast<size_t>(rng.range(0.12, 0.22) * rate);
            const double f0a = rng.range(95, 230), f0b = f0a * rng.range(0.8, 1.2);
            f1.set(rng.range(300, 800), 90, rate);
            f2.set(rng.range(900, 2200), 120, rate);
            f3.set(rng.range(2400, std::min(3300.0, 0.45 * rate)), 160, rate);
            double phase = 0;
            for (size_t i = 0; i < len && pos < n; ++i, ++pos) {
                const double f0 = f0a + (f0b - f0a) * i / len;
                phase += f0 / rate;
                double e = 0.03 * rng.gauss();
                if (phase >= 1.0) phase -= 1.0, e += 1.0;  // glottal pulse
                const double env = std::pow(std::sin(M_PI * i / len), 0.6);
                x[pos] = env * (f1.run(e) * 1.0 + f2.run(e) * 0.5 + f3.run(e) * 0.25);
                t.active[pos] = 1;
            }
        }
        pos += static_cast<size_t>(rng.range(0.25, 0.5) * rate);
    }
    double e = 0;
    size_t m = 0;
    for (size_t i = 0; i < n; ++i)
        if (t.active[i]) e += x[i] * x[i], ++m;
    const double scale = 32768.0 * std::pow(10.0, -dbfs / 20.0) / std::sqrt(e / std::max<size_t>(m, 1));
    for (size_t i = 0; i < n; ++i) t.clean[i] = static_cast<float>(x[i] * scale);
    return t;
}

/// Noise of RMS level `dbfs`: white, or low-pass (one pole at 0.9: most
/// power below 10 % of the rate, like fan or car noise) when `lowpass`.
std::vector<float> makeNoise(int rate, size_t n, uint64_t seed, double dbfs, bool lowpass) {
    (void)rate;
    Rng rng(seed);
    std::vector<double> v(n);
    double y = 0, e = 0;
    for (size_t i = 0; i < n; ++i) {
        const double w = rng.gauss();
        y = lowpass ? 0.9 * y + w : w;
        v[i] = y;
        e += y * y;
    }
    const double scale = 32768.0 * std::pow(10.0, -dbfs / 20.0) / std::sqrt(e / n);
    std::vector<float> out(n);
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<float>(v[i] * scale);
    return out;
}

/// Real speech from espeak-ng resampled by sox to `rate`, 16-bit scale; empty
/// when either tool is missing.
std::vector<float> espeakSpeech(int rate, const char* text) {
    if (std::system("command -v espeak-ng >/dev/null 2>&1 && command -v sox >/dev/null 2>&1") != 0) return {};
    const std::string base = std::string("/tmp/xvosc_vqe_espeak_") + std::to_string(rate);
    const std::string cmd = "espeak-ng -s 150 -w " + base + ".wav \"" + text + "\" >/dev/null 2>&1 && sox " + base +
                            ".wav -t raw -e signed-integer -b 16 -c 1 -r " + std::to_string(rate) + " " + base +
                            ".raw >/dev/null 2>&1";
    if (std::system(cmd.c_str()) != 0) return {};
    std::vector<float> out;
    if (FILE* f = std::fopen((base + ".raw").c_str(), "rb")) {
        int16_t buf[4096];
        size_t got;
        while ((got = std::fread(buf, 2, 4096, f)) > 0)
            for (size_t i = 0; i < got; ++i) out.push_back(buf[i]);
        std::fclose(f);
    }
    std::remove((base + ".wav").c_str());
    std::remove((base + ".raw").c_str());
    return out;
}

}  // namespace xvovqe

using namespace xvovqe;

TEST(VqeSignals, TalkIsDeterministicAndAtItsLevel) {
    const Talk a = makeTalk(8000, 3.0, 7, 30.0), b = makeTalk(8000, 3.0, 7, 30.0);
    ASSERT_EQ(a.clean, b.clean);
    double e = 0, m = 0, pauses = 0;
    for (size_t i = 0; i < a.clean.size(); ++i) {
        if (a.active[i]) e += double(a.clean[i]) * a.clean[i], ++m;
        else pauses += 1;
    }
    EXPECT_NEAR(10 * std::log10(e / m / (32768.0 * 32768.0)), -30.0, 0.01);
    EXPECT_GT(pauses / a.clean.size(), 0.3);  // there are real pauses to measure
    EXPECT_GT(m / a.clean.size(), 0.3);
}
