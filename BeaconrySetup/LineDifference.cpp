#include "BeaconrySetup/LineDifference.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace pelorin::setup {

namespace {

// A table above this many cells is not worth the finer picture.
constexpr std::size_t cellLimit = 4'000'000;

using Lines = std::vector<std::string_view>;

Lines linesOf(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

void append(std::string& out, std::string_view mark, std::string_view line) {
    out += mark;
    out += line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
    out += '\n';
}

} // namespace

std::string lineDifference(std::string_view before, std::string_view after) {
    Lines old = linesOf(before);
    Lines now = linesOf(after);
    const auto start = std::mismatch(old.begin(), old.end(), now.begin(), now.end());
    old.erase(old.begin(), start.first);
    now.erase(now.begin(), start.second);
    while (!old.empty() && !now.empty() && old.back() == now.back()) {
        old.pop_back();
        now.pop_back();
    }
    const std::size_t width = now.size() + 1;
    const bool isFine = (old.size() + 1) * width <= cellLimit;
    // How many lines the rests from each pair of lines on have in common.
    std::vector<std::size_t> common(isFine ? (old.size() + 1) * width : 0);
    for (std::size_t row = isFine ? old.size() : 0; row-- > 0;) {
        for (std::size_t column = now.size(); column-- > 0;) {
            const std::size_t cell = row * width + column;
            common[cell] = old[row] == now[column] ? common[cell + width + 1] + 1
                                                   : std::max(common[cell + width], common[cell + 1]);
        }
    }
    std::string out;
    std::size_t row = 0;
    std::size_t column = 0;
    while (row < old.size() || column < now.size()) {
        if (isFine && row < old.size() && column < now.size() && old[row] == now[column]) {
            ++row;
            ++column;
        } else if (row < old.size() && (!isFine || column == now.size() ||
                                        common[(row + 1) * width + column] >= common[row * width + column + 1])) {
            append(out, "- ", old[row++]);
        } else {
            append(out, "+ ", now[column++]);
        }
    }
    return out;
}

} // namespace pelorin::setup
