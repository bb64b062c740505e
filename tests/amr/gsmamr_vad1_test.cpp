// GSM-AMR VAD option 1 against the reference's golden vectors: single calls
// from captured states, and whole sequences from the reference's reset state.
#include <gtest/gtest.h>

#include <cstring>

#include "golden_replay.h"

namespace {

XvoVAD1State_GSMAMR resetState() {
    XvoVAD1State_GSMAMR st{};
    for (int i = 0; i < 9; ++i) st.bckrEst[i] = st.aveLevel[i] = st.oldLevel[i] = 150;
    st.bestCorrHp = st.corrHpFast = 13106;
    return st;
}

// The record's 64 16-bit fields in the reference order are its first 128 bytes.
constexpr int kFields = 64;

}  // namespace

TEST(GsmAmrVad1, EveryGoldenLine) {
    XVO_REQUIRE_VECTOR(path, "golden/amrnb/xvosVAD1_GSMAMR_16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GE(g.rows.size(), 1200u);
    const auto& firstState = g.field("bckr_est", false);
    for (size_t r = 0; r < g.rows.size(); ++r) {
        const auto& row = g.rows[r];
        XvoVAD1State_GSMAMR st{};
        Xvo16s f16[kFields];
        for (int k = 0; k < kFields; ++k) f16[k] = static_cast<Xvo16s>(row[firstState.offset + k]);
        std::memcpy(&st, f16, sizeof f16);
        // The power of the 40 samples before the frame, accumulated as the reference does.
        int64_t pow = 0;
        for (int64_t x : g.in_(row, "past")) pow = std::min<int64_t>(pow + 2 * x * x, INT32_MAX);
        st.prevPower = static_cast<Xvo32s>(pow);
        const auto speech = xvotest::as<Xvo16s>(g.in_(row, "speech"));
        Xvo16s flag = -1;
        ASSERT_EQ(xvosVAD1_GSMAMR_16s(speech.data(), &st, &flag, static_cast<Xvo16s>(g.in_(row, "bestCorrHp")[0])),
                  xvoStsOk);
        std::memcpy(f16, &st, sizeof f16);
        const auto& outState = g.field("bckr_est", true);
        std::vector<int64_t> got(f16, f16 + kFields), want(row.begin() + outState.offset,
                                                            row.begin() + outState.offset + kFields);
        ASSERT_EQ(got, want) << "line " << r;
        ASSERT_EQ(flag, g.out_(row, "flag")[0]) << "line " << r;
    }
}

TEST(GsmAmrVad1, SequencesFromTheResetState) {
    // Every sequence file: ".seq-" ones carry the open-loop search's registers, ".seqpure-" not.
    const auto files = xvotest::goldenFilesStartingWith("amrnb", "xvosVAD1_GSMAMR_16s.seq");
    if (files.size() < 4 && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: VAD1 sequence files not found";
    ASSERT_GE(files.size(), 4u);
    for (const auto& file : files) {
        const struct {
            std::string file;
            bool pure;
        } f{file, file.find(".seqpure-") != std::string::npos};
        XVO_REQUIRE_VECTOR(path, "golden/" + f.file);
        const auto g = xvotest::loadGolden(path);
        XvoVAD1State_GSMAMR st = resetState();
        for (size_t r = 0; r < g.rows.size(); ++r) {
            const auto& row = g.rows[r];
            if (!f.pure) {  // the registers the encoder's open-loop search left before the call
                st.tone = static_cast<Xvo16s>(g.in_(row, "tone")[0]);
                st.pitch = static_cast<Xvo16s>(g.in_(row, "pitch")[0]);
            }
            const auto speech = xvotest::as<Xvo16s>(g.in_(row, "speech"));
            Xvo16s flag = -1;
            ASSERT_EQ(xvosVAD1_GSMAMR_16s(speech.data(), &st, &flag, static_cast<Xvo16s>(g.in_(row, "bestCorrHp")[0])),
                      xvoStsOk);
            ASSERT_EQ(flag, g.out_(row, "flag")[0]) << f.file << " frame " << r;
        }
    }
}
