#pragma once

#include "core/detection/detectFile.hpp"

#include <string>

namespace quorvel {

// What the two halves of a split-stereo pair read as together. Each half is detected on its
// own; the pair is one stereo source only when both read as mono in one encoding, or when
// the user's fixed source format settles it.
struct PairDetection {
    FileDetection left, right;
    bool agree = false;
    SourceFormat format = SourceFormat::s16be; // the shared encoding, when they agree
    std::string_view confidence;               // the pair's, as a file's; empty when they disagree
    std::string status; // "16-bit BE (auto) · Stereo (L + R) · confident", or why they disagree
};

PairDetection detectPair(const FileDetection& left, const FileDetection& right, SourceFormatChoice choice);

} // namespace quorvel
