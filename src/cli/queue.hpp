#pragma once

#include "cli/options.hpp"
#include "core/detection/detectPair.hpp"
#include "core/io/splitStereo.hpp"
#include "model/intake.hpp"

#include <string>
#include <variant>
#include <vector>

namespace quorvel::cli {

// The .sd2 files among the given paths, in the order the app would queue them, with
// split-stereo halves joined into pairs unless `joinPairs` is off; and the folders that
// could not be looked into.
struct Queue {
    std::vector<QueuedSource> sources;
    std::vector<SkippedPath> skipped;
    std::size_t notAudio = 0; // files with a bare name left out: they do not read as audio
};
Queue queuePaths(const std::vector<std::string>& given, bool joinPairs);

// Whether the source is in the shard: the K-th of N parts by a 64-bit hash (FNV-1a, mixed by
// MurmurHash3's finaliser) of its path below the folder it was found under (its name when
// given by itself), so every machine and build splits an archive alike, wherever mounted.
bool inShard(const QueuedSource& source, Shard shard);

// "sd2wav: couldn't open DIR: reason", for standard error.
std::string skippedLine(const SkippedPath& skipped);
// Says on standard error how many files with a bare name were left out as not audio, if any.
void reportNotAudio(const Queue& queue, std::ostream& err);

// A source's JSON fields: `"path":…` and, for a pair, `"pair":{"left":…,"right":…}`; a name
// whose bytes are not UTF-8 adds rawPath or rawRight.
std::string jsonSource(const QueuedSource& source);

// How a source is named in the output: its path, or a pair's left path + " + R".
std::vector<std::string> sourceNames(const std::vector<QueuedSource>& sources);

struct Unreadable {
    std::string reason;
};
using Detection = std::variant<FileDetection, PairDetection, Unreadable>;

// Detection of one queued file, read memory-mapped, as the app runs it on arrival; `root` is
// the folder it was found under.
Detection detectPath(const std::string& path, const std::optional<std::filesystem::path>& root,
                     SourceFormatChoice choice);
// The same for a queued source; a pair's halves are each detected, then read together.
Detection detectQueued(const QueuedSource& source, SourceFormatChoice choice);

// A path, or any text that may hold one, as one line of text: line breaks, tabs and other
// control characters (C1 ones included) escaped, so names cannot move the cursor or
// switch a terminal's colours.
std::string printableName(const std::string& path);
// The widest printable path of the list, in characters, and a path padded to that column
// plus two spaces, so status texts line up.
std::size_t nameColumn(const std::vector<std::string>& paths);
std::string paddedName(const std::string& path, std::size_t column);

} // namespace quorvel::cli
