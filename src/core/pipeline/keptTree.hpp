#pragma once

#include "core/io/splitStereo.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace quorvel {

// Where a queued source sits in what the user gave: its path below the folder it was found
// under ("PT Session 12/Audio Files/Vox.sd2"), or its name when it was given by itself. Order,
// kept trees and shards all start from it, so none depends on where the archive is mounted.
std::filesystem::path pathBelowRoot(const std::filesystem::path& path, const std::optional<std::filesystem::path>& root);

// A given folder's own name, however it was spelled: "Session" for "Session/", "./Session/."
// or "." given from inside it; empty only for the file system's root.
std::filesystem::path folderName(const std::filesystem::path& folder);

// Where the default output folder (_sd2_outputs) goes for a run whose first file is `first`:
// beside the folder it was found under when the folder structure is kept, else beside the
// file itself.
std::filesystem::path defaultOutputLocation(const QueuedSource& first, bool keepTree);

// The folders that keep a drop's structure in the output folder OUT: a file found under a given
// folder goes to OUT/<that folder's name>/<its folders below it>/, a file given by itself to OUT.
// Given folders that share a name each keep a tree of their own: the first in queue order takes
// the name, the next "NAME (2)", then "NAME (3)" … (the same rule as for files).
class KeptTree {
public:
    KeptTree(std::filesystem::path out, const std::vector<QueuedSource>& queue);

    std::filesystem::path folderFor(const QueuedSource& source) const;

private:
    std::filesystem::path out_;
    std::map<std::filesystem::path, std::filesystem::path> tops_; // given folder → its tree's top folder
};

} // namespace quorvel
