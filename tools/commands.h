// Subcommands of the xvosc tool. Each lives in its own cmd_*.cpp and is
// listed once in the table of xvosc.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xvotool {

struct Command {
    const char* name;
    const char* usage;  // one line, shown by `xvosc help`
    const char* help;   // the command's full usage text, or null
    int (*run)(int argc, char** argv);  // argv[0] is the subcommand name
};

/// Prints "xvosc: <message>" to stderr and returns the exit code 2.
int fail(const std::string& message);

int cmdVersion(int argc, char** argv);
int cmdDemo(int argc, char** argv);
int cmdG726(int argc, char** argv);
int cmdDenoise(int argc, char** argv);  // cmd_vqe.cpp
int cmdAgc(int argc, char** argv);      // cmd_vqe.cpp

extern const char* const kG726Help;
extern const char* const kDenoiseHelp;
extern const char* const kAgcHelp;
extern const char* const kDemoHelp;

// ---- audio files (audio.cpp) -----------------------------------------------

/// 8 kHz mono 16-bit audio read from a file libsndfile understands. On any
/// other rate or channel count `error` says why and the samples are empty.
bool readMono8k(const std::string& path, std::vector<int16_t>& samples, std::string& error);

/// Writes 16-bit samples as an 8 kHz mono WAV, or G.711 bytes as an A-law or
/// mu-law WAV (law 1 or 0; law 2 = linear). Writes to a temporary name and
/// renames it, so a failed write leaves nothing behind.
bool writeWav8k(const std::string& path, const std::vector<int16_t>& samples, int law, std::string& error);

/// Writes bytes to a file through a temporary name and a rename.
bool writeFileAtomic(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error);

// ---- demo (cmd_demo.cpp) ----------------------------------------------------

/// What every demo stage receives: the built-in sample and the folder for
/// its output files.
struct DemoContext {
    std::string dir;              // existing folder for the stage's files
    std::vector<int16_t> speech;  // 16-bit, 8 kHz mono
};

/// Signal-to-noise ratio and segmental SNR (20 ms frames, each limited to
/// -10..35 dB, silent frames skipped) of `out` against `ref`, in dB.
void snr(const std::vector<int16_t>& ref, const std::vector<int16_t>& out, double& snrDb, double& segSnrDb);

/// The G.726 demo stage: all four rates on the sample, WAVs and an SNR table.
int demoG726(const DemoContext& ctx);

/// The voice-quality demo stage: noise suppression at levels 1..4 and level control.
int demoVqe(const DemoContext& ctx);

}  // namespace xvotool
