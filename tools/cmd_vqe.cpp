// `xvosc denoise` and `xvosc agc`: the noise suppressor and the level
// controller on WAV files, and their stage of `xvosc demo`.
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "commands.h"
#include "xvosc.h"

namespace xvotool {

const char* const kDenoiseHelp =
    "usage: xvosc denoise [--level 0-5] [--mode -1|0|1] in.wav out.wav\n"
    "\n"
    "Spectral noise suppression of mono audio at 8000, 16000, 22050 or 32000 Hz\n"
    "(any format libsndfile reads; the output is 16-bit WAV at the input's rate).\n"
    "\n"
    "--level  0 off, 1 mild (gain floor 0.4), 2 and 5 medium (0.275), 3 medium with\n"
    "         extra attenuation of noise-only stretches, 4 strong (0.04). Default 5.\n"
    "--mode   output smoothing: 1 none (default), 0 a 17-tap smoother, -1 a smoother\n"
    "         whose width follows the suppression depth.\n"
    "\n"
    "The noise estimate is refreshed on blocks whose energy stays within 3 dB of a\n"
    "slowly rising noise-floor tracker. The suppressor's 56-sample delay is removed,\n"
    "so the output lines up with the input. The first 50 ms are attenuated while\n"
    "the filter starts. Prints the noise floor and the overall level before and after.\n";

const char* const kAgcHelp =
    "usage: xvosc agc [--target dB] [--max-gain dB] [--peak dB] in.wav out.wav\n"
    "\n"
    "G.169-style automatic level control of mono 16-bit audio at any rate.\n"
    "\n"
    "--target    speech level to aim at, dB below full scale (default 26.1)\n"
    "--max-gain  largest gain, dB (default 11.6)\n"
    "--peak      no 8-sample block may peak above this, dB below full scale (default 0)\n"
    "\n"
    "Prints the active speech level (8 ms blocks above -50 dBFS) before and after.\n";

namespace {

struct SndCloser {
    void operator()(SNDFILE* f) const { sf_close(f); }
};
using SndFile = std::unique_ptr<SNDFILE, SndCloser>;

bool readMono(const std::string& path, std::vector<int16_t>& x, int& rate, std::string& error) {
    SF_INFO info{};
    SndFile f(sf_open(path.c_str(), SFM_READ, &info));
    if (!f) {
        error = path + ": " + sf_strerror(nullptr);
        return false;
    }
    if (info.channels != 1) {
        error = path + ": need mono audio, got " + std::to_string(info.channels) + " channels";
        return false;
    }
    rate = info.samplerate;
    x.resize(static_cast<size_t>(info.frames));
    if (sf_readf_short(f.get(), x.data(), info.frames) != info.frames) {
        error = path + ": read error: " + sf_strerror(f.get());
        return false;
    }
    return true;
}

bool writeMono(const std::string& path, const std::vector<int16_t>& x, int rate, std::string& error) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const std::string part = path + ".part";
    bool ok;
    {
        SndFile f(sf_open(part.c_str(), SFM_WRITE, &info));
        if (!f) {
            error = path + ": " + sf_strerror(nullptr);
            return false;
        }
        ok = sf_writef_short(f.get(), x.data(), static_cast<sf_count_t>(x.size())) == static_cast<sf_count_t>(x.size());
    }
    if (!ok || std::rename(part.c_str(), path.c_str()) != 0) {
        std::remove(part.c_str());
        error = path + ": write error";
        return false;
    }
    return true;
}

double dbfs(double meanSquare) { return 10 * std::log10(std::max(meanSquare, 1e-12) / (32768.0 * 32768.0)); }

/// Overall level, and the noise floor: the mean of the quietest fifth of the
/// 20 ms frames, in dBFS.
void levels(const std::vector<int16_t>& x, int rate, double& overall, double& floorDb) {
    const size_t frame = static_cast<size_t>(rate) / 50;
    std::vector<double> e;
    double all = 0;
    for (size_t f = 0; f + frame <= x.size(); f += frame) {
        double s = 0;
        for (size_t i = f; i < f + frame; ++i) s += double(x[i]) * x[i];
        all += s;
        e.push_back(s / frame);
    }
    overall = dbfs(x.empty() ? 0 : all / (e.size() * frame + (e.empty() ? 1 : 0)));
    if (e.empty()) {
        floorDb = overall;
        return;
    }
    std::sort(e.begin(), e.end());
    const size_t q = std::max<size_t>(1, e.size() / 5);
    double s = 0;
    for (size_t i = 0; i < q; ++i) s += e[i];
    floorDb = dbfs(s / q);
}

/// Active speech level: mean square over the 8 ms blocks above -50 dBFS.
double activeLevel(const std::vector<int16_t>& x, int rate) {
    const size_t blk = std::max(8, rate / 125);
    double s = 0;
    size_t n = 0;
    for (size_t b = 0; b + blk <= x.size(); b += blk) {
        double e = 0;
        for (size_t i = b; i < b + blk; ++i) e += double(x[i]) * x[i];
        if (dbfs(e / blk) > -50.0) s += e, n += blk;
    }
    return dbfs(n ? s / n : 0);
}

int16_t toPcm(float v) { return static_cast<int16_t>(std::lround(std::clamp(v, -32768.0f, 32767.0f))); }

/// Runs the suppressor over x with the tool's noise-update rule; the output
/// is aligned with the input (the 56-sample delay removed).
bool denoise(const std::vector<int16_t>& x, int rate, int level, int mode, std::vector<int16_t>& y, std::string& error) {
    int size = 0;
    if (xvosFilterNoiseGetStateSize_EC_32f(XvoPCMFrequency(rate), &size) != xvoStsOk) {
        error = "sampling rate " + std::to_string(rate) + " Hz is not 8000, 16000, 22050 or 32000";
        return false;
    }
    std::vector<unsigned char> mem(size);
    auto* st = reinterpret_cast<XvoFilterNoiseState_EC_32f*>(mem.data());
    xvosFilterNoiseInit_EC_32f(XvoPCMFrequency(rate), st);
    if (xvosFilterNoiseLevel_EC_32f(level, st) != xvoStsOk || xvosFilterNoiseSetMode_EC_32f(mode, st) != xvoStsOk) {
        error = "bad level or mode";
        return false;
    }
    constexpr size_t kLag = 56;
    const size_t n = (x.size() + kLag + 15) / 16 * 16;
    std::vector<float> buf(n, 0.0f);
    std::copy(x.begin(), x.end(), buf.begin());
    // Noise-floor tracker on the smoothed block energy: follows any fall at
    // once, rises by at most 30 % (1.1 dB) per second. A block within 3 dB of
    // the floor refreshes the noise estimate.
    const double rise = std::pow(1.3, 16.0 / rate);
    double smooth = -1, floorE = 0;
    for (size_t b = 0; b < n; b += 16) {
        double e = 0;
        for (size_t i = b; i < b + 16; ++i) e += double(buf[i]) * buf[i];
        e = e / 16 + 1e-3;
        smooth = smooth < 0 ? e : 0.7 * smooth + 0.3 * e;
        floorE = (floorE == 0 || smooth < floorE) ? smooth : floorE * rise;
        xvosFilterNoise_EC_32f_I(&buf[b], smooth < 2.0 * floorE ? 1 : 0, st);
    }
    y.resize(x.size());
    for (size_t i = 0; i < x.size(); ++i) y[i] = toPcm(buf[i + kLag]);
    return true;
}

bool agc(const std::vector<int16_t>& x, float target, float maxGain, float peak, std::vector<int16_t>& y,
         std::string& error) {
    unsigned char mem[124];
    auto* st = reinterpret_cast<XvoALCState_G169_16s*>(mem);
    xvosALCInit_G169_16s(st);
    if (xvosALCSetGain_G169_16s(maxGain, st) != xvoStsOk || xvosALCSetLevel_G169_16s(target, peak, st) != xvoStsOk) {
        error = "--target, --max-gain and --peak must be 0 dB or more";
        return false;
    }
    std::vector<int16_t> in(x), out((x.size() + 7) / 8 * 8);
    in.resize(out.size(), 0);
    if (!out.empty()) xvosALC_G169_16s(in.data(), out.data(), static_cast<int>(out.size()), st);
    y.assign(out.begin(), out.begin() + static_cast<long>(x.size()));
    return true;
}

bool number(const char* s, double& v) {
    char* end = nullptr;
    v = std::strtod(s, &end);
    return end != s && *end == '\0' && std::isfinite(v);
}

}  // namespace

int cmdDenoise(int argc, char** argv) {
    int level = 5, mode = 1;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        double v;
        if (!std::strcmp(argv[i], "--help") || !std::strcmp(argv[i], "-h")) {
            std::fputs(kDenoiseHelp, stdout);
            return 0;
        } else if (!std::strcmp(argv[i], "--level") && i + 1 < argc) {
            if (!number(argv[++i], v) || v != std::floor(v) || v < 0 || v > 5) return fail("denoise: --level takes 0..5");
            level = static_cast<int>(v);
        } else if (!std::strcmp(argv[i], "--mode") && i + 1 < argc) {
            if (!number(argv[++i], v) || (v != -1 && v != 0 && v != 1)) return fail("denoise: --mode takes -1, 0 or 1");
            mode = static_cast<int>(v);
        } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
            return fail(std::string("denoise: unknown option '") + argv[i] + "' (try 'xvosc denoise --help')");
        } else {
            files.push_back(argv[i]);
        }
    }
    if (files.size() != 2) return fail("denoise: need in.wav and out.wav (try 'xvosc denoise --help')");
    std::vector<int16_t> x, y;
    int rate = 0;
    std::string error;
    if (!readMono(files[0], x, rate, error)) return fail("denoise: " + error);
    if (!denoise(x, rate, level, mode, y, error)) return fail("denoise: " + files[0] + ": " + error);
    if (!writeMono(files[1], y, rate, error)) return fail("denoise: " + error);
    double a, fa, b, fb;
    levels(x, rate, a, fa);
    levels(y, rate, b, fb);
    std::printf("%s: %.2f s at %d Hz, level %d, mode %d\n", files[1].c_str(), double(x.size()) / rate, rate, level, mode);
    std::printf("  noise floor %7.1f dBFS -> %7.1f dBFS (%+.1f dB)\n", fa, fb, fb - fa);
    std::printf("  overall     %7.1f dBFS -> %7.1f dBFS (%+.1f dB)\n", a, b, b - a);
    return 0;
}

int cmdAgc(int argc, char** argv) {
    double target = 26.1, maxGain = 11.6, peak = 0.0;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        double* slot = nullptr;
        if (!std::strcmp(argv[i], "--help") || !std::strcmp(argv[i], "-h")) {
            std::fputs(kAgcHelp, stdout);
            return 0;
        } else if (!std::strcmp(argv[i], "--target")) {
            slot = &target;
        } else if (!std::strcmp(argv[i], "--max-gain")) {
            slot = &maxGain;
        } else if (!std::strcmp(argv[i], "--peak")) {
            slot = &peak;
        } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
            return fail(std::string("agc: unknown option '") + argv[i] + "' (try 'xvosc agc --help')");
        } else {
            files.push_back(argv[i]);
        }
        if (slot && (i + 1 >= argc || !number(argv[++i], *slot) || *slot < 0))
            return fail(std::string("agc: ") + argv[i - 1] + " takes a number of dB, 0 or more");
    }
    if (files.size() != 2) return fail("agc: need in.wav and out.wav (try 'xvosc agc --help')");
    std::vector<int16_t> x, y;
    int rate = 0;
    std::string error;
    if (!readMono(files[0], x, rate, error)) return fail("agc: " + error);
    if (!agc(x, float(target), float(maxGain), float(peak), y, error)) return fail("agc: " + error);
    if (!writeMono(files[1], y, rate, error)) return fail("agc: " + error);
    std::printf("%s: %.2f s at %d Hz, target -%.1f dBFS, max gain %.1f dB\n", files[1].c_str(),
                double(x.size()) / rate, rate, target, maxGain);
    std::printf("  active speech level %7.1f dBFS -> %7.1f dBFS\n", activeLevel(x, rate), activeLevel(y, rate));
    return 0;
}

/// Demo stage: the sample with white noise 15 dB below it, denoised at levels
/// 1..4 (noise in the pauses and speech level before and after), then a copy
/// 20 dB quieter through the level controller.
int demoVqe(const DemoContext& ctx) {
    const auto& s = ctx.speech;
    const size_t n = s.size();
    const double active = activeLevel(s, 8000);
    std::mt19937 g(11);
    std::normal_distribution<double> d(0.0, 32768.0 * std::pow(10.0, (active - 15.0) / 20.0));
    std::vector<int16_t> noisy(n), noise(n);
    for (size_t i = 0; i < n; ++i) {
        noise[i] = toPcm(static_cast<float>(d(g)));
        noisy[i] = toPcm(float(s[i]) + noise[i]);
    }
    // Pauses: 20 ms frames where the clean sample is 40 dB below its active level.
    const size_t frame = 160;
    auto pauseLevel = [&](const std::vector<int16_t>& x) {
        double e = 0;
        size_t m = 0;
        for (size_t f = 0; f + frame <= n; f += frame) {
            double c = 0, v = 0;
            for (size_t i = f; i < f + frame; ++i) c += double(s[i]) * s[i], v += double(x[i]) * x[i];
            if (dbfs(c / frame) < active - 40.0) e += v, m += frame;
        }
        return dbfs(m ? e / m : 0);
    };
    std::string error;
    if (!writeMono(ctx.dir + "/noisy.wav", noisy, 8000, error)) return fail("demo: " + error);
    std::printf("noise suppression (white noise 15 dB below the speech; noise in the pauses, speech level):\n");
    std::printf("  input          pauses %6.1f dBFS   speech %6.1f dBFS\n", pauseLevel(noisy), activeLevel(noisy, 8000));
    for (int level = 1; level <= 4; ++level) {
        std::vector<int16_t> y;
        if (!denoise(noisy, 8000, level, 1, y, error)) return fail("demo: " + error);
        const std::string name = "denoised_level" + std::to_string(level) + ".wav";
        if (!writeMono(ctx.dir + "/" + name, y, 8000, error)) return fail("demo: " + error);
        std::printf("  level %d        pauses %6.1f dBFS   speech %6.1f dBFS   %s\n", level, pauseLevel(y),
                    activeLevel(y, 8000), name.c_str());
    }
    std::vector<int16_t> quiet(n), y;
    for (size_t i = 0; i < n; ++i) quiet[i] = static_cast<int16_t>(s[i] / 10);
    if (!agc(quiet, 26.1f, 11.6f, 0.0f, y, error)) return fail("demo: " + error);
    if (!writeMono(ctx.dir + "/agc.wav", y, 8000, error)) return fail("demo: " + error);
    std::printf("level control (the sample 20 dB quieter; target -26.1 dBFS, max gain 11.6 dB):\n");
    std::printf("  active speech level %6.1f dBFS -> %6.1f dBFS   agc.wav\n", activeLevel(quiet, 8000),
                activeLevel(y, 8000));
    return 0;
}

}  // namespace xvotool
