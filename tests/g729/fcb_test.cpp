// G.729 algebraic codebook searches against the reference golden vectors,
// the SIMD twins against the scalar kernel, and the argument contract.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "g729/fcb.h"
#include "vectors.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::g729;
using xvotest::as;

namespace {

template <typename T>
std::vector<T> vec(std::span<const int64_t> s) { return as<T>(s); }

/// Replays a FixedCodebookSearch golden file; `Matrix` is the matrix word type.
template <typename Matrix, typename Fn>
void replaySearch(const char* file, Fn search, bool checkMatrix) {
    XVO_REQUIRE_VECTOR(path, std::string("golden/g729/") + file);
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 400u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        auto d = vec<Xvo16s>(g.in_(row, "corr"));
        auto m = vec<Matrix>(g.in_(row, "matrix"));
        Xvo16s extra = static_cast<Xvo16s>(g.in_(row, "extra")[0]);
        const auto sf = static_cast<Xvo16s>(g.in_(row, "subFrame")[0]);
        std::vector<Xvo16s> cod(40, 99);
        Xvo16s code[2] = {-1, -1};
        ASSERT_EQ(search(d.data(), m.data(), cod.data(), code, &extra, sf), g.out_(row, "status")[0]) << "line " << r;
        ASSERT_EQ(cod, vec<Xvo16s>(g.out_(row, "fixedVector"))) << "line " << r;
        ASSERT_EQ(code[0], g.out_(row, "code")[0]) << "line " << r;
        ASSERT_EQ(code[1], g.out_(row, "code")[1]) << "line " << r;
        ASSERT_EQ(extra, g.out_(row, "extra")[0]) << "line " << r;
        if (checkMatrix) {
            ASSERT_EQ(m, vec<Matrix>(g.out_(row, "matrix"))) << "line " << r;
        }
    }
}

TEST(G729FcbGolden, Search16s) {
    replaySearch<Xvo16s>("xvosFixedCodebookSearch_G729_16s.txt", xvosFixedCodebookSearch_G729_16s, true);
}

TEST(G729FcbGolden, Search32s16s) {
    // The matrix written back is the caller's business here (not in the golden).
    replaySearch<Xvo32s>("xvosFixedCodebookSearch_G729_32s16s.txt", xvosFixedCodebookSearch_G729_32s16s, false);
}

/// FNV-1a over 16-bit words (low byte first).
struct Fnv {
    uint64_t h = 0xcbf29ce484222325ull;
    void add(int16_t w) {
        for (int b : {w & 0xff, (w >> 8) & 0xff}) h = (h ^ uint64_t(b)) * 0x100000001b3ull;
    }
};

// The annex searches have no golden file: they run on the captured coder
// inputs of the G.729 golden file, and the outputs must hash to the value
// the ITU-T reference programs give on the same inputs (Annex A
// D4i40_17_fast: code vector, sign word, position word and folded matrix;
// the floating-point d4i40_17 in single precision: sign word, position word
// and the effort counter left).
TEST(G729FcbReference, AnnexASearchOnCapturedInputs) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosFixedCodebookSearch_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    Fnv h16, h32;
    for (const auto& row : g.rows) {
        const auto d = vec<Xvo16s>(g.in_(row, "corr"));
        auto m = vec<Xvo16s>(g.in_(row, "matrix"));
        std::vector<Xvo32s> m32(m.begin(), m.end());
        for (auto& v : m32) v *= 32768;
        Xvo16s cod[40], code[2], cod32[40], code32[2];
        ASSERT_EQ(xvosFixedCodebookSearch_G729A_16s(d.data(), m.data(), cod, code), xvoStsOk);
        ASSERT_EQ(xvosFixedCodebookSearch_G729A_32s16s(d.data(), m32.data(), cod32, code32), xvoStsOk);
        for (Xvo16s v : cod) h16.add(v);
        for (Xvo16s v : code) h16.add(v);
        for (Xvo16s v : m) h16.add(v);
        for (Xvo16s v : cod32) h32.add(v);
        for (Xvo16s v : code32) h32.add(v);
        for (Xvo32s v : m32) h32.add(static_cast<int16_t>(v));
    }
    EXPECT_EQ(h16.h, 0x52b2bfb6007145a9ull);
    EXPECT_EQ(h32.h, 0x52b2bfb6007145a9ull);
}

TEST(G729FcbReference, FloatSearchOnCapturedInputs) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosFixedCodebookSearch_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    Fnv h;
    int agreeA = 0;
    for (const auto& row : g.rows) {
        const auto d16 = vec<Xvo16s>(g.in_(row, "corr"));
        auto m16 = vec<Xvo16s>(g.in_(row, "matrix"));
        std::vector<float> d(d16.begin(), d16.end()), m(m16.begin(), m16.end()), mA = m;
        Xvo16s extra = static_cast<Xvo16s>(g.in_(row, "extra")[0]);
        float cod[40];
        Xvo16s code[2], codeA[2], cod16[40], code16[2];
        ASSERT_EQ(xvosFixedCodebookSearch_G729_32f(d.data(), m.data(), cod, code, &extra,
                                                   static_cast<Xvo16s>(g.in_(row, "subFrame")[0])), xvoStsOk);
        h.add(code[0]), h.add(code[1]), h.add(extra);
        // The float Annex A search mostly agrees with the fixed-point one.
        ASSERT_EQ(xvosFixedCodebookSearch_G729A_32f(d.data(), mA.data(), cod, codeA), xvoStsOk);
        ASSERT_EQ(xvosFixedCodebookSearch_G729A_16s(d16.data(), m16.data(), cod16, code16), xvoStsOk);
        agreeA += codeA[0] == code16[0] && codeA[1] == code16[1];
    }
    EXPECT_EQ(h.h, 0x96dfeec0c8e5e302ull);
    EXPECT_GT(agreeA, static_cast<int>(g.rows.size() * 9 / 10));
}

/// Deterministic generator shared with the script that ran the reference.
struct Lcg {
    uint32_t s;
    int next(int lo, int hi) {
        s = s * 1664525u + 1013904223u;
        return lo + static_cast<int>((s >> 8) % static_cast<uint32_t>(hi - lo + 1));
    }
    /// A decaying random impulse response.
    void impulse(int16_t* h) {
        for (int n = 0; n < 40; ++n) {
            const int c = next(0, 1);
            h[n] = static_cast<int16_t>(c ? (next(-4096, 4096) * (40 - n)) >> 5 : next(-600, 600));
        }
    }
};

// Annex D: the captured d of the G.729 golden file with generated impulse
// responses; the hash is that of the reference D2i40_11 (after Cor_h_D)
// over code vector, sign word and position word.
TEST(G729FcbReference, AnnexDSearch) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosFixedCodebookSearch_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    Lcg lcg{729};
    Fnv hash;
    int agreeF = 0;
    for (const auto& row : g.rows) {
        const auto d = vec<Xvo16s>(g.in_(row, "corr"));
        int16_t h[40], cod[40], code[2], codeF[2];
        lcg.impulse(h);
        ASSERT_EQ(xvosFixedCodebookSearch_G729D_16s(d.data(), h, cod, code), xvoStsOk);
        for (int16_t v : cod) hash.add(v);
        hash.add(code[0]), hash.add(code[1]);
        float df[40], hf[40], codf[40];
        for (int n = 0; n < 40; ++n) df[n] = d[n], hf[n] = h[n] / 4096.0f;
        ASSERT_EQ(xvosFixedCodebookSearch_G729D_32f(df, hf, codf, codeF), xvoStsOk);
        agreeF += codeF[0] == code[0] && codeF[1] == code[1];
    }
    EXPECT_EQ(hash.h, 0x4c035ca27fa8104eull);
    EXPECT_GT(agreeF, static_cast<int>(g.rows.size() * 9 / 10));
}

// Annex E: generated targets, residuals and impulse responses; the hashes
// are those of the reference ACELP_10i40_35bits (code vector, filtered
// vector, 5 indices) and of its floating-point twin (indices and code vector).
TEST(G729FcbReference, AnnexESearch) {
    Lcg lcg{7297};
    Fnv h16, hf;
    for (int r = 0; r < 300; ++r) {
        int16_t h[40], x[40], cn[40];
        lcg.impulse(h);
        const int amp = std::array<int, 4>{100, 1000, 5000, 20000}[lcg.next(0, 3)];
        for (auto& v : x) v = static_cast<int16_t>(lcg.next(-amp, amp));
        for (int i = 0; i < 40; ++i) cn[i] = static_cast<int16_t>(std::clamp(x[i] + lcg.next(-amp / 2, amp / 2), -32768, 32767));
        int16_t code[40], y[40], idx[5];
        ASSERT_EQ(xvosFixedCodebookSearch_G729E_16s(x, cn, h, code, y, idx), xvoStsOk);
        for (int16_t v : code) h16.add(v);
        for (int16_t v : y) h16.add(v);
        for (int16_t v : idx) h16.add(v);
        float xf[40], cf[40], hf2[40], codef[40], yf[40];
        for (int i = 0; i < 40; ++i) xf[i] = x[i], cf[i] = cn[i], hf2[i] = h[i] / 4096.0f;
        ASSERT_EQ(xvosFixedCodebookSearch_G729E_32f(xf, cf, hf2, codef, yf, idx), xvoStsOk);
        for (int16_t v : idx) hf.add(v);
        for (float v : codef) hf.add(static_cast<int16_t>(v));
    }
    EXPECT_EQ(h16.h, 0x22d618148bf7e0b9ull);
    EXPECT_EQ(hf.h, 0x4e863a55b2b2d4efull);
}

/// Entry (p, q) straight from its definition: the doubled sum over
/// k <= 39 - max(p, q) of h[k] h[k + |p - q|], on the scaled h.
int64_t directEntry(const int16_t* h, int p, int q) {
    int64_t s = 0;
    for (int k = 0; k + std::max(p, q) < 40; ++k) s += 2 * int64_t(h[k]) * h[k + std::abs(p - q)];
    return s;
}

/// Position pair of packed index idx, read from the documented layout.
std::pair<int, int> positionsOf(int idx) {
    if (idx < 40) return {5 * (idx % 8) + idx / 8, 5 * (idx % 8) + idx / 8};
    static const int pairs[9][2] = {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2}, {1, 3}, {1, 4}, {2, 3}, {2, 4}};
    const int b = (idx - 40) / 64, mn = (idx - 40) % 64;
    return {5 * (mn / 8) + pairs[b][0], 5 * (mn % 8) + pairs[b][1]};
}

TEST(G729Toepliz, FormsAgreeWithTheDefinitionOnTheLayout) {
    std::mt19937 rng(40);
    for (int it = 0; it < 50; ++it) {
        int16_t H[40], h[40], m16[kMatrixSize];
        Xvo32s m32[kMatrixSize];
        float hf[40], mf[kMatrixSize];
        const double decay = 0.6 + 0.35 * (it % 8) / 8.0, amp = it < 5 ? 30000.0 : 500.0 + 400.0 * it;
        for (int n = 0; n < 40; ++n) {
            H[n] = static_cast<int16_t>(std::lround(amp * std::pow(decay, n) * std::cos(0.3 * n + it)));
            hf[n] = H[n] / 4096.0f;
        }
        ASSERT_EQ(xvosToeplizMatrix_G729_16s(H, m16), xvoStsOk);
        ASSERT_EQ(xvosToeplizMatrix_G729_16s32s(H, m32), xvoStsOk);
        ASSERT_EQ(xvosToeplizMatrix_G729_32f(hf, mf), xvoStsOk);
        // Scaling: halve when the energy's high half exceeds 32000, else shift
        // left by half its normalisation count.
        int64_t e = 0;
        for (int16_t v : H) e += 2 * int64_t(v) * v;
        const int32_t e32 = static_cast<int32_t>(std::min<int64_t>(e, INT32_MAX));
        const int k = (e32 >> 16) > 32000 ? -1 : (e32 == 0 ? 0 : __builtin_clz(static_cast<uint32_t>(e32)) - 1) / 2;
        for (int n = 0; n < 40; ++n) h[n] = static_cast<int16_t>(k < 0 ? H[n] >> 1 : H[n] * (1 << k));
        for (int idx = 0; idx < kMatrixSize; ++idx) {
            const auto [p, q] = positionsOf(idx);
            const int64_t s = directEntry(h, p, q);
            ASSERT_EQ(m16[idx], s >> 16) << "entry " << idx;
            ASSERT_EQ(m32[idx], s >> 1) << "entry " << idx;
            ASSERT_EQ(m32[idx] >> 15, m16[idx]);
            ASSERT_NEAR(mf[idx], directEntry(H, p, q) / (2.0 * 4096 * 4096), 1e-4) << "entry " << idx;
        }
    }
    // A full-scale response: the halved h still overflows the sums, which
    // saturate step by step as the reference's L_mac does.
    {
        int16_t H[40], m16[kMatrixSize];
        for (int n = 0; n < 40; ++n) H[n] = static_cast<int16_t>(n % 3 == 2 ? -32768 : 32767);
        ASSERT_EQ(xvosToeplizMatrix_G729_16s(H, m16), xvoStsOk);
        for (int idx = 0; idx < kMatrixSize; ++idx) {
            const auto [p, q] = positionsOf(idx);
            int64_t s = 0;
            for (int k = 0; k + std::max(p, q) < 40; ++k)
                s = std::clamp<int64_t>(s + 2 * int64_t(H[k] >> 1) * (H[k + std::abs(p - q)] >> 1), INT32_MIN, INT32_MAX);
            ASSERT_EQ(m16[idx], s >> 16) << "entry " << idx;
        }
    }
    int16_t delta[40] = {4096}, m[kMatrixSize];
    ASSERT_EQ(xvosToeplizMatrix_G729_16s(delta, m), xvoStsOk);  // h[0] becomes 16384
    for (int idx = 0; idx < kMatrixSize; ++idx) EXPECT_EQ(m[idx], idx < 40 ? 8192 : 0) << idx;
}

TEST(G729Fcb, SimdTwinsPickWhatTheScalarKernelPicks) {
    std::mt19937 rng(7291);
    auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (OwnCpuLevel level : {OwnCpuLevel::SSE41, OwnCpuLevel::AVX2}) {
        if (!ownCpuSupports(level)) continue;
        const OwnFcbNestedFn twin = ownFcbNestedFor(level);
        ASSERT_NE(twin, nullptr);
        for (int it = 0; it < 3000; ++it) {
            int16_t d[40], rr[kMatrixSize];
            const int kind = it % 4;  // random, small, saturating extremes, zero
            for (auto& v : d) v = static_cast<int16_t>(kind == 2 ? 32767 : kind == 3 ? 0 : uni(0, kind == 1 ? 2000 : 32767));
            for (auto& v : rr)
                v = static_cast<int16_t>(kind == 2 ? (uni(0, 1) ? 32767 : -32768) : uni(kind == 1 ? -3000 : -32768, kind == 1 ? 3000 : 32767));
            const auto thres = static_cast<int16_t>(uni(-1, 32767) >> uni(0, 3));
            const auto time = static_cast<int16_t>(uni(-2, 200));
            const OwnFcbPick want = ownFcbNested_G729_scalar(d, rr, thres, time);
            const OwnFcbPick got = twin(d, rr, thres, time);
            ASSERT_EQ(got.time, want.time) << ownCpuLevelName(level) << " case " << it;
            for (int k = 0; k < 4; ++k) ASSERT_EQ(got.pos[k], want.pos[k]) << ownCpuLevelName(level) << " case " << it;
        }
    }
}

}  // namespace
