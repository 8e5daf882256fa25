#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// What a Broadcast WAV output says of itself in its bext chunk (EBU Tech 3285, version 2).
// The texts are UTF-8 here and written as ASCII.
struct BroadcastInfo {
    std::string description;             // "Take 7.sd2 · 16-bit BE · stereo · 44.1 kHz (AppleDouble fork)"
    std::string originator = "Quorvel";
    std::string originationDate;         // "1997-03-04"
    std::string originationTime;         // "10:11:12"
    std::vector<std::string> codingHistory; // EBU R 98 rows, without their CR LF
    // With the sources' SHA-256, what makes the OriginatorReference: the settings that decide
    // the output, so the same source under the same settings gets the same reference.
    std::string referenceSeed;
};

// The loudness a normalised output was measured at, for the bext loudness fields.
struct MeasuredLoudness {
    double integratedLUFS = 0;
    double truePeakDBTP = 0;
};

// bext text fields are ASCII: " · " becomes ", ", letters with marks lose them, and anything
// else outside ASCII becomes "?". `limit` bytes at most; a longer text is cut at a character.
std::string bextText(const std::string& utf8, std::size_t limit);

} // namespace quorvel
