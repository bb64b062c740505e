// Constant tables of the G.726 codec: per-rate quantiser decision levels and
// codes, scale-factor multipliers W, speed-control function F, reconstruction
// levels DQLN (G.726 Tables 1-4 and 6-9), and the G.711 tables that the
// decoder's synchronous coding adjustment needs. Lookup tables derived from
// them are built at compile time.
#pragma once

#include <array>
#include <cstdint>

namespace xvo::g726 {

inline constexpr int kRates = 4;                    // rate index 0..3 = 16, 24, 32, 40 kbit/s
inline constexpr int kBits[kRates] = {2, 3, 4, 5};  // bits per code

// ---------------------------------------------------------------------------
// Quantiser: descending decision levels on the log scale dln (G.726 Tables 1-4,
// with a leading 2048 that no dln reaches and one extra level 0 that gives the
// same code as the interval below it). The position of a dln is the number of
// levels above it (1..count); it selects the code for a non-negative and for a
// negative difference.
// ---------------------------------------------------------------------------
struct Quantiser {
    int count;               // levels including the leading 2048
    int16_t level[17];
    uint8_t codePos[17];     // code for position 1..count (index position-1), d >= 0
    uint8_t codeNeg[17];     // the same for d < 0
};

inline constexpr Quantiser kQuantiser[kRates] = {
    {3, {2048, 261, 0}, {1, 0, 0}, {2, 3, 3}},
    {5, {2048, 331, 218, 8, 0}, {3, 2, 1, 7, 7}, {4, 5, 6, 7, 7}},
    {9, {2048, 400, 349, 300, 246, 178, 80, 0, -124}, {7, 6, 5, 4, 3, 2, 1, 1, 15},
     {8, 9, 10, 11, 12, 13, 14, 14, 15}},
    {17, {2048, 553, 528, 502, 475, 445, 413, 378, 339, 298, 250, 198, 139, 68, 0, -16, -122},
     {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 2, 1, 31},
     {16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 29, 30, 31}},
};

// Every decision level lies in [kDlnMin, kDlnMax]: a dln is clamped into that
// range before the lookup without changing its code.
inline constexpr int kDlnMin = -128;
inline constexpr int kDlnMax = 639;
inline constexpr int kDlnSpan = kDlnMax - kDlnMin + 1;

/// Code of a clamped dln per rate and sign: [rate][sign][dln - kDlnMin].
struct QuantTable {
    uint8_t code[kRates][2][kDlnSpan];
};

constexpr QuantTable makeQuantTable() {
    QuantTable t{};
    for (int r = 0; r < kRates; ++r) {
        const Quantiser& q = kQuantiser[r];
        for (int v = kDlnMin; v <= kDlnMax; ++v) {
            int pos = 0;
            while (pos < q.count && q.level[pos] > v) ++pos;  // levels above v
            t.code[r][0][v - kDlnMin] = q.codePos[pos - 1];
            t.code[r][1][v - kDlnMin] = q.codeNeg[pos - 1];
        }
    }
    return t;
}
inline constexpr QuantTable kQuantTable = makeQuantTable();

// ---------------------------------------------------------------------------
// Per-code adaptation values (G.726 Tables 6-9, in the scale the recursion uses:
// W times 32, F times 512, DQLN as a signed 12-bit log). The first half lists
// codes 0..2^(bits-1)-1; the second half mirrors it.
// ---------------------------------------------------------------------------
inline constexpr int32_t kW16[2] = {-704, 14048};
inline constexpr int32_t kW24[4] = {-128, 960, 4384, 18624};
inline constexpr int32_t kW32[8] = {-384, 576, 1312, 2048, 3584, 6336, 11360, 35904};
inline constexpr int32_t kW40[16] = {448,  448,  768,  1248,  1280,  1312,  1856,  3200,
                                     4512, 5728, 7008, 8960, 11456, 14080, 16928, 22272};

inline constexpr int16_t kF16[2] = {0, 3584};
inline constexpr int16_t kF24[4] = {0, 512, 1024, 3584};
inline constexpr int16_t kF32[8] = {0, 0, 0, 512, 512, 512, 1536, 3584};
inline constexpr int16_t kF40[16] = {0, 0, 0, 0, 0, 512, 512, 512, 512, 512, 1024, 1536, 2048, 2560, 3072, 3072};

inline constexpr int16_t kDqln16[2] = {116, 365};
inline constexpr int16_t kDqln24[4] = {-2048, 135, 273, 373};
inline constexpr int16_t kDqln32[8] = {-2048, 4, 135, 213, 273, 323, 373, 425};
inline constexpr int16_t kDqln40[16] = {-2048, -66, 28, 104, 169, 224, 274, 318,
                                        358,   395, 429, 459, 488, 514, 539, 566};

/// Everything the recursion needs about one received code.
struct CodeInfo {
    int32_t w;     // scale-factor multiplier, times 32
    int16_t f;     // speed-control function, times 512
    int16_t dqln;  // log of the reconstructed magnitude
    int16_t step;  // step of b(k) when dq(k) is not negative: 0 when dq is 0
                   // (dqln -2048), else +128 for a non-negative code, -128 for a negative one
    int16_t pad;
};

struct CodeTable {
    CodeInfo code[kRates][32];  // codes past 2^bits repeat entry 0 (never used)
    alignas(16) int16_t stepLanes[kRates][32][8];  // the step of each code in eight lanes
};

constexpr CodeTable makeCodeTable() {
    CodeTable t{};
    const int32_t* w[kRates] = {kW16, kW24, kW32, kW40};
    const int16_t* f[kRates] = {kF16, kF24, kF32, kF40};
    const int16_t* l[kRates] = {kDqln16, kDqln24, kDqln32, kDqln40};
    for (int r = 0; r < kRates; ++r) {
        const int half = 1 << (kBits[r] - 1);
        for (int c = 0; c < 32; ++c) {
            const int code = c < 2 * half ? c : 0;
            const int m = code < half ? code : 2 * half - 1 - code;  // mirrored half
            const int16_t step = l[r][m] == -2048 ? 0 : (code < half ? 128 : -128);
            t.code[r][c] = {w[r][m], f[r][m], l[r][m], step, 0};
            for (auto& lane : t.stepLanes[r][c]) lane = step;
        }
    }
    return t;
}
inline constexpr CodeTable kCodeTable = makeCodeTable();

// ---------------------------------------------------------------------------
// Inverse quantiser (G.726 ANTILOG) and the 11-bit floating format (FLOATA).
// ---------------------------------------------------------------------------

// Internal linkage: every kernel compiles its own copy for its instruction set.
namespace {

/// Number of significant bits of x (0 for 0), without a branch: the index of
/// the top bit of 2x + 1.
constexpr int bitLength(uint32_t x) { return 63 - __builtin_clzll(2 * static_cast<uint64_t>(x) + 1); }

/// Magnitude of dq from its log dql (G.726 ANTILOG; negative logs give 0).
constexpr int antilog(int dql) {
    return dql < 0 ? 0 : (((dql & 127) + 128) << 7) >> (14 - ((dql >> 7) & 15));
}

/// 11-bit floating form of a magnitude 0..32767 (G.726 FLOATA / FLOATB):
/// exponent = bit length, 6-bit mantissa with its leading one; 0 is 0 << 6 | 32.
constexpr int toFloat(int mag) {
    const int e = bitLength(static_cast<uint32_t>(mag));
    return (e << 6) | (mag ? (mag << 6) >> e : 32);
}

}  // namespace

/// dql reaches at most 566 + 5120/4 = 1846 (exponent 14); every negative dql
/// acts as -1.
inline constexpr int kDqlMax = 1919;

/// Per dql + 1 (0 for any negative dql): the magnitude of dq in the low 16
/// bits and its floating form in the high 16 bits.
constexpr std::array<uint32_t, kDqlMax + 2> makeDqTable() {
    std::array<uint32_t, kDqlMax + 2> t{};
    for (int i = 0; i <= kDqlMax + 1; ++i) {
        const int mag = antilog(i - 1);
        t[i] = static_cast<uint32_t>(mag) | static_cast<uint32_t>(toFloat(mag)) << 16;
    }
    return t;
}
inline constexpr auto kDqTable = makeDqTable();

/// Transition detector threshold (G.726 TRANS) per yl >> 10: with t the
/// integer part of yl (Q15 of the log scale) and f its top 5 fraction bits,
/// thr = (f + 32) << t, or 31744 when t exceeds 9, and dq must exceed
/// (thr + thr/2) / 2. yl stays below 64 * 5120 = 327680.
constexpr std::array<int16_t, 512> makeTransitionTable() {
    std::array<int16_t, 512> t{};
    for (int i = 0; i < 512; ++i) {
        const int ylint = i >> 5;
        const int thr = ylint > 9 ? 31744 : ((i & 31) + 32) << ylint;
        t[i] = static_cast<int16_t>((thr + (thr >> 1)) >> 1);
    }
    return t;
}
inline constexpr auto kTransitionThreshold = makeTransitionTable();

/// Floating form of every 13-bit magnitude: the normalisation of a predictor
/// coefficient in G.726 FMULT, as one lookup.
constexpr std::array<uint16_t, 8192> makeMagFloatTable() {
    std::array<uint16_t, 8192> t{};
    for (int m = 0; m < 8192; ++m) t[m] = static_cast<uint16_t>(toFloat(m));
    return t;
}
inline constexpr auto kMagFloat = makeMagFloatTable();

// ---------------------------------------------------------------------------
// G.711 (ITU-T G.711 Tables 1 and 2): expansion of every byte to 16-bit
// linear, per law (0 = mu-law, 1 = A-law).
// ---------------------------------------------------------------------------
constexpr int16_t expandMuLaw(int byte) {
    const int u = ~byte & 0xff;
    const int t = (((u & 0x0f) << 3) + 0x84) << ((u & 0x70) >> 4);
    return static_cast<int16_t>((u & 0x80) ? 0x84 - t : t - 0x84);
}

constexpr int16_t expandALaw(int byte) {
    const int a = byte ^ 0x55;
    const int seg = (a & 0x70) >> 4;
    int t = ((a & 0x0f) << 4) + 8;
    if (seg >= 1) t = (t + 0x100) << (seg - 1);
    return static_cast<int16_t>((a & 0x80) ? t : -t);
}

constexpr std::array<std::array<int16_t, 256>, 2> makeExpandTable() {
    std::array<std::array<int16_t, 256>, 2> t{};
    for (int b = 0; b < 256; ++b) {
        t[0][b] = expandMuLaw(b);
        t[1][b] = expandALaw(b);
    }
    return t;
}
/// 16-bit linear value of each G.711 byte: [law][byte].
inline constexpr auto kG711Expand = makeExpandTable();

// ---------------------------------------------------------------------------
// Synchronous coding adjustment (G.726 4.2.8): the G.711 byte one step below
// and one step above a byte in signal value, per law. At the ends of the
// range a byte stays. For mu-law, a step down from +0 skips -0; for A-law the
// step is taken on the byte with its even bits restored (XOR 0x55).
// ---------------------------------------------------------------------------
struct StepTable {
    uint8_t down[2][256];
    uint8_t up[2][256];
};

constexpr StepTable makeStepTable() {
    StepTable t{};
    for (int b = 0; b < 256; ++b) {
        // mu-law: bit 7 set for non-negative values; the low 7 bits are the
        // complemented magnitude.
        const int us = b >> 7, um = b & 127;
        int dn = b, upv = b;
        if (us) dn = um == 127 ? 126 : b + 1;      // +0 steps to the -1 level
        else dn = um ? b - 1 : b;                  // more negative until the end
        if (us) upv = um ? b - 1 : b;              // larger positive until the end
        else upv = um == 127 ? 0xff : b + 1;       // -0 steps to +0
        t.down[0][b] = static_cast<uint8_t>(dn);
        t.up[0][b] = static_cast<uint8_t>(upv);

        // A-law with even bits restored: bit 7 set for positive values, low 7
        // bits the magnitude.
        const int a = b ^ 0x55, as = a >> 7, am = a & 127;
        int adn, aup;
        if (as) adn = am ? a - 1 : 0x00;           // +smallest steps to -smallest
        else adn = am != 127 ? a + 1 : a;
        if (as) aup = am != 127 ? a + 1 : a;
        else aup = am ? a - 1 : 0x80;              // -smallest steps to +smallest
        t.down[1][b] = static_cast<uint8_t>(adn ^ 0x55);
        t.up[1][b] = static_cast<uint8_t>(aup ^ 0x55);
    }
    return t;
}
inline constexpr StepTable kStepTable = makeStepTable();

}  // namespace xvo::g726
