// The argument-contract sweep over every exported function.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "contract.h"

using namespace xvocontract;

namespace {

std::vector<std::vector<uint8_t>> snapshot(const Call& c) {
    std::vector<std::vector<uint8_t>> s;
    for (const auto& b : c.bufs) s.emplace_back(b.data(), b.data() + b.size);
    return s;
}

/// Runs one failing call and checks its status and that nothing was written.
void expectFails(const Entry& e, Call& c, XvoStatus want, const std::string& what) {
    const auto before = snapshot(c);
    const XvoStatus got = e.invoke(c);
    EXPECT_EQ(got, want) << e.name << ": " << what;
    const auto after = snapshot(c);
    for (size_t k = 0; k < before.size(); ++k)
        EXPECT_TRUE(before[k] == after[k]) << e.name << ": " << what << " wrote buffer " << k;
}

Call fresh(const Entry& e) {
    Call c;
    e.setup(c);
    return c;
}

class Contract : public ::testing::TestWithParam<size_t> {};

TEST_P(Contract, ChecksInOrderAndWritesNothingOnFailure) {
    const Entry& e = registry()[GetParam()];
    {
        Call c = fresh(e);
        const XvoStatus s = e.invoke(c);
        if (!e.mayFailValid) {
            EXPECT_GE(s, 0) << e.name << ": the valid call failed";
        }
    }
    for (int p : e.ptrs) {
        Call c = fresh(e);
        c.null[p] = true;
        for (int l : e.lens) c.ints[l] = 0;
        expectFails(e, c, xvoStsNullPtr, "null pointer " + std::to_string(p) + " with bad lengths");
    }
    for (int l : e.lens)
        for (int bad : {0, -1}) {
            Call c = fresh(e);
            c.ints[l] = bad;
            expectFails(e, c, xvoStsSize, "length " + std::to_string(l) + " = " + std::to_string(bad));
        }
    for (const auto& v : e.variants) {
        Call c = fresh(e);
        v.mutate(c);
        expectFails(e, c, v.expected, v.what);
    }
}

std::string entryName(const ::testing::TestParamInfo<size_t>& info) { return registry()[info.param].name; }

INSTANTIATE_TEST_SUITE_P(Exports, Contract, ::testing::Range<size_t>(0, registry().size()), entryName);

TEST(ContractRegistry, EveryExportHasAnEntry) {
    std::set<std::string> names;
    for (const auto& e : registry()) {
        EXPECT_TRUE(names.insert(e.name).second) << "duplicate entry " << e.name;
    }
    const std::string cmd = std::string("nm -D --defined-only ") + XVOSC_LIB_PATH;
    FILE* f = popen(cmd.c_str(), "r");
    ASSERT_NE(f, nullptr);
    char line[512];
    int exports = 0;
    while (std::fgets(line, sizeof line, f)) {
        char addr[64], type[8], name[400];
        if (std::sscanf(line, "%63s %7s %399s", addr, type, name) != 3) continue;
        if (std::string(type) != "T") continue;
        ++exports;
        EXPECT_TRUE(names.count(name)) << "exported function without a contract entry: " << name;
    }
    pclose(f);
    EXPECT_GT(exports, 0);
}

}  // namespace
