// The multi-channel encoder: every channel against the ITU-T reset sequences
// and against the single-channel encoder on speech, with channel groups that
// run in vector lanes (eight of one rate), mixed-rate groups and leftovers,
// and the block split across calls.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "g726/g726_tables.h"
#include "vectors.h"
#include "xvosc.h"

namespace {

constexpr XvoSpeechRate kRates[] = {XVO_BITRATE_16000, XVO_BITRATE_24000, XVO_BITRATE_32000, XVO_BITRATE_40000};
constexpr int kState = 88;

/// Channel rate indices: four groups of eight of one rate, one group of eight
/// mixed rates, three leftovers.
std::vector<int> channelRates() {
    std::vector<int> r;
    for (int g : {2, 0, 3, 1})
        for (int l = 0; l < 8; ++l) r.push_back(g);
    for (int l = 0; l < 11; ++l) r.push_back((l * 3) & 3);
    return r;
}

/// Codes of every channel (x[c], all of one length) through the multi-channel
/// encoder in two calls split at `split`; the final states are returned in st.
std::vector<std::vector<uint8_t>> encodeMulti(const std::vector<std::vector<Xvo16s>>& x, const std::vector<int>& rates,
                                              int split, std::vector<uint8_t>& st) {
    const int nch = static_cast<int>(x.size()), len = static_cast<int>(x[0].size());
    st.assign(static_cast<size_t>(nch) * kState, 0);
    for (int c = 0; c < nch; ++c)
        EXPECT_EQ(xvosEncodeInit_G726_16s8u(reinterpret_cast<XvoG726State*>(&st[c * kState]), kRates[rates[c]]), xvoStsOk);
    std::vector<Xvo16s> in(static_cast<size_t>(nch) * len);
    for (int i = 0; i < len; ++i)
        for (int c = 0; c < nch; ++c) in[static_cast<size_t>(i) * nch + c] = x[c][i];
    std::vector<Xvo8u> out(in.size(), 0xee);
    auto* s = reinterpret_cast<XvoG726State*>(st.data());
    EXPECT_EQ(xvosEncodeMulti_G726_16s8u(s, in.data(), out.data(), nch, split), xvoStsOk);
    EXPECT_EQ(xvosEncodeMulti_G726_16s8u(s, in.data() + split * nch, out.data() + split * nch, nch, len - split),
              xvoStsOk);
    std::vector<std::vector<uint8_t>> codes(nch, std::vector<uint8_t>(len));
    for (int i = 0; i < len; ++i)
        for (int c = 0; c < nch; ++c) codes[c][i] = out[static_cast<size_t>(i) * nch + c];
    return codes;
}

TEST(G726Multi, EveryChannelMatchesTheResetSequences) {
    for (const char* set : {"n", "v"}) {
        const std::string input = set[0] == 'n' ? "nrm" : "ovr";
        const auto rates = channelRates();
        std::vector<std::vector<Xvo16s>> x;
        std::vector<std::vector<uint8_t>> want;
        for (size_t c = 0; c < rates.size(); ++c) {
            const char law = c % 2 ? 'm' : 'a';
            XVO_REQUIRE_VECTOR(inPath, "conformance/g726/" + input + "." + law);
            XVO_REQUIRE_VECTOR(wantPath, "conformance/g726/r" + std::string(set) + std::to_string(16 + 8 * rates[c]) +
                                             "f" + law + ".i");
            const auto bytes = xvotest::readBytes(inPath);
            std::vector<Xvo16s> pcm(bytes.size());
            for (size_t i = 0; i < bytes.size(); ++i) pcm[i] = xvo::g726::kG711Expand[law == 'm' ? 0 : 1][bytes[i]] >> 2;
            x.push_back(pcm);
            want.push_back(xvotest::readBytes(wantPath));
        }
        std::vector<uint8_t> st;
        const auto got = encodeMulti(x, rates, static_cast<int>(x[0].size() / 3), st);
        for (size_t c = 0; c < rates.size(); ++c)
            ASSERT_EQ(got[c], want[c]) << input << " channel " << c << " rate " << rates[c];
    }
}

TEST(G726Multi, EveryChannelEqualsTheSingleChannelEncoderOnSpeech) {
    XVO_REQUIRE_VECTOR(path, "conformance/g729/g729/SPEECH.IN");
    const auto speech = xvotest::readWords16(path);
    const auto rates = channelRates();
    const int len = 3000;
    ASSERT_GT(speech.size(), rates.size() * 97 + len);
    std::vector<std::vector<Xvo16s>> x;
    for (size_t c = 0; c < rates.size(); ++c) {  // each channel its own stretch, some at full 16-bit scale
        std::vector<Xvo16s> v(len);
        for (int i = 0; i < len; ++i) v[i] = static_cast<Xvo16s>(speech[c * 97 + i] >> (c % 5 == 0 ? 0 : 2));
        x.push_back(v);
    }
    std::vector<uint8_t> st;
    const auto got = encodeMulti(x, rates, 1001, st);
    for (size_t c = 0; c < rates.size(); ++c) {
        std::vector<uint8_t> one(kState);
        auto* s = reinterpret_cast<XvoG726State*>(one.data());
        ASSERT_EQ(xvosEncodeInit_G726_16s8u(s, kRates[rates[c]]), xvoStsOk);
        std::vector<Xvo8u> codes(len);
        ASSERT_EQ(xvosEncode_G726_16s8u(s, x[c].data(), codes.data(), len), xvoStsOk);
        ASSERT_EQ(got[c], std::vector<uint8_t>(codes.begin(), codes.end())) << "channel " << c;
        ASSERT_TRUE(std::equal(one.begin(), one.end(), st.begin() + c * kState)) << "state of channel " << c;
    }
}

}  // namespace
