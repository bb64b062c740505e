// Independent states on several threads at once give exactly the outputs of
// a serial run: every registry entry's valid call is made serially once, then
// repeatedly on four threads, each with its own buffers and state.
#include <gtest/gtest.h>

#include <thread>

#include "contract.h"

using namespace xvocontract;

namespace {
struct Result {
    XvoStatus status;
    std::vector<std::vector<uint8_t>> bufs;
};

Result run(const Entry& e) {
    Call c;
    e.setup(c);
    Result r{e.invoke(c), {}};
    for (const auto& b : c.bufs) r.bufs.emplace_back(b.data(), b.data() + b.size);
    return r;
}
}  // namespace

TEST(Threads, ParallelCallsMatchSerialCalls) {
    const auto& reg = registry();
    std::vector<Result> serial;
    for (const auto& e : reg) serial.push_back(run(e));

    constexpr int kThreads = 4, kRounds = 3;
    std::vector<std::vector<std::string>> mismatches(kThreads);
    std::vector<std::thread> pool;
    for (int t = 0; t < kThreads; ++t)
        pool.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round)
                for (size_t k = 0; k < reg.size(); ++k) {
                    // Each thread walks the registry from a different point.
                    const size_t j = (k + static_cast<size_t>(t) * 7) % reg.size();
                    const Result r = run(reg[j]);
                    if (r.status != serial[j].status || r.bufs != serial[j].bufs)
                        mismatches[t].push_back(reg[j].name);
                }
        });
    for (auto& th : pool) th.join();
    for (int t = 0; t < kThreads; ++t)
        for (const auto& name : mismatches[t]) ADD_FAILURE() << name << " differs on thread " << t;
}
