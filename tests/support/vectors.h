// Access to the conformance and golden vectors that live outside the
// repository. Tests name a path relative to the vectors folder; when it is
// absent the test is skipped visibly, or fails when XVOSC_REQUIRE_VECTORS=1.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace xvotest {

/// The vectors folder: $XVOSC_VECTORS, else ../shared/vectors beside the repository.
std::string vectorsDir();

/// True when missing vectors must fail the test (XVOSC_REQUIRE_VECTORS=1).
bool vectorsRequired();

/// Full path of a vector file when it exists.
std::optional<std::string> findVector(const std::string& relPath);

/// Whole file as bytes (empty when unreadable).
std::vector<uint8_t> readBytes(const std::string& path);

/// Whole file as little-endian 16-bit words.
std::vector<int16_t> readWords16(const std::string& path);

/// A golden file: header fields and one row of integers per case.
struct Golden {
    struct Field {
        std::string name;
        int count = 0;
        int offset = 0;  // position of the first value within a row
    };
    std::string function;
    std::vector<std::string> notes;
    std::vector<Field> in, out;
    std::vector<std::vector<int64_t>> rows;

    const Field& field(const std::string& name, bool output) const;
    /// Values of an input field within a row.
    std::span<const int64_t> in_(const std::vector<int64_t>& row, const std::string& name) const;
    /// Values of an output field within a row.
    std::span<const int64_t> out_(const std::vector<int64_t>& row, const std::string& name) const;
};

/// Parses a golden file; throws std::runtime_error on malformed content.
Golden loadGolden(const std::string& path);

/// Copies a field's values into a typed vector.
template <typename T>
std::vector<T> as(std::span<const int64_t> v) {
    return std::vector<T>(v.begin(), v.end());
}

}  // namespace xvotest

/// Resolves `rel` under the vectors folder into `var` (a std::string), or
/// skips the test (fails when vectors are required) when it is absent.
#define XVO_REQUIRE_VECTOR(var, rel)                                                       \
    std::string var;                                                                       \
    do {                                                                                   \
        auto xvo_found_ = ::xvotest::findVector(rel);                                      \
        if (!xvo_found_) {                                                                 \
            if (::xvotest::vectorsRequired()) FAIL() << "missing vector " << (rel);        \
            GTEST_SKIP() << "SKIPPED: vector " << (rel) << " not found under "             \
                         << ::xvotest::vectorsDir();                                       \
        }                                                                                  \
        var = *xvo_found_;                                                                 \
    } while (0)
