#pragma once

#include "core/detection/detectFile.hpp"

#include <string>
#include <variant>
#include <vector>

namespace quorvel::cli {

// The .sd2 files among the given paths, in the order the app would queue them.
std::vector<std::string> queuePaths(const std::vector<std::string>& given);

struct Unreadable {
    std::string reason;
};
using Detection = std::variant<FileDetection, Unreadable>;

// Detection of one queued file, read memory-mapped, as the app runs it on arrival.
Detection detectPath(const std::string& path, SourceFormatChoice choice);

// Width in characters of UTF-8 text, for lining up columns.
std::size_t displayWidth(std::string_view text);

} // namespace quorvel::cli
