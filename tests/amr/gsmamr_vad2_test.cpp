// GSM-AMR VAD option 2 against the TS 26.094 reference: single frames from captured records
// (loaded field by field), and whole sequences from the zeroed record.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "golden_replay.h"

using xvotest::GoldenRow;
using xvotest::replayGolden;

namespace {

// The record's fields in the golden files' names and order; count < 0: 32-bit.
struct Field {
    const char* name;
    int count;
    size_t offset;
};
const Field kFields[] = {
    {"pre_emp_mem", 1, offsetof(XvoVAD2State_GSMAMR, preEmpMem)},
    {"update_cnt", 1, offsetof(XvoVAD2State_GSMAMR, updateCnt)},
    {"hyster_cnt", 1, offsetof(XvoVAD2State_GSMAMR, hysterCnt)},
    {"last_update_cnt", 1, offsetof(XvoVAD2State_GSMAMR, lastUpdateCnt)},
    {"ch_enrg_long_db", 16, offsetof(XvoVAD2State_GSMAMR, chEnrgLongDb)},
    {"Lframe_cnt", -1, offsetof(XvoVAD2State_GSMAMR, frameCount)},
    {"Lch_enrg", -16, offsetof(XvoVAD2State_GSMAMR, chEnrg)},
    {"Lch_noise", -16, offsetof(XvoVAD2State_GSMAMR, chNoise)},
    {"last_normb_shift", 1, offsetof(XvoVAD2State_GSMAMR, lastNormbShift)},
    {"tsnr", 1, offsetof(XvoVAD2State_GSMAMR, tsnr)},
    {"hangover", 1, offsetof(XvoVAD2State_GSMAMR, hangover)},
    {"burstcount", 1, offsetof(XvoVAD2State_GSMAMR, burstCount)},
    {"fupdate_flag", 1, offsetof(XvoVAD2State_GSMAMR, fupdateFlag)},
    {"negSNRvar", 1, offsetof(XvoVAD2State_GSMAMR, negSnrVar)},
    {"negSNRbias", 1, offsetof(XvoVAD2State_GSMAMR, negSnrBias)},
    {"shift_state", 1, offsetof(XvoVAD2State_GSMAMR, shiftState)},
    {"L_R0", -1, offsetof(XvoVAD2State_GSMAMR, r0)},
    {"L_Rmax", -1, offsetof(XvoVAD2State_GSMAMR, rMax)},
    {"LTP_flag", 1, offsetof(XvoVAD2State_GSMAMR, ltpFlag)},
};

TEST(GsmAmrVad2, EveryCapturedFrame) {
    const char* file = "amrnb/xvosVAD2_GSMAMR_16s.txt";
    if (!xvotest::findVector(std::string("golden/") + file) && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: " << file;
    const size_t rows = replayGolden(file, [](GoldenRow& r) {
        XvoVAD2State_GSMAMR st{};
        auto* bytes = reinterpret_cast<unsigned char*>(&st);
        for (const Field& f : kFields) {
            if (f.count < 0) std::memcpy(bytes + f.offset, r.s32(f.name), 4 * size_t(-f.count));
            else std::memcpy(bytes + f.offset, r.s16(f.name), 2 * size_t(f.count));
        }
        const XvoStatus s = xvosVAD2_GSMAMR_16s(r.s16("speech"), &st, r.s16("flag"), static_cast<Xvo16s>(r.v("ltpFlag")));
        for (const Field& f : kFields) {
            if (f.count < 0) std::memcpy(r.s32(f.name), bytes + f.offset, 4 * size_t(-f.count));
            else std::memcpy(r.s16(f.name), bytes + f.offset, 2 * size_t(f.count));
        }
        return s;
    });
    EXPECT_GE(rows, 1000u);
}

TEST(GsmAmrVad2, SequencesFromTheZeroedRecord) {
    const auto files = xvotest::goldenFilesStartingWith("amrnb", "xvosVAD2_GSMAMR_16s.seq-");
    if (files.size() < 2 && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: VAD2 sequence files not found";
    ASSERT_GE(files.size(), 2u);
    for (const auto& file : files) {
        XvoVAD2State_GSMAMR st{};
        const size_t rows = replayGolden(file, [&st](GoldenRow& r) {
            return xvosVAD2_GSMAMR_16s(r.s16("speech"), &st, r.s16("flag"), static_cast<Xvo16s>(r.v("ltpFlag")));
        });
        EXPECT_GE(rows, 400u) << file;
    }
}

}  // namespace

namespace {

// The FFT against a double-precision DFT scaled by 1/64 (each of the six stages halves), within
// the rounding the stages accumulate; and its packing of bins 0 and 64.
TEST(GsmAmrVad2, FftMatchesTheDftAndPacking) {
    uint32_t seed = 1;
    for (int n = 0; n < 20; ++n) {
        int16_t x[128];
        double xd[128];
        for (int i = 0; i < 128; ++i) {
            seed = seed * 1664525u + 1013904223u;
            x[i] = static_cast<int16_t>((seed >> 16) % 16001) - 8000;
            xd[i] = x[i];
        }
        ASSERT_EQ(xvosFFTFwd_RToPerm_GSMAMR_16s_I(x), xvoStsOk);
        for (int k = 0; k <= 64; ++k) {
            double re = 0, im = 0;
            for (int i = 0; i < 128; ++i) re += xd[i] * std::cos(2 * M_PI * k * i / 128), im -= xd[i] * std::sin(2 * M_PI * k * i / 128);
            re /= 64, im /= 64;
            const double gotRe = k == 0 ? x[0] : k == 64 ? x[1] : x[2 * k], gotIm = k == 0 || k == 64 ? 0 : x[2 * k + 1];
            EXPECT_NEAR(gotRe, re, 4.0) << "bin " << k;
            EXPECT_NEAR(gotIm, im, 4.0) << "bin " << k;
        }
    }
}

TEST(GsmAmrVad2, PreemphasisInPlaceAndMemory) {
    Xvo16s x[5] = {1000, -32768, 32767, 0, 200}, mem = 30000;
    const Xvo16s want[5] = {-23000, -32768, 32767, -26214, 200};  // add(x, mult(-26214, previous)), saturated
    ASSERT_EQ(xvosPreemphasize_GSMAMR_16s(-26214, x, x, 5, &mem), xvoStsOk);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(x[i], want[i]) << i;
    EXPECT_EQ(mem, 200);
}

}  // namespace
