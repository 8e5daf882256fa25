#pragma once

#include <QCollator>
#include <QUrl>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace quorvel {

using PathList = std::vector<std::filesystem::path>;

// Finds the .sd2 files among the given paths, the way a drop or an open-with hands them
// in: folders are walked deeply (hidden entries included, symlinked folders not entered),
// ".sd2" matches in any letter case, paths already queued (compared byte for byte) are
// left out, and the new paths are ordered by file name as a file browser lists them
// (stable, so equal names keep the order in which they were met). A given path that does
// not exist is kept: reading it later reports it. Paths are kept as the bytes the file
// system gave, so names that are not valid UTF-8 still reach their files.
PathList collectSd2Paths(const PathList& given, const std::set<std::string>& queued);

// Name order as a file browser lists it: the user's collation, case-insensitive, runs of
// digits by value ("take 2" before "take 10").
QCollator fileBrowserCollator();

// A file URL that carries the path's bytes exactly (percent-encoded where they are not
// valid UTF-8), and back.
QUrl urlForPath(const std::filesystem::path& path);
std::filesystem::path pathForUrl(const QUrl& url);

} // namespace quorvel
