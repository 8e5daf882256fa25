#include "cli/queue.hpp"
#include "core/detection/detectSource.hpp"
#include "core/io/MappedFile.hpp"
#include "model/intake.hpp"

#include <algorithm>
#include <cstdio>

namespace quorvel::cli {

std::vector<std::string> queuePaths(const std::vector<std::string>& given)
{
    std::vector<std::string> queued;
    for (const auto& path : collectSd2Paths(PathList(given.begin(), given.end()), {}))
        queued.push_back(path.string());
    return queued;
}

Detection detectPath(const std::string& path, SourceFormatChoice choice)
{
    const MappedFile file = MappedFile::open(path);
    if (!file.ok())
        return Unreadable{file.error()};
    if (auto found = detectSource(path, file.bytes(), choice))
        return *found;
    return Unreadable{"the file changed while it was being read"};
}

namespace {
std::size_t displayWidth(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}
} // namespace

std::size_t nameColumn(const std::vector<std::string>& paths)
{
    std::size_t column = 0;
    for (const std::string& path : paths)
        column = std::max(column, displayWidth(printableName(path)));
    return column;
}

std::string printableName(const std::string& path)
{
    std::string out;
    for (const char c : path) {
        if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(c));
            out += escaped;
        } else
            out += c;
    }
    return out;
}

std::string paddedName(const std::string& path, std::size_t column)
{
    const std::string name = printableName(path);
    return name + std::string(column - displayWidth(name) + 2, ' ');
}

} // namespace quorvel::cli
