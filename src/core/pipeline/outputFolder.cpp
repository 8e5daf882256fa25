#include "core/pipeline/outputFolder.hpp"

namespace quorvel {

namespace fs = std::filesystem;

OutputFolder makeDefaultOutputFolder(const fs::path& location)
{
    OutputFolder folder{location / kDefaultOutputFolderName, {}};
    std::error_code made, looked;
    fs::create_directory(folder.path, made);
    if (fs::is_symlink(fs::symlink_status(folder.path, looked)))
        folder.error = "couldn't use " + folder.path.string() + ": it is a symbolic link";
    else if (made)
        folder.error = "couldn't create " + folder.path.string() + ": " + made.message();
    return folder;
}

OutputFolder prepareOutputFolder(const std::optional<fs::path>& chosen, const fs::path& location)
{
    if (!chosen)
        return makeDefaultOutputFolder(location);
    std::error_code ignored;
    fs::create_directories(*chosen, ignored);
    return {*chosen, {}};
}

} // namespace quorvel
