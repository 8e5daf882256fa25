#pragma once

#include "core/io/splitStereo.hpp"

#include <QCollator>
#include <QUrl>

#include <filesystem>
#include <optional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace quorvel {

using PathList = std::vector<std::filesystem::path>;

// A given path, or a folder met on the walk, that could not be looked into, and why: any
// .sd2 files in it are left out.
struct SkippedPath {
    std::filesystem::path path;
    std::string reason;
};

struct CollectedPaths {
    PathList paths;
    std::vector<SkippedPath> skipped; // in the order met
    // The folder each path was found under: the folder given or dropped, as it was given.
    // Paths given by themselves have none.
    std::map<std::filesystem::path, std::filesystem::path> roots;
    // Files a walk met with a bare name ("Audio 1_01", "Gtr.L"): those taken for what their
    // data reads as, and how many were left out as not audio.
    std::set<std::filesystem::path> sniffed;
    std::size_t notAudio = 0;

    std::optional<std::filesystem::path> rootOf(const std::filesystem::path& path) const;
};

// Finds the .sd2 files among the given paths, the way a drop or an open-with hands them
// in: folders are walked deeply (hidden entries included, symlinked folders not entered),
// ".sd2" matches in any letter case, files with a bare name are taken when given and
// sniffed when walked (sd2Candidacy), and each file is taken once: paths already queued
// and repeats of one file under another spelling ("A" and "A/take.sd2", a link to it) are
// left out, judged by the file's identity (queued paths also byte for byte). The new paths
// are ordered as a file browser would list the given paths side by side: a loose file by its
// name, a folder's files under the folder's name, then by their path below it, each level in
// file-browser order, so a session's files stay together; equal names keep the order in
// which they were given and met. A given path that does not exist is kept when it names an
// .sd2 file (reading it later reports it) and skipped otherwise. Paths are kept as the
// bytes the file system gave, so names that are not valid UTF-8 still reach their files.
CollectedPaths collectSd2Paths(const PathList& given, const std::set<std::string>& queued);

// The collected paths as sources to convert, each with the folder it was found under, and
// split-stereo halves joined into pairs when `joinPairs` is on.
std::vector<QueuedSource> queuedSources(const CollectedPaths& intake, bool joinPairs);

// Name order as a file browser lists it: the user's collation, case-insensitive, runs of
// digits by value ("take 2" before "take 10").
QCollator fileBrowserCollator();

// A file URL that carries the path's bytes exactly (percent-encoded where they are not
// valid UTF-8), and back.
QUrl urlForPath(const std::filesystem::path& path);
std::filesystem::path pathForUrl(const QUrl& url);

} // namespace quorvel
