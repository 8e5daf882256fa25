#include "core/metadata/sd2Candidate.hpp"
#include "core/metadata/findFileSource.hpp"

#include <algorithm>
#include <cctype>

namespace quorvel {

namespace fs = std::filesystem;

namespace {
// Taken from the name itself, so that a file named just ".sd2" has the extension too.
std::string lowerExtension(const fs::path& path)
{
    const std::string name = path.filename().string();
    const auto dot = name.rfind('.');
    if (dot == std::string::npos)
        return {};
    std::string extension = name.substr(dot);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}
} // namespace

bool isSd2Candidate(const fs::path& path, const std::optional<fs::path>& root)
{
    if (isSidecarPath(path))
        return false;
    const std::string extension = lowerExtension(path);
    if (extension == ".sd2")
        return true;
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        return false;
    return hasSd2FinderType(path, extension.empty() || extension == ".bin" || extension == ".as", root);
}

} // namespace quorvel
