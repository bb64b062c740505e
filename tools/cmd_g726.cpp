// `xvosc g726 encode|decode`: G.726 ADPCM files from and to WAV, and the
// G.726 stage of `xvosc demo`.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "commands.h"
#include "xvosc.h"

namespace xvotool {

const char* const kG726Help =
    "usage: xvosc g726 encode --rate 16|24|32|40 [--pack bytes|rfc3551|aal2] in.wav out.g726\n"
    "       xvosc g726 decode --rate 16|24|32|40 [--pack bytes|rfc3551|aal2]\n"
    "                         [--law linear|alaw|ulaw] in.g726 out.wav|out.raw\n"
    "\n"
    "ITU-T G.726 ADPCM at 16, 24, 32 or 40 kbit/s (2, 3, 4 or 5 bits per sample).\n"
    "\n"
    "encode  reads 8 kHz mono audio (any format libsndfile reads; other rates or\n"
    "        channel counts are refused), reduces the 16-bit samples to the codec's\n"
    "        14-bit range (arithmetic shift right by 2) and writes the codes.\n"
    "decode  reads codes and writes 8 kHz mono audio: --law linear (default) gives\n"
    "        16-bit PCM (the 14-bit output shifted left by 2); alaw and ulaw give the\n"
    "        G.711 bytes of the G.726 decoder, with its synchronous coding adjustment.\n"
    "        out.wav is a WAV file (PCM, A-law or mu-law); out.raw has no header\n"
    "        (16-bit little-endian samples, or one G.711 byte per sample).\n"
    "\n"
    "--pack  bytes    one code per byte, in its low bits (default)\n"
    "        rfc3551  codes packed into octets from the least significant bit up\n"
    "                 (RTP G726-xx payload, RFC 3551)\n"
    "        aal2     codes packed from the most significant bit down (ITU-T I.366.2)\n"
    "        A packed stream ends with a partial octet padded with zero bits; at\n"
    "        24 and 40 kbit/s the padding may decode as one extra sample.\n"
    "\n"
    "Output files are written under a temporary name and renamed when complete;\n"
    "on any error nothing is written and the exit status is 2.\n";

namespace {

enum class Pack { Bytes, Rfc3551, Aal2 };

struct Options {
    int kbps = 0;
    Pack pack = Pack::Bytes;
    int law = XVO_PCM_LINEAR;
    std::vector<std::string> files;
};

XvoSpeechRate rateOf(int kbps) {
    switch (kbps) {
        case 16: return XVO_BITRATE_16000;
        case 24: return XVO_BITRATE_24000;
        case 32: return XVO_BITRATE_32000;
        default: return XVO_BITRATE_40000;
    }
}

bool parse(int argc, char** argv, bool decode, Options& o, std::string& error) {
    for (int i = 2; i < argc; ++i) {
        const std::string a = argv[i];
        const bool hasValue = i + 1 < argc;
        if (a == "--rate" && hasValue) {
            const std::string v = argv[++i];
            if (v == "16" || v == "24" || v == "32" || v == "40")
                o.kbps = std::stoi(v);
            else
                return error = "--rate must be 16, 24, 32 or 40, not '" + v + "'", false;
        } else if (a == "--pack" && hasValue) {
            const std::string v = argv[++i];
            if (v == "bytes") o.pack = Pack::Bytes;
            else if (v == "rfc3551") o.pack = Pack::Rfc3551;
            else if (v == "aal2") o.pack = Pack::Aal2;
            else return error = "--pack must be bytes, rfc3551 or aal2, not '" + v + "'", false;
        } else if (a == "--law" && hasValue && decode) {
            const std::string v = argv[++i];
            if (v == "linear") o.law = XVO_PCM_LINEAR;
            else if (v == "alaw") o.law = XVO_PCM_ALAW;
            else if (v == "ulaw") o.law = XVO_PCM_MULAW;
            else return error = "--law must be linear, alaw or ulaw, not '" + v + "'", false;
        } else if (a.size() > 1 && a[0] == '-') {
            return error = "unknown or incomplete option '" + a + "' (try 'xvosc g726 --help')", false;
        } else {
            o.files.push_back(a);
        }
    }
    if (o.kbps == 0) return error = "--rate is required (16, 24, 32 or 40)", false;
    if (o.files.size() != 2) return error = "need an input and an output file (try 'xvosc g726 --help')", false;
    return true;
}

std::vector<uint8_t> pack(const std::vector<uint8_t>& codes, int bits, Pack p) {
    if (p == Pack::Bytes) return codes;
    std::vector<uint8_t> out;
    out.reserve(codes.size() * bits / 8 + 1);
    uint32_t acc = 0;
    int n = 0;
    for (uint8_t c : codes) {
        if (p == Pack::Rfc3551) {
            acc |= static_cast<uint32_t>(c) << n;
            for (n += bits; n >= 8; n -= 8, acc >>= 8) out.push_back(static_cast<uint8_t>(acc));
        } else {
            acc = (acc << bits) | c;
            for (n += bits; n >= 8; n -= 8) out.push_back(static_cast<uint8_t>(acc >> (n - 8)));
        }
    }
    if (n > 0) out.push_back(static_cast<uint8_t>(p == Pack::Rfc3551 ? acc : acc << (8 - n)));
    return out;
}

std::vector<uint8_t> unpack(const std::vector<uint8_t>& data, int bits, Pack p) {
    if (p == Pack::Bytes) return data;
    std::vector<uint8_t> codes;
    const uint32_t mask = (1u << bits) - 1;
    uint32_t acc = 0;
    int n = 0;
    for (uint8_t b : data) {
        if (p == Pack::Rfc3551) {
            acc |= static_cast<uint32_t>(b) << n;
            for (n += 8; n >= bits; n -= bits, acc >>= bits) codes.push_back(static_cast<uint8_t>(acc & mask));
        } else {
            acc = (acc << 8) | b;
            for (n += 8; n >= bits; n -= bits) codes.push_back(static_cast<uint8_t>((acc >> (n - bits)) & mask));
        }
    }
    return codes;
}

bool endsWith(const std::string& s, const char* suffix) {
    const size_t n = std::strlen(suffix);
    return s.size() >= n && s.compare(s.size() - n, n, suffix) == 0;
}

int encode(const Options& o) {
    std::string error;
    std::vector<int16_t> pcm;
    if (!readMono8k(o.files[0], pcm, error)) return fail(error);
    if (pcm.empty()) return fail(o.files[0] + ": no samples");
    for (auto& s : pcm) s = static_cast<int16_t>(s >> 2);  // 16-bit to 14-bit
    Xvo32s size = 0;
    xvosEncodeGetStateSize_G726_16s8u(&size);
    std::vector<uint8_t> state(static_cast<size_t>(size)), codes(pcm.size());
    auto* st = reinterpret_cast<XvoG726State*>(state.data());
    if (xvosEncodeInit_G726_16s8u(st, rateOf(o.kbps)) != xvoStsOk ||
        xvosEncode_G726_16s8u(st, pcm.data(), codes.data(), static_cast<int>(pcm.size())) != xvoStsOk)
        return fail("encoder failed");
    if (!writeFileAtomic(o.files[1], pack(codes, o.kbps / 8, o.pack), error)) return fail(error);
    return 0;
}

int decode(const Options& o) {
    const std::string& out = o.files[1];
    if (!endsWith(out, ".wav") && !endsWith(out, ".raw")) return fail(out + ": the output name must end in .wav or .raw");
    std::ifstream in(o.files[0], std::ios::binary);
    if (!in) return fail(o.files[0] + ": cannot open");
    const std::vector<uint8_t> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const int bits = o.kbps / 8;
    const auto codes = unpack(data, bits, o.pack);
    if (codes.empty()) return fail(o.files[0] + ": no codes");
    for (size_t i = 0; i < codes.size(); ++i)
        if (codes[i] >> bits)
            return fail(o.files[0] + ": byte " + std::to_string(i) + " is not a " + std::to_string(bits) +
                        "-bit code (wrong --rate or --pack?)");
    Xvo32s size = 0;
    xvosDecodeGetStateSize_G726_8u16s(&size);
    std::vector<uint8_t> state(static_cast<size_t>(size));
    std::vector<int16_t> pcm(codes.size());
    auto* st = reinterpret_cast<XvoG726State*>(state.data());
    if (xvosDecodeInit_G726_8u16s(st, rateOf(o.kbps), static_cast<XvoPCMLaw>(o.law)) != xvoStsOk ||
        xvosDecode_G726_8u16s(st, codes.data(), pcm.data(), static_cast<int>(codes.size())) != xvoStsOk)
        return fail("decoder failed");
    std::string error;
    if (o.law == XVO_PCM_LINEAR)
        for (auto& s : pcm) s = static_cast<int16_t>(s * 4);  // 14-bit back to 16-bit
    if (endsWith(out, ".wav")) {
        if (!writeWav8k(out, pcm, o.law, error)) return fail(error);
        return 0;
    }
    std::vector<uint8_t> raw;
    for (int16_t s : pcm) {
        if (o.law == XVO_PCM_LINEAR) {
            raw.push_back(static_cast<uint8_t>(s & 0xff));
            raw.push_back(static_cast<uint8_t>((s >> 8) & 0xff));
        } else {
            raw.push_back(static_cast<uint8_t>(s));
        }
    }
    if (!writeFileAtomic(out, raw, error)) return fail(error);
    return 0;
}

}  // namespace

int cmdG726(int argc, char** argv) {
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        std::fputs(kG726Help, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    const std::string op = argv[1];
    if (op != "encode" && op != "decode") return fail("g726: unknown operation '" + op + "' (encode or decode)");
    Options o;
    std::string error;
    if (!parse(argc, argv, op == "decode", o, error)) return fail("g726 " + op + ": " + error);
    return op == "encode" ? encode(o) : decode(o);
}

int demoG726(const DemoContext& ctx) {
    const int n = static_cast<int>(ctx.speech.size());
    std::vector<int16_t> in14(ctx.speech.size());
    for (int i = 0; i < n; ++i) in14[i] = static_cast<int16_t>(ctx.speech[i] >> 2);
    std::printf("%-10s %8s %12s   %s\n", "rate", "SNR dB", "segSNR dB", "file");
    int failures = 0;
    for (int kbps : {16, 24, 32, 40}) {
        Xvo32s es = 0, ds = 0;
        xvosEncodeGetStateSize_G726_16s8u(&es);
        xvosDecodeGetStateSize_G726_8u16s(&ds);
        std::vector<uint8_t> enc(static_cast<size_t>(es)), dec(static_cast<size_t>(ds)), codes(n);
        std::vector<int16_t> out(n);
        auto* e = reinterpret_cast<XvoG726State*>(enc.data());
        auto* d = reinterpret_cast<XvoG726State*>(dec.data());
        if (xvosEncodeInit_G726_16s8u(e, rateOf(kbps)) != xvoStsOk || xvosDecodeInit_G726_8u16s(d, rateOf(kbps), XVO_PCM_LINEAR) != xvoStsOk ||
            xvosEncode_G726_16s8u(e, in14.data(), codes.data(), n) != xvoStsOk ||
            xvosDecode_G726_8u16s(d, codes.data(), out.data(), n) != xvoStsOk) {
            std::printf("g726 %d kbit/s: codec call failed\n", kbps);
            ++failures;
            continue;
        }
        double s, seg;
        snr(in14, out, s, seg);
        for (auto& v : out) v = static_cast<int16_t>(v * 4);
        const std::string file = ctx.dir + "/g726_" + std::to_string(kbps) + "k.wav";
        std::string error;
        if (!writeWav8k(file, out, XVO_PCM_LINEAR, error)) {
            std::printf("%s\n", error.c_str());
            ++failures;
            continue;
        }
        std::printf("%2d kbit/s  %8.2f %12.2f   %s\n", kbps, s, seg, file.c_str());
    }
    return failures;
}

}  // namespace xvotool
