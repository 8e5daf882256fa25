#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

namespace quorvel {

// The folders of a kept tree, made as a file is about to be written into them and taken away
// again when that file fails and leaves them empty: a failed file leaves no empty folders
// behind. Folders that existed before are never removed. Shared by the threads of a run.
class TreeFolders {
public:
    // Below `linkFree` (the default output folder: one the user did not choose) a link in the
    // way is refused, not followed: one planted there would send outputs wherever it points.
    explicit TreeFolders(std::optional<std::filesystem::path> linkFree = std::nullopt) : linkFree_(std::move(linkFree)) {}

    // Keeps a folder from being removed while a file is written into it.
    class Hold {
    public:
        Hold(Hold&& other) noexcept : owner_(std::exchange(other.owner_, nullptr)), folder_(std::move(other.folder_)) {}
        Hold& operator=(Hold&&) = delete;
        ~Hold()
        {
            if (owner_)
                owner_->release(folder_);
        }

    private:
        friend class TreeFolders;
        Hold(TreeFolders* owner, std::filesystem::path folder) : owner_(owner), folder_(std::move(folder)) {}
        TreeFolders* owner_;
        std::filesystem::path folder_;
    };

    // Makes `folder` and its missing parents. Throws std::runtime_error ("couldn't make the
    // folder F: reason", "couldn't use F: it is a symbolic link") when it cannot.
    Hold hold(const std::filesystem::path& folder);

private:
    // Removes the folders this made that are now empty and that no one holds, from `folder` up.
    void release(const std::filesystem::path& folder);

    std::optional<std::filesystem::path> linkFree_;
    std::mutex mutex_;
    std::map<std::filesystem::path, int> holders_;
    std::set<std::filesystem::path> made_;
};

} // namespace quorvel
