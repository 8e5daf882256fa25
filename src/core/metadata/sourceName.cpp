#include "core/metadata/sourceName.hpp"

#include <algorithm>
#include <cctype>

namespace quorvel {

namespace {
bool endsWithNoCase(const std::string& name, std::string_view suffix)
{
    return name.size() > suffix.size() &&
           std::equal(suffix.begin(), suffix.end(), name.end() - static_cast<std::ptrdiff_t>(suffix.size()),
                      [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}
} // namespace

std::string sourceBaseName(const std::filesystem::path& file, const FileSource& source)
{
    const bool container = source.offset > 0 || source.length.has_value();
    std::string name = source.storedName.empty() ? file.filename().string() : source.storedName;
    if (endsWithNoCase(name, ".sd2"))
        name.resize(name.size() - 4);
    else if (container && source.storedName.empty())
        name = file.stem().string();
    // A stored Mac name may hold what a file name here cannot.
    if (!source.storedName.empty())
        for (char& c : name)
            if (c == '/' || c == '\0')
                c = '_';
    return name.empty() ? "untitled" : name;
}

} // namespace quorvel
