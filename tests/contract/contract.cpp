#include "contract.h"

#include <random>

namespace xvocontract {

namespace {
constexpr uint8_t kCanary = 0xA5;
constexpr size_t kAlign = 64;

Buffer makeBuffer(size_t bytes) {
    Buffer b;
    b.size = bytes;
    b.storage.assign(bytes + kAlign, kCanary);
    const auto addr = reinterpret_cast<uintptr_t>(b.storage.data());
    b.offset = (kAlign - addr % kAlign) % kAlign;
    return b;
}
}  // namespace

int Call::buffer(size_t bytes) {
    bufs.push_back(makeBuffer(bytes));
    null.push_back(false);
    return static_cast<int>(bufs.size() - 1);
}

int Call::words(std::vector<int16_t> values) {
    const int k = buffer(values.size() * sizeof(int16_t));
    std::memcpy(bufs[k].data(), values.data(), values.size() * sizeof(int16_t));
    return k;
}

int Call::random16(size_t n, int lo, int hi) {
    std::mt19937 rng(seed++);
    std::uniform_int_distribution<int> d(lo, hi);
    std::vector<int16_t> v(n);
    for (auto& x : v) x = static_cast<int16_t>(d(rng));
    return words(std::move(v));
}

int Call::random32f(size_t n, float lo, float hi) {
    std::mt19937 rng(seed++);
    std::uniform_real_distribution<float> d(lo, hi);
    const int k = buffer(n * sizeof(float));
    for (size_t j = 0; j < n; ++j) set<float>(k, j, d(rng));
    return k;
}

int Call::integer(int v) {
    ints.push_back(v);
    return static_cast<int>(ints.size() - 1);
}

const std::vector<Entry>& registry() {
    static const std::vector<Entry> r = [] {
        std::vector<Entry> v;
        v.push_back({"xvoscGetLibVersion", [](Call&) {},
                     [](Call&) { return xvoscGetLibVersion() ? xvoStsOk : xvoStsErr; }, {}, {}, {}});
        addGenericEntries(v);
        addG726Entries(v);
        addG729Entries(v);
        addG723Entries(v);
        addVqeEntries(v);
        addGsmAmrEntries(v);
        addAmrwbeEntries(v);
        return v;
    }();
    return r;
}

}  // namespace xvocontract
