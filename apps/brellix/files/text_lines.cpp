#include "files/text_lines.h"

#include "console/failure.h"
#include "files/readable_file.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

namespace brellix::app {
namespace {

// Editors on Windows put it before UTF-8.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

void dropByteOrderMark(std::vector<std::string>& lines) {
    if (lines.empty() || lines.front().compare(0, kByteOrderMark.size(), kByteOrderMark) != 0) {
        return;
    }
    lines.front().erase(0, kByteOrderMark.size());
    if (lines.size() == 1 && lines.front().empty()) {
        lines.clear();
    }
}

void dropCarriageReturn(std::string& line) {
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
}

}  // namespace

std::vector<std::string> readTextLines(const std::string& path, const std::string& what) {
    requireReadableFile(path, what);
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
        dropCarriageReturn(lines.back());
    }
    if (file.bad() || !file.eof()) {
        throw wrongUse(what + ' ' + path + ": cannot be read: " + std::strerror(errno));
    }
    dropByteOrderMark(lines);
    return lines;
}

}  // namespace brellix::app
