// The argument-contract registry: one entry per exported function.
//
// An entry says how to build a valid call (buffers and integer arguments),
// how to make the call, which buffers are required pointers and which
// integers are lengths, and any further failing variants with the status
// they must return. The sweep then checks, for every entry:
//   - a null in each required pointer position gives -8, even when every
//     length is also bad;
//   - a bad length (0, -1) in each length position gives -6;
//   - each listed failing variant gives its status;
//   - on every failing call every buffer (outputs and state, pre-filled
//     with a canary pattern or initialised) is unchanged byte for byte;
//   - the valid call succeeds (status >= 0);
//   - and, in the no-heap test, the valid call allocates nothing unless the
//     entry is marked as using the transform layer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "xvosc.h"

namespace xvocontract {

/// One aligned byte buffer of a call.
struct Buffer {
    std::vector<uint8_t> storage;
    size_t size = 0;
    size_t offset = 0;
    uint8_t* data() { return storage.data() + offset; }
    const uint8_t* data() const { return storage.data() + offset; }
};

/// The arguments of one call: buffers (pointer arguments) and integers.
struct Call {
    std::vector<Buffer> bufs;
    std::vector<bool> null;
    std::vector<int> ints;
    uint32_t seed = 1;

    /// Adds a buffer of `bytes` filled with the canary pattern; returns its index.
    int buffer(size_t bytes);
    /// Adds a buffer of 16-bit values; returns its index.
    int words(std::vector<int16_t> values);
    /// Adds a buffer of `n` pseudo-random 16-bit values within [lo, hi].
    int random16(size_t n, int lo = -32768, int hi = 32767);
    /// Adds a buffer of `n` pseudo-random floats in [lo, hi].
    int random32f(size_t n, float lo = -1.0f, float hi = 1.0f);
    /// Adds an integer argument; returns its index.
    int integer(int v);

    /// Pointer to buffer k, or null when the sweep nulls it.
    template <typename T = void>
    T* p(int k) { return null[k] ? nullptr : reinterpret_cast<T*>(bufs[k].data()); }
    /// Pointer `off` elements into buffer k (for functions that read history before their
    /// pointer), or null when the sweep nulls it.
    template <typename T>
    T* at(int k, size_t off) { return null[k] ? nullptr : reinterpret_cast<T*>(bufs[k].data()) + off; }
    int i(int k) const { return ints[k]; }
    /// Writes a value of type T at element `idx` of buffer k.
    template <typename T>
    void set(int k, size_t idx, T v) { std::memcpy(bufs[k].data() + idx * sizeof(T), &v, sizeof(T)); }
};

struct Variant {
    std::string what;
    std::function<void(Call&)> mutate;  // applied to a fresh valid call
    XvoStatus expected;
};

struct Entry {
    std::string name;
    std::function<void(Call&)> setup;        // builds a valid call
    std::function<XvoStatus(Call&)> invoke;  // makes the call
    std::vector<int> ptrs;                   // required pointer buffer indices, in argument order
    std::vector<int> lens;                   // length integer indices
    std::vector<Variant> variants;           // further failing calls
    bool allocates = false;                  // uses the transform layer's heap on purpose
    bool mayFailValid = false;               // valid call may legitimately return an error

    // Fuzzing: buffers the caller vouches for (states, tables) keep their
    // set-up contents; integer k varies within fuzzRange[k] when given (else
    // lengths vary within -1..their valid value and other integers stay);
    // fuzzFix restores any input promise the function documents (for
    // example codes that must fit their bit width).
    std::vector<int> trusted;
    std::vector<std::pair<int, std::pair<int, int>>> fuzzRange;
    std::function<void(Call&)> fuzzFix;
};

/// Every entry of every family.
const std::vector<Entry>& registry();

/// Families add their entries through these functions (one per file).
void addGenericEntries(std::vector<Entry>& r);
void addG726Entries(std::vector<Entry>& r);
void addG729Entries(std::vector<Entry>& r);
void addG723Entries(std::vector<Entry>& r);
void addVqeEntries(std::vector<Entry>& r);
void addGsmAmrEntries(std::vector<Entry>& r);
void addAmrwbeEntries(std::vector<Entry>& r);

}  // namespace xvocontract
