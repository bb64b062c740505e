// The input fields of a golden vector file, for benchmarks that time a kernel on the same inputs
// as the reference step was timed on. Reads $XVOSC_VECTORS (default ../shared/vectors); an absent
// file gives no rows, and the benchmark then reports that it skipped.
#pragma once

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "xvosc.h"

namespace xvobench {

struct GoldenInputs {
    std::map<std::string, std::pair<int, int>> field;  // name -> (offset, count) within a row
    std::vector<std::vector<long>> rows;

    /// A copy of field `name` of row r, as 16-bit or as 32-bit values.
    std::vector<Xvo16s> get(size_t r, const std::string& name) const {
        const auto [off, n] = field.at(name);
        return {rows[r].begin() + off, rows[r].begin() + off + n};
    }
    std::vector<Xvo32s> get32(size_t r, const std::string& name) const {
        const auto [off, n] = field.at(name);
        return {rows[r].begin() + off, rows[r].begin() + off + n};
    }
    int value(size_t r, const std::string& name) const { return rows[r][field.at(name).first]; }
};

inline GoldenInputs loadGoldenInputs(const std::string& rel) {
    const char* env = std::getenv("XVOSC_VECTORS");
    std::ifstream f(std::string(env ? env : "../shared/vectors") + "/golden/" + rel);
    GoldenInputs g;
    int width = 0;
    for (std::string line; std::getline(f, line);) {
        if (line.rfind("# in:", 0) == 0) {
            std::istringstream is(line.substr(5));
            for (std::string tok; is >> tok;) {
                const auto b = tok.find('[');
                const int n = std::stoi(tok.substr(b + 1));
                g.field[tok.substr(0, b)] = {width, n};
                width += n;
            }
        } else if (!line.empty() && line[0] != '#') {
            std::istringstream is(line);
            std::vector<long> row;
            long v;
            while (static_cast<int>(row.size()) < width && is >> v) row.push_back(v);
            g.rows.push_back(std::move(row));
        }
    }
    return g;
}

}  // namespace xvobench
