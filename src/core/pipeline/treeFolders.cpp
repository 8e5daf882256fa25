#include "core/pipeline/treeFolders.hpp"

#include <stdexcept>
#include <vector>

namespace quorvel {

namespace fs = std::filesystem;

TreeFolders::Hold TreeFolders::hold(const fs::path& folder)
{
    const std::lock_guard lock(mutex_);
    std::vector<fs::path> missing;
    std::error_code error;
    if (linkFree_)
        for (fs::path f = folder; f.native().size() > linkFree_->native().size(); f = f.parent_path())
            if (fs::is_symlink(fs::symlink_status(f, error)))
                throw std::runtime_error("couldn't use " + f.string() + ": it is a symbolic link");
    for (fs::path f = folder; !f.empty() && !fs::exists(f, error); f = f.parent_path()) {
        missing.push_back(f);
        if (f == f.parent_path())
            break;
    }
    // Top down; on failure the folders just made go again, deepest first.
    for (std::size_t i = missing.size(); i-- > 0;) {
        if (!fs::create_directory(missing[i], error) && error) {
            const std::string reason = "couldn't make the folder " + missing[i].string() + ": " + error.message();
            for (std::size_t made = i + 1; made < missing.size(); ++made) {
                fs::remove(missing[made], error);
                made_.erase(missing[made]);
            }
            throw std::runtime_error(reason);
        }
        made_.insert(missing[i]);
    }
    ++holders_[folder];
    return Hold(this, folder);
}

void TreeFolders::release(const fs::path& folder)
{
    const std::lock_guard lock(mutex_);
    if (--holders_[folder] == 0)
        holders_.erase(folder);
    std::error_code error;
    for (fs::path f = folder; made_.contains(f) && !holders_.contains(f); f = f.parent_path()) {
        if (!fs::remove(f, error)) // not empty: a file landed in it, or in a folder below
            break;
        made_.erase(f);
    }
}

} // namespace quorvel
