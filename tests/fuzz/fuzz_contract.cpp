// libFuzzer target over the contract registry: the fuzz input picks an entry
// of this program's family, then supplies the contents of its untrusted
// buffers and the values of its integer arguments. Pointers always point at
// buffers of the sizes the valid call uses, so every fault found is the
// library's, not the harness's.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "contract.h"

using namespace xvocontract;

namespace {
const std::vector<const Entry*>& family() {
    static const std::vector<const Entry*> f = [] {
        std::vector<const Entry*> v;
        for (const auto& e : registry())
            if (e.name.find(XVOSC_FUZZ_FAMILY) != std::string::npos) v.push_back(&e);
        return v;
    }();
    return f;
}

struct Reader {
    const uint8_t* p;
    size_t n;
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    int within(int lo, int hi) {
        const uint32_t span = static_cast<uint32_t>(hi - lo) + 1;
        const uint32_t v = byte() | (byte() << 8);
        return lo + static_cast<int>(v % span);
    }
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto& fam = family();
    if (fam.empty() || size < 1) return 0;
    Reader in{data, size};
    const Entry& e = *fam[in.byte() % fam.size()];
    Call c;
    e.setup(c);
    for (size_t k = 0; k < c.ints.size(); ++k) {
        const auto r = std::find_if(e.fuzzRange.begin(), e.fuzzRange.end(),
                                    [&](const auto& x) { return x.first == static_cast<int>(k); });
        if (r != e.fuzzRange.end()) c.ints[k] = in.within(r->second.first, r->second.second);
        else if (std::find(e.lens.begin(), e.lens.end(), static_cast<int>(k)) != e.lens.end())
            c.ints[k] = in.within(-1, c.ints[k]);
    }
    for (size_t k = 0; k < c.bufs.size(); ++k) {
        if (std::find(e.trusted.begin(), e.trusted.end(), static_cast<int>(k)) != e.trusted.end()) continue;
        auto& b = c.bufs[k];
        const size_t take = std::min(b.size, in.n);
        std::memcpy(b.data(), in.p, take);
        in.p += take;
        in.n -= take;
    }
    if (e.fuzzFix) e.fuzzFix(c);
    e.invoke(c);
    return 0;
}
