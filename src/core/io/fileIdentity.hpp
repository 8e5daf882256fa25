#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <string>

namespace quorvel {

// What makes two paths one file: its device and inode, so "A/take.sd2", "./A/take.sd2",
// a hard link and a symlink to it all agree. A path that cannot be looked at (missing,
// unreadable) is known by its absolute spelling with "." and ".." taken out.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::string unresolved;

    auto operator<=>(const FileIdentity&) const = default;
};

FileIdentity fileIdentity(const std::filesystem::path& path);

} // namespace quorvel
