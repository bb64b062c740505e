// G.729 algebraic codebook searches against the reference golden vectors,
// the SIMD twins against the scalar kernel, and the argument contract.
#include <gtest/gtest.h>

#include <random>
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

TEST(G729FcbGolden, Search16s) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosFixedCodebookSearch_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 400u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        auto d = vec<Xvo16s>(g.in_(row, "corr"));
        auto m = vec<Xvo16s>(g.in_(row, "matrix"));
        Xvo16s extra = static_cast<Xvo16s>(g.in_(row, "extra")[0]);
        const auto sf = static_cast<Xvo16s>(g.in_(row, "subFrame")[0]);
        std::vector<Xvo16s> cod(40, 99);
        Xvo16s code[2] = {-1, -1};
        ASSERT_EQ(xvosFixedCodebookSearch_G729_16s(d.data(), m.data(), cod.data(), code, &extra, sf),
                  g.out_(row, "status")[0]) << "line " << r;
        ASSERT_EQ(cod, vec<Xvo16s>(g.out_(row, "fixedVector"))) << "line " << r;
        ASSERT_EQ(code[0], g.out_(row, "code")[0]) << "line " << r;
        ASSERT_EQ(code[1], g.out_(row, "code")[1]) << "line " << r;
        ASSERT_EQ(m, vec<Xvo16s>(g.out_(row, "matrix"))) << "line " << r;
        ASSERT_EQ(extra, g.out_(row, "extra")[0]) << "line " << r;
    }
}

TEST(G729FcbGolden, Search32s16s) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosFixedCodebookSearch_G729_32s16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 400u);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        auto d = vec<Xvo16s>(g.in_(row, "corr"));
        auto m = vec<Xvo32s>(g.in_(row, "matrix"));
        Xvo16s extra = static_cast<Xvo16s>(g.in_(row, "extra")[0]);
        const auto sf = static_cast<Xvo16s>(g.in_(row, "subFrame")[0]);
        std::vector<Xvo16s> cod(40, 99);
        Xvo16s code[2] = {-1, -1};
        ASSERT_EQ(xvosFixedCodebookSearch_G729_32s16s(d.data(), m.data(), cod.data(), code, &extra, sf),
                  g.out_(row, "status")[0]) << "line " << r;
        ASSERT_EQ(cod, vec<Xvo16s>(g.out_(row, "fixedVector"))) << "line " << r;
        ASSERT_EQ(code[0], g.out_(row, "code")[0]) << "line " << r;
        ASSERT_EQ(code[1], g.out_(row, "code")[1]) << "line " << r;
        ASSERT_EQ(extra, g.out_(row, "extra")[0]) << "line " << r;
    }
}

}  // namespace
