// Fixed-point basic operators with the semantics of the ITU-T / ETSI basic
// operator set (basic_op.c / basicop2.c), written without undefined
// behaviour: every intermediate is formed in a wider type, and conversions
// back to the narrow type only happen on values that fit.
//
// Conventions:
//  - 16-bit operators take and return int16_t, 32-bit ("L_") int32_t.
//  - Saturating operators have an overload with a trailing `bool& ovf` that
//    is set (never cleared) when saturation happens, mirroring the reference
//    programs' global Overflow flag for the few algorithms that test it.
//  - Operators whose wrap-around is intended carry the suffix `_wrap`.
//  - Right shifts of negative values are arithmetic (towards minus infinity).
#pragma once

#include <cstdint>

namespace xvo::fx {

inline constexpr int16_t MAX_16 = 32767;
inline constexpr int16_t MIN_16 = -32768;
inline constexpr int32_t MAX_32 = 2147483647;
inline constexpr int32_t MIN_32 = -2147483647 - 1;

// ---- saturation of wide intermediates --------------------------------------

constexpr int16_t sat16(int32_t x, bool& ovf) {
    if (x > MAX_16) { ovf = true; return MAX_16; }
    if (x < MIN_16) { ovf = true; return MIN_16; }
    return static_cast<int16_t>(x);
}
constexpr int16_t sat16(int32_t x) { bool o = false; return sat16(x, o); }

constexpr int32_t sat32(int64_t x, bool& ovf) {
    if (x > MAX_32) { ovf = true; return MAX_32; }
    if (x < MIN_32) { ovf = true; return MIN_32; }
    return static_cast<int32_t>(x);
}
constexpr int32_t sat32(int64_t x) { bool o = false; return sat32(x, o); }

// ---- deliberate wrap-around (two's complement truncation) -------------------

constexpr int16_t wrap16(int32_t x) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(x))); }
constexpr int32_t wrap32(int64_t x) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(x))); }
constexpr int16_t add_wrap(int16_t a, int16_t b) { return wrap16(int32_t(a) + b); }
constexpr int16_t sub_wrap(int16_t a, int16_t b) { return wrap16(int32_t(a) - b); }
constexpr int32_t L_add_wrap(int32_t a, int32_t b) { return wrap32(int64_t(a) + b); }
constexpr int32_t L_sub_wrap(int32_t a, int32_t b) { return wrap32(int64_t(a) - b); }
/// a*b*2 accumulated without saturation (as reference code built with wrapping arithmetic).
constexpr int32_t L_mac_wrap(int32_t acc, int16_t a, int16_t b) { return wrap32(int64_t(acc) + 2 * int64_t(int32_t(a) * b)); }
constexpr int32_t L_msu_wrap(int32_t acc, int16_t a, int16_t b) { return wrap32(int64_t(acc) - 2 * int64_t(int32_t(a) * b)); }
/// Left shift that keeps the low bits (C `<<` on the unsigned pattern).
constexpr int32_t L_shl_wrap(int32_t a, int n) { return static_cast<int32_t>(static_cast<uint32_t>(a) << n); }
constexpr int16_t shl_wrap(int16_t a, int n) { return wrap16(static_cast<int32_t>(static_cast<uint32_t>(int32_t(a)) << n)); }

// ---- arithmetic right shifts (defined for negative values in C++20) --------

constexpr int32_t asr32(int32_t a, int n) { return a >> n; }
constexpr int16_t asr16(int16_t a, int n) { return static_cast<int16_t>(int32_t(a) >> n); }

// ---- 16-bit operators --------------------------------------------------------

constexpr int16_t add(int16_t a, int16_t b, bool& o) { return sat16(int32_t(a) + b, o); }
constexpr int16_t add(int16_t a, int16_t b) { return sat16(int32_t(a) + b); }
constexpr int16_t sub(int16_t a, int16_t b, bool& o) { return sat16(int32_t(a) - b, o); }
constexpr int16_t sub(int16_t a, int16_t b) { return sat16(int32_t(a) - b); }
constexpr int16_t abs_s(int16_t a) { return a == MIN_16 ? MAX_16 : static_cast<int16_t>(a < 0 ? -a : a); }
constexpr int16_t negate(int16_t a) { return a == MIN_16 ? MAX_16 : static_cast<int16_t>(-a); }
constexpr int16_t extract_h(int32_t L) { return static_cast<int16_t>(L >> 16); }
constexpr int16_t extract_l(int32_t L) { return wrap16(L); }

constexpr int16_t shr(int16_t a, int n, bool& o);
/// Saturating left shift; a negative count shifts right.
constexpr int16_t shl(int16_t a, int n, bool& o) {
    if (n < 0) return shr(a, n < -16 ? 16 : -n, o);
    if (n > 15) {
        if (a == 0) return 0;
        o = true;
        return a > 0 ? MAX_16 : MIN_16;
    }
    int32_t r = int32_t(a) * (int32_t(1) << n);
    if (r > MAX_16 || r < MIN_16) { o = true; return a > 0 ? MAX_16 : MIN_16; }
    return static_cast<int16_t>(r);
}
/// Arithmetic right shift; a negative count shifts left (saturating).
constexpr int16_t shr(int16_t a, int n, bool& o) {
    if (n < 0) return shl(a, n < -16 ? 16 : -n, o);
    if (n >= 15) return a < 0 ? int16_t(-1) : int16_t(0);
    return static_cast<int16_t>(int32_t(a) >> n);
}
constexpr int16_t shl(int16_t a, int n) { bool o = false; return shl(a, n, o); }
constexpr int16_t shr(int16_t a, int n) { bool o = false; return shr(a, n, o); }

/// Right shift with rounding (adds the last bit shifted out).
constexpr int16_t shr_r(int16_t a, int n) {
    if (n > 15) return 0;
    int16_t r = shr(a, n);
    if (n > 0 && (int32_t(a) & (int32_t(1) << (n - 1))) != 0) r = static_cast<int16_t>(r + 1);
    return r;
}

/// Q15 product, truncated: (a*b) >> 15, saturated (only -32768*-32768 saturates).
constexpr int16_t mult(int16_t a, int16_t b) { return sat16((int32_t(a) * b) >> 15); }
/// Q15 product with rounding.
constexpr int16_t mult_r(int16_t a, int16_t b) { return sat16((int32_t(a) * b + 0x4000) >> 15); }

constexpr int16_t norm_s(int16_t a) {
    if (a == 0) return 0;
    if (a == -1) return 15;
    const int32_t v = a < 0 ? ~int32_t(a) : int32_t(a);  // 1..0x7fff
    return static_cast<int16_t>(__builtin_clz(static_cast<uint32_t>(v)) - 17);
}

// ---- 32-bit operators --------------------------------------------------------

constexpr int32_t L_add(int32_t a, int32_t b, bool& o) { return sat32(int64_t(a) + b, o); }
constexpr int32_t L_add(int32_t a, int32_t b) { return sat32(int64_t(a) + b); }
constexpr int32_t L_sub(int32_t a, int32_t b, bool& o) { return sat32(int64_t(a) - b, o); }
constexpr int32_t L_sub(int32_t a, int32_t b) { return sat32(int64_t(a) - b); }
constexpr int32_t L_negate(int32_t a) { return a == MIN_32 ? MAX_32 : -a; }
constexpr int32_t L_abs(int32_t a) { return a == MIN_32 ? MAX_32 : (a < 0 ? -a : a); }
constexpr int32_t L_deposit_h(int16_t a) { return static_cast<int32_t>(static_cast<uint32_t>(int32_t(a)) << 16); }
constexpr int32_t L_deposit_l(int16_t a) { return a; }

/// Q31 product of two Q15 values: a*b*2, saturating the single case -32768*-32768.
constexpr int32_t L_mult(int16_t a, int16_t b, bool& o) {
    int32_t p = int32_t(a) * b;
    if (p == 0x40000000) { o = true; return MAX_32; }
    return p * 2;
}
constexpr int32_t L_mult(int16_t a, int16_t b) { bool o = false; return L_mult(a, b, o); }

constexpr int32_t L_mac(int32_t acc, int16_t a, int16_t b, bool& o) { return L_add(acc, L_mult(a, b, o), o); }
constexpr int32_t L_mac(int32_t acc, int16_t a, int16_t b) { bool o = false; return L_mac(acc, a, b, o); }
constexpr int32_t L_msu(int32_t acc, int16_t a, int16_t b, bool& o) { return L_sub(acc, L_mult(a, b, o), o); }
constexpr int32_t L_msu(int32_t acc, int16_t a, int16_t b) { bool o = false; return L_msu(acc, a, b, o); }

constexpr int32_t L_shr(int32_t a, int n, bool& o);
/// Saturating 32-bit left shift; a negative count shifts right.
constexpr int32_t L_shl(int32_t a, int n, bool& o) {
    if (n <= 0) return L_shr(a, n < -32 ? 32 : -n, o);
    if (a == 0) return 0;
    // Doubling n times saturates exactly when a lies beyond MAX_32 >> n or MIN_32 >> n.
    if (n > 31) { o = true; return a > 0 ? MAX_32 : MIN_32; }
    if (a > (MAX_32 >> n)) { o = true; return MAX_32; }
    if (a < (MIN_32 >> n)) { o = true; return MIN_32; }
    return static_cast<int32_t>(static_cast<uint32_t>(a) << n);
}
/// Arithmetic 32-bit right shift; a negative count shifts left (saturating).
constexpr int32_t L_shr(int32_t a, int n, bool& o) {
    if (n < 0) return L_shl(a, n < -32 ? 32 : -n, o);
    if (n >= 31) return a < 0 ? -1 : 0;
    return a >> n;
}
constexpr int32_t L_shl(int32_t a, int n) { bool o = false; return L_shl(a, n, o); }
constexpr int32_t L_shr(int32_t a, int n) { bool o = false; return L_shr(a, n, o); }

/// 32-bit right shift with rounding.
constexpr int32_t L_shr_r(int32_t a, int n) {
    if (n > 31) return 0;
    int32_t r = L_shr(a, n);
    if (n > 0 && (a & (int32_t(1) << (n - 1))) != 0) r = L_add(r, 1);
    return r;
}

/// Round a Q31 value to Q15: high half of (a + 0x8000), saturating.
constexpr int16_t round_fx(int32_t a, bool& o) { return extract_h(L_add(a, 0x8000, o)); }
constexpr int16_t round_fx(int32_t a) { return extract_h(L_add(a, 0x8000)); }
constexpr int16_t mac_r(int32_t acc, int16_t a, int16_t b) { return round_fx(L_mac(acc, a, b)); }
constexpr int16_t msu_r(int32_t acc, int16_t a, int16_t b) { return round_fx(L_msu(acc, a, b)); }

/// Leading-sign count of a 32-bit value: shifts that bring it into
/// 0x40000000..0x7fffffff (its one's complement for negatives); 0 for 0.
constexpr int16_t norm_l(int32_t a) {
    if (a == 0) return 0;
    uint32_t y = static_cast<uint32_t>(a < 0 ? ~a : a);
    if (y == 0) return 31;  // a == -1
    return static_cast<int16_t>(__builtin_clz(y) - 1);
}

/// Fractional integer division: a/b in Q15 for 0 <= a <= b, b > 0.
constexpr int16_t div_s(int16_t a, int16_t b) {
    if (a == 0) return 0;
    if (a == b) return MAX_16;
    // Inside the domain the 15 restoring steps below give floor(a 2^15 / b); outside it (which
    // the reference rejects) the steps are kept so that every input has its old result.
    if (a > 0 && a < b) return static_cast<int16_t>((int32_t(a) << 15) / b);
    int32_t num = a, den = b, out = 0;
    for (int i = 0; i < 15; ++i) {
        out <<= 1;
        num <<= 1;
        if (num >= den) { num -= den; out += 1; }
    }
    return static_cast<int16_t>(out);
}

// ---- double-precision-format helpers (oper_32b) ------------------------------

/// Split a 32-bit value into hi (Q16 part) and lo (15 bits) as the reference DPF format.
constexpr void L_Extract(int32_t L, int16_t& hi, int16_t& lo) {
    hi = extract_h(L);
    lo = extract_l(L_msu(L_shr(L, 1), hi, 16384));
}
constexpr int32_t L_Comp(int16_t hi, int16_t lo) { return L_mac(L_deposit_h(hi), lo, 1); }
/// 32x32 multiply in DPF: (hi1,lo1)*(hi2,lo2), Q31.
constexpr int32_t Mpy_32(int16_t hi1, int16_t lo1, int16_t hi2, int16_t lo2) {
    int32_t L = L_mult(hi1, hi2);
    L = L_mac(L, mult(hi1, lo2), 1);
    return L_mac(L, mult(lo1, hi2), 1);
}
/// 32x16 multiply in DPF: (hi,lo)*n, Q31.
constexpr int32_t Mpy_32_16(int16_t hi, int16_t lo, int16_t n) {
    return L_mac(L_mult(hi, n), mult(lo, n), 1);
}

}  // namespace xvo::fx

namespace xvo::fx {

/// 32-bit division in DPF (oper_32b Div_32): L_num / (denom_hi, denom_lo) in Q31,
/// for 0 <= L_num < L_denom and a normalised positive denominator.
constexpr int32_t Div_32(int32_t L_num, int16_t denom_hi, int16_t denom_lo) {
    const int16_t approx = div_s(0x3fff, denom_hi);  // 1/denom_hi in Q14
    int32_t L = L_sub(MAX_32, Mpy_32_16(denom_hi, denom_lo, approx));
    int16_t hi = 0, lo = 0, n_hi = 0, n_lo = 0;
    L_Extract(L, hi, lo);
    L = Mpy_32_16(hi, lo, approx);  // 1/L_denom in Q29
    L_Extract(L, hi, lo);
    L_Extract(L_num, n_hi, n_lo);
    return L_shl(Mpy_32(n_hi, n_lo, hi, lo), 2);
}

}  // namespace xvo::fx
