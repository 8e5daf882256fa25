#include "cli/queue.hpp"
#include "core/io/MappedFile.hpp"
#include "model/intake.hpp"

#include <algorithm>
#include <cstdio>

namespace quorvel::cli {

std::vector<QueuedSource> queueSources(const std::vector<std::string>& given, bool joinPairs)
{
    const PathList paths = collectSd2Paths(PathList(given.begin(), given.end()), {});
    if (joinPairs)
        return joinSplitStereo(paths);
    std::vector<QueuedSource> sources;
    for (const auto& path : paths)
        sources.push_back({path, std::nullopt});
    return sources;
}

std::string sourceName(const QueuedSource& source)
{
    return source.path.string() + (source.isPair() ? " + R" : "");
}

std::vector<std::string> sourceNames(const std::vector<QueuedSource>& sources)
{
    std::vector<std::string> names;
    for (const QueuedSource& source : sources)
        names.push_back(sourceName(source));
    return names;
}

Detection detectPath(const std::string& path, SourceFormatChoice choice)
{
    const MappedFile file = MappedFile::open(path);
    if (!file.ok())
        return Unreadable{file.error()};
    if (auto found = detectFile(file.bytes(), choice))
        return *found;
    return Unreadable{"the file changed while it was being read"};
}

Detection detectSource(const QueuedSource& source, SourceFormatChoice choice)
{
    Detection left = detectPath(source.path.string(), choice);
    if (!source.isPair() || std::holds_alternative<Unreadable>(left))
        return left;
    Detection right = detectPath(source.right->string(), choice);
    if (const auto* failed = std::get_if<Unreadable>(&right))
        return Unreadable{"the R half: " + failed->reason};
    return detectPair(std::get<FileDetection>(left), std::get<FileDetection>(right), choice);
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
