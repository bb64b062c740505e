// The AMR-WB VAD against the TS 26.173 reference: single calls from captured states loaded into
// the record by its documented layout, and whole sequences from Init (every file of the sequence
// folder, so further captures dropped there are replayed too).
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <vector>

#include "golden_replay.h"

using xvotest::GoldenRow;
using xvotest::replayGolden;

namespace {

// The record's fields in layout order: name, count of 16-bit values (prevPower is the 32-bit one).
struct Field {
    const char* name;
    int count;
};
constexpr Field kLayout[] = {{"bckrEst", 12},    {"aveLevel", 12},   {"oldLevel", 12},   {"subLevel", 12},
                             {"filterMem", 16},  {"vadReg", 1},      {"burstCount", 1},  {"hangCount", 1},
                             {"statCount", 1},   {"spEstCount", 1},  {"spMaxCount", 1},  {"spMax", 1},
                             {"speechLevel", 1}, {"prevPower", -1},  {"levels", 12}};

TEST(AmrwbVad, SizeAndInitialRecord) {
    Xvo32s size = 0;
    ASSERT_EQ(xvosVADGetSize_AMRWB_16s(&size), xvoStsOk);
    ASSERT_EQ(size, 172);
    std::vector<unsigned char> mem(172, 0xAB);
    auto* st = reinterpret_cast<XvoVADState_AMRWB*>(mem.data());
    ASSERT_EQ(xvosVADInit_AMRWB_16s(st), xvoStsOk);
    Xvo16s f[86];
    std::memcpy(f, mem.data(), 172);
    for (int i = 0; i < 36; ++i) EXPECT_EQ(f[i], 150) << i;
    for (int i = 36; i < 71; ++i) EXPECT_EQ(f[i], 0) << i;
    EXPECT_EQ(f[71], 2050);
    for (int i = 72; i < 86; ++i) EXPECT_EQ(f[i], 0) << i;
}

TEST(AmrwbVad, EveryCapturedCall) {
    const char* file = "amrwb/xvosVAD_AMRWB_16s.txt";
    if (!xvotest::findVector(std::string("golden/") + file) && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: " << file;
    const size_t rows = replayGolden(file, [](GoldenRow& r) {
        alignas(4) unsigned char rec[172];
        size_t off = 0;
        for (const Field& f : kLayout) {
            const size_t bytes = f.count < 0 ? 4 : 2 * size_t(f.count);
            if (f.count < 0) std::memcpy(rec + off, r.s32(f.name), bytes);
            else std::memcpy(rec + off, r.s16(f.name), bytes);
            off += bytes;
        }
        auto* st = reinterpret_cast<XvoVADState_AMRWB*>(rec);
        const XvoStatus s = xvosVAD_AMRWB_16s(r.s16("speech"), st, r.s16("tone"), r.s16("vadFlag"));
        off = 0;
        for (const Field& f : kLayout) {
            const size_t bytes = f.count < 0 ? 4 : 2 * size_t(f.count);
            if (f.count < 0) std::memcpy(r.s32(f.name), rec + off, bytes);
            else std::memcpy(r.s16(f.name), rec + off, bytes);
            off += bytes;
        }
        return s;
    });
    EXPECT_GE(rows, 600u);
}

TEST(AmrwbVad, EverySequenceFromInit) {
    const std::string rel = "golden/amrwb/xvosVAD_AMRWB_16s_sequences";
    const auto dir = std::filesystem::path(xvotest::vectorsDir()) / rel;
    if (!std::filesystem::is_directory(dir)) {
        if (xvotest::vectorsRequired()) FAIL() << "missing vector folder " << rel;
        GTEST_SKIP() << "SKIPPED: " << rel << " not found under " << xvotest::vectorsDir();
    }
    size_t files = 0, frames = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir)) {
        if (e.path().extension() != ".txt") continue;
        alignas(4) unsigned char rec[172];
        auto* st = reinterpret_cast<XvoVADState_AMRWB*>(rec);
        ASSERT_EQ(xvosVADInit_AMRWB_16s(st), xvoStsOk);
        frames += replayGolden("amrwb/xvosVAD_AMRWB_16s_sequences/" + e.path().filename().string(), [st](GoldenRow& r) {
            const XvoStatus s = xvosVAD_AMRWB_16s(r.s16("speech"), st, r.s16("tone"), r.s16("vadFlag"));
            xvosVADGetEnergyLevel_AMRWB_16s(st, r.s16("levels"));
            return s;
        });
        ++files;
    }
    EXPECT_GE(files, 5u);
    EXPECT_GE(frames, 1300u);
}

}  // namespace
