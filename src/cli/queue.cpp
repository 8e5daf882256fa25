#include "cli/queue.hpp"
#include "core/io/MappedFile.hpp"
#include "model/intake.hpp"

#include <QFile>

#include <algorithm>

namespace quorvel::cli {

std::vector<std::string> queuePaths(const std::vector<std::string>& given)
{
    QStringList paths;
    for (const std::string& path : given)
        paths.append(QFile::decodeName(path.c_str()));
    std::vector<std::string> queued;
    for (const QString& path : collectSd2Paths(paths, {}))
        queued.push_back(QFile::encodeName(path).toStdString());
    return queued;
}

Detection detectPath(const std::string& path, SourceFormatChoice choice)
{
    const MappedFile file = MappedFile::open(path);
    if (!file.ok())
        return Unreadable{file.error()};
    return detectFile(file.bytes(), choice);
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
        column = std::max(column, displayWidth(path));
    return column;
}

std::string paddedName(const std::string& path, std::size_t column)
{
    return path + std::string(column - displayWidth(path) + 2, ' ');
}

} // namespace quorvel::cli
