// The level controller against a second, deliberately plain transcription of
// its thirteen per-block steps, written apart from vqe/alc.cpp. Built with
// -ffp-contract=off (tests/vqe/extra.cmake), like the library's own object,
// so that both evaluate every float expression as written.
//
// Input: the G.729 conformance speech (real talk with pauses) scaled to -30,
// -20 and -10 dBFS, run with four settings and five call patterns. Every
// output sample and every state byte must agree; three runs are also pinned
// to output hashes computed once from the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "vectors.h"
#include "xvosc.h"

namespace {

struct Model {
    float T = 1623.4912f, P = 32767.0f, noiseMin = 4.125246f, noiseMax = 65.38f, G = 3.8018899f;
    float rateMinActive = 0.02f, rateMin = 0.0033333f, holdBlocks = 200.0f, gainStep = 0.01f;
    int quiet = 200, spurts = 0, loud = 0, inSpurt = 0;
    float mean = 0, s = 0, p = 0, speechPeak = 0, N = 65.38f, N4 = 65.38f, slow = 32767.0f, bpow = 0, power = 0;
    float rate = 0.1f, amp = 0, corr = 0.7f, gain = 0.03125f, step = 0, a = 0, k = 1.0f, bpeak = 0;
    float savedPower = 0, savedGain = 0.03125f, savedRate = 0.1f;

    static int inc(int c) { return std::min(c + 1, 16383); }

    void block(const int16_t* x, int16_t* y) {
        float sumAbs = 0, sumSq = 0, pk = 0;
        for (int i = 0; i < 8; ++i) {
            const float v = static_cast<float>(x[i]);
            sumAbs = sumAbs + std::fabs(v);
            pk = std::max(pk, std::fabs(v));
        }
        mean = sumAbs * 0.125f;                                    // step 1
        s = 0.8f * mean + 0.2f * s;
        p = std::max(s, 0.99f * p);
        const float al = s < N ? 0.9f : s < 2.0f * N ? 0.99f : 1.0f;  // step 2
        const float be = s < N ? 0.1f : s < 2.0f * N ? 0.01f : 0.0f;
        const float n1 = std::max(al * N + be * s, noiseMin);
        float c = spurts >= 1 ? 1456.7665f * amp : 0.0f;
        if (spurts == 1 && (loud < 501 || rate >= 0.0025f)) c = 0.0f;
        N = std::min(std::max(n1, c), noiseMax);
        N4 = 4.0f * N;
        slow = s >= slow ? std::max(0.99f * slow + 0.01f * s, N) : std::max(0.7f * slow + 0.3f * s, N);  // step 3
        if (N4 < mean) loud = inc(loud);                           // step 4
        if (p > N4) {                                              // step 5
            quiet = 0;
            if (!inSpurt) {
                savedRate = rate, savedPower = power, savedGain = gain;
                inSpurt = 1, spurts = inc(spurts), corr = 0.7f;
            }
        } else if (inSpurt) {
            quiet = inc(quiet);
            if (static_cast<float>(quiet) == holdBlocks) {
                inSpurt = 0;
                if (loud < 50) rate = savedRate, power = savedPower, gain = savedGain, --spurts;
            }
        }
        if (!inSpurt) loud = 0;
        if (spurts == 1)                                           // step 6
            step = loud < 10 ? 0.0f : loud >= 500 ? gainStep : (s >= 3.0f * N ? gainStep : 0.0f);
        else
            step = gainStep;
        if (!inSpurt)                                              // step 7
            speechPeak = spurts == 0 ? p : amp;
        else if (p > speechPeak)
            speechPeak = p;
        else if (p > N4)
            speechPeak = 0.999f * speechPeak + 0.001f * p;
        for (int i = 0; i < 8; ++i) sumSq = sumSq + static_cast<float>(x[i]) * static_cast<float>(x[i]);
        bpow = sumSq * 0.125f;                                     // step 8
        float r;                                                   // step 9
        if (!inSpurt) {
            r = spurts == 0 ? 0.1f : std::max(rateMinActive, rate);
        } else {
            r = rate;
            if (spurts == 1 && loud < 500 && power < 0.1f * bpow) r = std::max(0.05f, rate);
            if (s >= N4 && (mean >= N4 || loud > 19)) power = power + (bpow - power) * (r - r * r);
            if (s < N4 && loud < 500) corr = 0.7f;
        }
        rate = std::max(rateMin, r);
        amp = std::sqrt(power) * corr;                             // step 10
        if (loud < 500) corr = std::min(corr * 1.000461f, 0.89f);
        if (inSpurt) {                                             // step 11
            float t = G;
            if (T <= amp * G) t = T / amp;
            else if (T <= G * speechPeak) t = T / speechPeak;
            gain = std::min(gain + step * t, t);
        }
        a = std::min(a + (gain - a) * k, gain);                    // step 12
        bpeak = pk;
        if (bpeak * a > P) a = P / bpeak, k = 0.001f;
        else k = std::min(1.1f * k, 1.0f);
        for (int i = 0; i < 8; ++i) {                              // step 13
            const float v = std::clamp(a * static_cast<float>(x[i]), -32768.0f, 32767.0f);
            y[i] = static_cast<int16_t>(static_cast<int>(v));
        }
    }
};

struct Setting {
    float maxGainDb, targetDb, peakDb;  // negative: keep the default
};
constexpr Setting kSettings[] = {{-1, -1, -1}, {-1, 20.0f, 3.0f}, {6.0f, -1, -1}, {20.0f, 16.0f, 1.0f}};
enum Pattern { kOneCall, kBlock8, kCall80, kCall160InPlace, kVarying };

uint64_t fnv(const std::vector<int16_t>& v) {
    uint64_t h = 1469598103934665603ull;
    for (int16_t x : v) h = (h ^ static_cast<uint16_t>(x)) * 1099511628211ull;
    return h;
}

std::vector<int16_t> speechAt(const std::vector<int16_t>& raw, double dbfs) {
    double e = 0;
    for (int16_t x : raw) e += double(x) * x;
    const double g = 32768.0 * std::pow(10.0, dbfs / 20.0) / std::sqrt(e / raw.size());
    std::vector<int16_t> y(raw.size() / 8 * 8);
    for (size_t i = 0; i < y.size(); ++i) y[i] = static_cast<int16_t>(std::clamp(std::lround(g * raw[i]), -32768l, 32767l));
    return y;
}

// Runs the library in the given call pattern; returns the output, leaves the state in mem.
std::vector<int16_t> runLibrary(const std::vector<int16_t>& x, const Setting& st, Pattern pat, unsigned char* mem) {
    auto* s = reinterpret_cast<XvoALCState_G169_16s*>(mem);
    EXPECT_EQ(xvosALCInit_G169_16s(s), xvoStsOk);
    if (st.maxGainDb >= 0) {
        EXPECT_EQ(xvosALCSetGain_G169_16s(st.maxGainDb, s), xvoStsOk);
    }
    if (st.targetDb >= 0) {
        EXPECT_EQ(xvosALCSetLevel_G169_16s(st.targetDb, st.peakDb, s), xvoStsOk);
    }
    std::vector<int16_t> y(x.size());
    if (pat == kCall160InPlace) y = x;
    uint32_t lcg = 12345;
    for (size_t i = 0; i < x.size();) {
        size_t n = pat == kOneCall ? x.size() : pat == kBlock8 ? 8 : pat == kCall80 ? 80 : 160;
        if (pat == kVarying) lcg = lcg * 1664525u + 1013904223u, n = 8 * (1 + (lcg >> 24) % 100);
        n = std::min(n, x.size() - i);
        const int16_t* src = pat == kCall160InPlace ? y.data() + i : x.data() + i;
        EXPECT_EQ(xvosALC_G169_16s(src, y.data() + i, static_cast<int>(n), s), xvoStsOk);
        i += n;
    }
    return y;
}

Model modelFor(const Setting& st) {
    Model m;
    if (st.maxGainDb >= 0) m.G = static_cast<float>(std::pow(10.0, double(st.maxGainDb) / 20.0));
    if (st.targetDb >= 0) {
        m.T = static_cast<float>(32768.0 / std::pow(10.0, double(st.targetDb) / 20.0));
        m.P = static_cast<float>(32768.0 / std::pow(10.0, double(st.peakDb) / 20.0));
    }
    return m;
}

float fieldAt(const unsigned char* mem, int off) {
    float v;
    std::memcpy(&v, mem + off, 4);
    return v;
}

}  // namespace

TEST(ALCModel, EqualsAnIndependentTranscriptionOnSpeech) {
    XVO_REQUIRE_VECTOR(path, "conformance/g729/g729/SPEECH.IN");
    const auto raw = xvotest::readWords16(path);
    // Output hashes of the model, one call, default settings, at -30/-20/-10 dBFS.
    const uint64_t pinned[] = {0x7e4e74a0d132eed8ull, 0xa4f65da9a1b18018ull, 0x5ddec28da20f1000ull};
    int li = 0;
    for (double db : {-30.0, -20.0, -10.0}) {
        const auto x = speechAt(raw, db);
        for (size_t si = 0; si < std::size(kSettings); ++si) {
            Model m = modelFor(kSettings[si]);
            std::vector<int16_t> want(x.size());
            for (size_t i = 0; i < x.size(); i += 8) m.block(x.data() + i, want.data() + i);
            if (si == 0) {
                EXPECT_EQ(fnv(want), pinned[li]) << std::hex << fnv(want) << " at " << db << " dB";
            }
            for (Pattern pat : {kOneCall, kBlock8, kCall80, kCall160InPlace, kVarying}) {
                alignas(8) unsigned char mem[124];
                const auto got = runLibrary(x, kSettings[si], pat, mem);
                const auto bad = std::mismatch(got.begin(), got.end(), want.begin());
                ASSERT_TRUE(bad.first == got.end()) << db << " dB, setting " << si << ", pattern " << pat
                                                    << ": first difference at sample " << (bad.first - got.begin());
                // Both recursions must also end in the same place.
                const float fields[] = {m.N, m.power, m.rate, m.amp, m.corr, m.gain, m.a, m.k, m.speechPeak};
                const int offs[] = {60, 76, 80, 84, 88, 92, 100, 104, 56};
                for (size_t f = 0; f < std::size(offs); ++f) ASSERT_EQ(fieldAt(mem, offs[f]), fields[f]) << offs[f];
            }
        }
        ++li;
    }
}

// The rate carried between blocks is the rate itself, not the power update's
// multiplier: over real talk at every level it stays at its start value 0.1
// while the speech power is being tracked.
TEST(ALCModel, RateStaysAtItsStartValueThroughTalkSpurts) {
    XVO_REQUIRE_VECTOR(path, "conformance/g729/g729/SPEECH.IN");
    const auto raw = xvotest::readWords16(path);
    for (double db : {-30.0, -20.0, -10.0}) {
        const auto x = speechAt(raw, db);
        alignas(8) unsigned char mem[124];
        auto* s = reinterpret_cast<XvoALCState_G169_16s*>(mem);
        ASSERT_EQ(xvosALCInit_G169_16s(s), xvoStsOk);
        std::vector<int16_t> y(160);
        int inSpurtCalls = 0;
        for (size_t i = 0; i + 160 <= x.size(); i += 160) {
            ASSERT_EQ(xvosALC_G169_16s(x.data() + i, y.data(), 160, s), xvoStsOk);
            ASSERT_EQ(fieldAt(mem, 80), 0.1f) << "call " << i / 160;
            int16_t flag;
            std::memcpy(&flag, mem + 42, 2);
            inSpurtCalls += flag;
        }
        EXPECT_GT(inSpurtCalls, 500) << db;       // long talk spurts were seen
        EXPECT_GT(fieldAt(mem, 76), 0.0f) << db;  // and the power followed them
    }
}
