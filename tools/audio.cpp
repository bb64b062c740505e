// Audio file input and output of the xvosc tool, through libsndfile.
#include <sndfile.h>

#include <cstdio>
#include <memory>

#include "commands.h"

namespace xvotool {

namespace {
struct SndCloser {
    void operator()(SNDFILE* f) const { sf_close(f); }
};
using SndFile = std::unique_ptr<SNDFILE, SndCloser>;

std::string tempName(const std::string& path) { return path + ".part"; }

bool commit(const std::string& path, std::string& error) {
    if (std::rename(tempName(path).c_str(), path.c_str()) != 0) {
        std::remove(tempName(path).c_str());
        error = path + ": cannot write";
        return false;
    }
    return true;
}
}  // namespace

bool readMono8k(const std::string& path, std::vector<int16_t>& samples, std::string& error) {
    samples.clear();
    SF_INFO info{};
    SndFile f(sf_open(path.c_str(), SFM_READ, &info));
    if (!f) {
        error = path + ": " + sf_strerror(nullptr);
        return false;
    }
    if (info.samplerate != 8000 || info.channels != 1) {
        error = path + ": need 8 kHz mono audio, got " + std::to_string(info.samplerate) + " Hz with " +
                std::to_string(info.channels) + " channel" + (info.channels == 1 ? "" : "s");
        return false;
    }
    samples.resize(static_cast<size_t>(info.frames));
    if (sf_readf_short(f.get(), samples.data(), info.frames) != info.frames) {
        error = path + ": read error: " + sf_strerror(f.get());
        samples.clear();
        return false;
    }
    return true;
}

bool writeWav8k(const std::string& path, const std::vector<int16_t>& samples, int law, std::string& error) {
    SF_INFO info{};
    info.samplerate = 8000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | (law == 2 ? SF_FORMAT_PCM_16 : law == 1 ? SF_FORMAT_ALAW : SF_FORMAT_ULAW);
    bool ok;
    {
        SndFile f(sf_open(tempName(path).c_str(), SFM_WRITE, &info));
        if (!f) {
            error = path + ": " + sf_strerror(nullptr);
            return false;
        }
        const auto n = static_cast<sf_count_t>(samples.size());
        if (law == 2) {
            ok = sf_writef_short(f.get(), samples.data(), n) == n;
        } else {
            std::vector<uint8_t> bytes(samples.begin(), samples.end());  // G.711 bytes as they are
            ok = sf_write_raw(f.get(), bytes.data(), n) == n;
        }
    }
    if (!ok) {
        std::remove(tempName(path).c_str());
        error = path + ": write error";
        return false;
    }
    return commit(path, error);
}

bool writeFileAtomic(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error) {
    FILE* f = std::fopen(tempName(path).c_str(), "wb");
    if (!f) {
        error = path + ": cannot create";
        return false;
    }
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    if (std::fclose(f) != 0 || !ok) {
        std::remove(tempName(path).c_str());
        error = path + ": write error";
        return false;
    }
    return commit(path, error);
}

}  // namespace xvotool
