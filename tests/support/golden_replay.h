// Replays a golden file through a call: each row's input fields become
// typed arrays the call reads and writes by name; afterwards every output
// field (the status included) must equal the row.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "vectors.h"
#include "xvosc.h"

namespace xvotest {

class GoldenRow {
public:
    GoldenRow(const Golden& g, const std::vector<int64_t>& row) : g_(g), row_(row) {}

    /// The field as 16-bit values: its input values, or zeros sized as the output field.
    Xvo16s* s16(const std::string& name) { return data(s16_, name); }
    /// The field as 32-bit values.
    Xvo32s* s32(const std::string& name) { return data(s32_, name); }
    /// The single value of an input field.
    int v(const std::string& name) const { return static_cast<int>(g_.in_(row_, name)[0]); }

    /// Compares every output field with what the call left in the arrays.
    void expectOutputs(XvoStatus status, size_t line) const {
        for (const auto& f : g_.out) {
            const auto want = g_.out_(row_, f.name);
            std::vector<int64_t> got;
            if (f.name == "status") got = {status};
            else if (auto a = s16_.find(f.name); a != s16_.end()) got.assign(a->second.begin(), a->second.end());
            else if (auto b = s32_.find(f.name); b != s32_.end()) got.assign(b->second.begin(), b->second.end());
            else FAIL() << "the call did not touch output field " << f.name;
            got.resize(want.size());
            ASSERT_EQ(got, std::vector<int64_t>(want.begin(), want.end())) << f.name << ", line " << line;
        }
    }

private:
    template <typename T>
    T* data(std::map<std::string, std::vector<T>>& m, const std::string& name) {
        auto it = m.find(name);
        if (it == m.end()) {
            std::vector<T> v;
            const bool isIn = std::any_of(g_.in.begin(), g_.in.end(), [&](const auto& f) { return f.name == name; });
            if (isIn) {
                const auto src = g_.in_(row_, name);
                v.assign(src.begin(), src.end());
            } else {
                v.assign(g_.field(name, true).count, 0);
            }
            it = m.emplace(name, std::move(v)).first;
        }
        return it->second.data();
    }

    const Golden& g_;
    const std::vector<int64_t>& row_;
    std::map<std::string, std::vector<Xvo16s>> s16_;
    std::map<std::string, std::vector<Xvo32s>> s32_;
};

/// Runs `call` on every row of golden/<rel>; returns the number of rows.
template <typename Call>
size_t replayGolden(const std::string& rel, Call call) {
    auto found = findVector("golden/" + rel);
    if (!found) {
        if (vectorsRequired()) ADD_FAILURE() << "missing vector " << rel;
        return 0;
    }
    const Golden g = loadGolden(*found);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        GoldenRow row(g, g.rows[r]);
        const XvoStatus st = call(row);
        row.expectOutputs(st, r);
        if (::testing::Test::HasFatalFailure() || ::testing::Test::HasNonfatalFailure()) return r;
    }
    return g.rows.size();
}

/// The golden files of folder `dir` (under golden/) whose names start with `prefix`, sorted; so a
/// test replays every capture of a kind, further ones dropped into the folder included.
inline std::vector<std::string> goldenFilesStartingWith(const std::string& dir, const std::string& prefix) {
    std::vector<std::string> out;
    const auto path = std::filesystem::path(vectorsDir()) / "golden" / dir;
    if (!std::filesystem::is_directory(path)) return out;
    for (const auto& e : std::filesystem::directory_iterator(path)) {
        const std::string n = e.path().filename().string();
        if (n.rfind(prefix, 0) == 0) out.push_back(dir + "/" + n);
    }
    std::sort(out.begin(), out.end());
    return out;
}

/// One golden file replayed through one call, with the fewest rows it must have.
struct GoldenCase {
    const char* file;
    size_t minRows;
    XvoStatus (*call)(GoldenRow&);
};
inline void PrintTo(const GoldenCase& c, std::ostream* os) { *os << c.file; }

/// Replays the case (skipped visibly when the vectors are absent and not required).
inline void runGoldenCase(const GoldenCase& c) {
    if (!findVector(std::string("golden/") + c.file) && !vectorsRequired())
        GTEST_SKIP() << "SKIPPED: vector " << c.file << " not found under " << vectorsDir();
    EXPECT_GE(replayGolden(c.file, c.call), c.minRows);
}

/// Test name of a case: the function name of its file without the library prefix.
inline std::string goldenCaseName(const ::testing::TestParamInfo<GoldenCase>& info) {
    std::string n = info.param.file;
    n = n.substr(n.find("xvos") + 4);
    return n.substr(0, n.find(".txt"));
}

}  // namespace xvotest
