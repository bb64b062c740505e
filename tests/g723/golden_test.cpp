// G.723.1 kernels replayed against the golden files: every line's inputs go
// through the public API and every output, status included, must match.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "vectors.h"
#include "xvosc.h"

namespace {

using xvotest::as;
using Row = std::vector<int64_t>;
// Runs one golden line; returns the outputs in the file's order.
using Runner = std::function<std::vector<int64_t>(const xvotest::Golden&, const Row&)>;

template <typename T>
void put(std::vector<int64_t>& o, const T* p, int n) {
    for (int i = 0; i < n; ++i) o.push_back(p[i]);
}

struct Case {
    const char* file;
    size_t minRows;
    std::vector<std::string> skip;  // output fields the function does not produce
    Runner run;
};

const Case kCases[] = {
    {"xvosAdaptiveCodebookSearch_G723", 1500, {},
     [](const xvotest::Golden& g, const Row& r) {
         const auto tv = as<Xvo16s>(g.in_(r, "pSrcAdptTarget"));
         const auto h = as<Xvo16s>(g.in_(r, "pSrcImpulseResponse"));
         const auto exc = as<Xvo16s>(g.in_(r, "pSrcPrevExcitation"));
         const auto err = as<Xvo32s>(g.in_(r, "pSrcPrevError"));
         Xvo16s lid = -99, gid = -99;
         const auto st = xvosAdaptiveCodebookSearch_G723(
             Xvo16s(g.in_(r, "valBaseLag")[0]), tv.data(), h.data(), exc.data(), err.data(), &lid, &gid,
             Xvo16s(g.in_(r, "subFrame")[0]), Xvo16s(g.in_(r, "sineDetect")[0]), int(g.in_(r, "rate")[0]));
         return std::vector<int64_t>{st, lid, gid};
     }},
    {"xvosHarmonicSearch_G723_16s", 1500, {},
     [](const xvotest::Golden& g, const Row& r) {
         const auto w = as<Xvo16s>(g.in_(r, "pSrc"));
         Xvo16s gain = -99, lag = -99;
         const auto st = xvosHarmonicSearch_G723_16s(Xvo16s(g.in_(r, "valLag")[0]), w.data() + 148, &gain, &lag);
         return std::vector<int64_t>{st, gain, lag};
     }},
    {"xvosPitchPostFilter_G723_16s", 1200, {},
     [](const xvotest::Golden& g, const Row& r) {
         const auto b = as<Xvo16s>(g.in_(r, "pSrc"));
         Xvo16s lag = -99, gain = -99, sc = -99;
         const auto st = xvosPitchPostFilter_G723_16s(Xvo16s(g.in_(r, "valLag")[0]), b.data(), &lag, &gain, &sc,
                                                      Xvo16s(g.in_(r, "subFrame")[0]), int(g.in_(r, "rate")[0]));
         return std::vector<int64_t>{st, lag, gain, sc};
     }},
    {"xvosGainControl_G723_16s_I", 2000, {},
     [](const xvotest::Golden& g, const Row& r) {
         auto x = as<Xvo16s>(g.in_(r, "pSrcDst"));
         Xvo16s gain = Xvo16s(g.in_(r, "pSrcDstGain")[0]);
         std::vector<int64_t> o{xvosGainControl_G723_16s_I(Xvo32s(g.in_(r, "energy")[0]), x.data(), &gain)};
         put(o, x.data(), 60);
         o.push_back(gain);
         return o;
     }},
    {"xvosMPMLQFixedCodebookSearch_G723", 1500, {},
     [](const xvotest::Golden& g, const Row& r) {
         const auto h = as<Xvo16s>(g.in_(r, "pSrcImpulseResponse"));
         const auto t = as<Xvo16s>(g.in_(r, "pSrcTarget"));
         Xvo16s v[60], grid = -99, tr = -99, gi = -99, sg = -99;
         Xvo32s pos = -99;
         std::vector<int64_t> o{xvosMPMLQFixedCodebookSearch_G723(Xvo16s(g.in_(r, "valLag")[0]), h.data(), t.data(), v,
                                                                  &grid, &tr, &gi, &sg, &pos,
                                                                  Xvo16s(g.in_(r, "subFrame")[0]))};
         put(o, v, 60);
         o.insert(o.end(), {grid, tr, gi, sg, pos});
         return o;
     }},
};

class G723Golden : public ::testing::TestWithParam<Case> {};

TEST_P(G723Golden, EveryLine) {
    const Case& c = GetParam();
    XVO_REQUIRE_VECTOR(path, std::string("golden/g723/") + c.file + ".txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), c.minRows);
    size_t bad = 0, line = 0;
    for (const auto& r : g.rows) {
        ++line;
        const auto got = c.run(g, r);
        std::vector<int64_t> want;
        size_t k = 0;
        std::vector<int64_t> gotKept;
        for (const auto& f : g.out) {
            const auto v = g.out_(r, f.name);
            const bool skipped = std::find(c.skip.begin(), c.skip.end(), f.name) != c.skip.end();
            for (auto x : v) {
                if (!skipped) want.push_back(x), gotKept.push_back(got[k]);
                ++k;
            }
        }
        if (gotKept != want && ++bad <= 5) ADD_FAILURE() << c.file << " line " << line << " differs";
    }
    EXPECT_EQ(bad, 0u) << "of " << g.rows.size();
}

INSTANTIATE_TEST_SUITE_P(Files, G723Golden, ::testing::ValuesIn(kCases),
                         [](const auto& i) { return std::string(i.param.file).substr(4, 14); });

}  // namespace
