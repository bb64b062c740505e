// Every sequence of the ITU-T G.726 Appendix II reset set, each from a fresh
// state: encoder codes for the normal and overload inputs in both laws,
// decoder output in the same law and across laws, and the decoder-only
// sequences. All must match byte for byte.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "g726/g726_tables.h"
#include "vectors.h"
#include "xvosc.h"

namespace {

struct Case {
    std::string in, want;
    bool encode;
    int kbps;
    XvoPCMLaw law;  // encoder: law of the input; decoder: output law
};

/// The rate selector of 16, 24, 32 or 40 kbit/s.
XvoSpeechRate rateOf(int kbps) {
    constexpr XvoSpeechRate kRates[] = {XVO_BITRATE_16000, XVO_BITRATE_24000, XVO_BITRATE_32000, XVO_BITRATE_40000};
    return kRates[kbps / 8 - 2];
}

std::vector<Case> allCases() {
    std::vector<Case> cs;
    for (int kbps : {16, 24, 32, 40}) {
        const std::string r = std::to_string(kbps);
        for (const char* set : {"n", "v"}) {
            const std::string input = set[0] == 'n' ? "nrm" : "ovr";
            const std::string base = std::string("r") + set + r;
            for (auto [ch, law] : {std::pair{'a', XVO_PCM_ALAW}, std::pair{'m', XVO_PCM_MULAW}}) {
                cs.push_back({input + "." + ch, base + "f" + ch + ".i", true, kbps, law});
                cs.push_back({base + "f" + ch + ".i", base + "f" + ch + ".o", false, kbps, law});
            }
            cs.push_back({base + "fa.i", base + "fx.o", false, kbps, XVO_PCM_MULAW});
            cs.push_back({base + "fm.i", base + "fc.o", false, kbps, XVO_PCM_ALAW});
        }
        cs.push_back({"i" + r, "ri" + r + "fa.o", false, kbps, XVO_PCM_ALAW});
        cs.push_back({"i" + r, "ri" + r + "fm.o", false, kbps, XVO_PCM_MULAW});
    }
    return cs;
}

class G726Conformance : public ::testing::TestWithParam<Case> {};

TEST_P(G726Conformance, MatchesByteForByte) {
    const Case& c = GetParam();
    XVO_REQUIRE_VECTOR(inPath, "conformance/g726/" + c.in);
    XVO_REQUIRE_VECTOR(wantPath, "conformance/g726/" + c.want);
    const auto in = xvotest::readBytes(inPath);
    const auto want = xvotest::readBytes(wantPath);
    ASSERT_EQ(in.size(), want.size());
    ASSERT_FALSE(in.empty());
    const int n = static_cast<int>(in.size());

    std::vector<int> got(in.size());
    if (c.encode) {
        std::vector<uint8_t> st(88);
        ASSERT_EQ(xvosEncodeInit_G726_16s8u(reinterpret_cast<XvoG726State*>(st.data()), rateOf(c.kbps)), xvoStsOk);
        std::vector<Xvo16s> pcm(in.size());
        for (size_t i = 0; i < in.size(); ++i) pcm[i] = xvo::g726::kG711Expand[c.law][in[i]] >> 2;
        std::vector<Xvo8u> codes(in.size());
        ASSERT_EQ(xvosEncode_G726_16s8u(reinterpret_cast<XvoG726State*>(st.data()), pcm.data(), codes.data(), n),
                  xvoStsOk);
        got.assign(codes.begin(), codes.end());
    } else {
        std::vector<uint8_t> st(92);
        ASSERT_EQ(xvosDecodeInit_G726_8u16s(reinterpret_cast<XvoG726State*>(st.data()), rateOf(c.kbps), c.law),
                  xvoStsOk);
        std::vector<Xvo16s> out(in.size());
        ASSERT_EQ(xvosDecode_G726_8u16s(reinterpret_cast<XvoG726State*>(st.data()), in.data(), out.data(), n),
                  xvoStsOk);
        got.assign(out.begin(), out.end());
    }
    for (int i = 0; i < n; ++i) ASSERT_EQ(got[i], want[i]) << c.in << " -> " << c.want << " at sample " << i;
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
    std::string s = info.param.want;
    for (auto& ch : s)
        if (ch == '.') ch = '_';
    return s;
}

INSTANTIATE_TEST_SUITE_P(ResetSet, G726Conformance, ::testing::ValuesIn(allCases()), caseName);

TEST(G726Conformance, ResetSetHas56Sequences) { EXPECT_EQ(allCases().size(), 56u); }

}  // namespace
