#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// One thing to convert: a file, or the two mono halves of a Pro Tools split-stereo pair
// ("Gtr.L.sd2" + "Gtr.R.sd2"), which become one stereo file.
struct QueuedSource {
    std::filesystem::path path;                // the file, or the left half of a pair
    std::optional<std::filesystem::path> right; // the right half of a pair
    // The folder it was found under, as given or dropped; none for a file given by itself.
    std::optional<std::filesystem::path> root = std::nullopt;
    // Met in a folder walk with a bare name and taken for what its data reads as.
    bool sniffed = false;

    bool isPair() const { return right.has_value(); }
    // What the source is shown and named as: the file's stem, or the pair's shared name
    // ("Gtr" for Gtr.L.sd2 + Gtr.R.sd2).
    std::string displayStem() const;

    friend bool operator==(const QueuedSource&, const QueuedSource&) = default;
};

// The parts of a name that carries a final channel identifier: "Gtr.L.sd2" is ("Gtr", 'L',
// ".sd2"), "Gtr.r" is ("Gtr", 'R', ""). Nothing for other names, surround stems included.
struct SplitStereoName {
    std::string base;
    char side = 'L';       // 'L' or 'R', whatever the letter case in the name
    std::string extension; // "" or the final ".ext", exactly as written
};
std::optional<SplitStereoName> splitStereoName(const std::string& fileName);

// Joins the halves of split-stereo pairs, keeping everything else as it is. Two paths are a
// pair when they sit in the same folder and their names differ only in a final .L / .R
// (letter case of the identifier ignored). Where the match is ambiguous (two left halves
// for one name) or the name also has surround stems (.C, .Ls, .LFE …) nothing is joined:
// a guess would hand the user the wrong two channels. A pair takes the place of its first
// half in the list.
std::vector<QueuedSource> joinSplitStereo(const std::vector<std::filesystem::path>& paths);

} // namespace quorvel
