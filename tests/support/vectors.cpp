#include "vectors.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace xvotest {

std::string vectorsDir() {
    if (const char* env = std::getenv("XVOSC_VECTORS"); env && *env) return env;
    return XVOSC_DEFAULT_VECTORS;
}

bool vectorsRequired() {
    const char* env = std::getenv("XVOSC_REQUIRE_VECTORS");
    return env && std::string(env) == "1";
}

std::optional<std::string> findVector(const std::string& relPath) {
    std::filesystem::path p = std::filesystem::path(vectorsDir()) / relPath;
    if (std::filesystem::exists(p)) return p.string();
    return std::nullopt;
}

std::vector<uint8_t> readBytes(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

std::vector<int16_t> readWords16(const std::string& path) {
    const auto b = readBytes(path);
    std::vector<int16_t> w(b.size() / 2);
    for (size_t i = 0; i < w.size(); ++i)
        w[i] = static_cast<int16_t>(static_cast<uint16_t>(b[2 * i] | (b[2 * i + 1] << 8)));
    return w;
}

namespace {
std::vector<Golden::Field> parseFields(const std::string& text, int& offset) {
    std::vector<Golden::Field> fields;
    std::istringstream is(text);
    std::string tok;
    while (is >> tok) {
        const auto lb = tok.find('['), rb = tok.find(']');
        if (lb == std::string::npos || rb == std::string::npos) throw std::runtime_error("bad field " + tok);
        Golden::Field f;
        f.name = tok.substr(0, lb);
        f.count = std::stoi(tok.substr(lb + 1, rb - lb - 1));
        f.offset = offset;
        offset += f.count;
        fields.push_back(f);
    }
    return fields;
}
}  // namespace

const Golden::Field& Golden::field(const std::string& name, bool output) const {
    for (const auto& f : output ? out : in)
        if (f.name == name) return f;
    throw std::runtime_error("no field " + name + " in " + function);
}

std::span<const int64_t> Golden::in_(const std::vector<int64_t>& row, const std::string& name) const {
    const auto& f = field(name, false);
    return std::span<const int64_t>(row).subspan(f.offset, f.count);
}

std::span<const int64_t> Golden::out_(const std::vector<int64_t>& row, const std::string& name) const {
    const auto& f = field(name, true);
    return std::span<const int64_t>(row).subspan(f.offset, f.count);
}

Golden loadGolden(const std::string& path) {
    std::ifstream f(path);
    if (!f) throw std::runtime_error("cannot open " + path);
    Golden g;
    std::string line;
    int offset = 0;
    size_t width = 0;
    while (std::getline(f, line)) {
        if (line.empty()) continue;
        if (line[0] == '#') {
            auto body = line.substr(1);
            while (!body.empty() && body[0] == ' ') body.erase(0, 1);
            if (body.rfind("function:", 0) == 0) g.function = body.substr(9);
            else if (body.rfind("in:", 0) == 0) g.in = parseFields(body.substr(3), offset);
            else if (body.rfind("out:", 0) == 0) {
                g.out = parseFields(body.substr(4), offset);
                width = static_cast<size_t>(offset);
            } else if (body.rfind("note:", 0) == 0) g.notes.push_back(body.substr(5));
            continue;
        }
        std::vector<int64_t> row;
        row.reserve(width);
        const char* p = line.c_str();
        char* end = nullptr;
        for (;;) {
            long long v = std::strtoll(p, &end, 10);
            if (end == p) break;
            row.push_back(v);
            p = end;
        }
        if (row.size() != width)
            throw std::runtime_error(path + ": row of " + std::to_string(row.size()) + " values, header says " +
                                     std::to_string(width));
        g.rows.push_back(std::move(row));
    }
    return g;
}

}  // namespace xvotest
