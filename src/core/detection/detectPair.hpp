#pragma once

#include "core/detection/detectFile.hpp"
#include "core/io/MappedFile.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace quorvel {

// What the two halves of a split-stereo pair read as together. Each half is detected on its
// own; the pair is one stereo source only when both read as mono in one encoding (and at one
// rate, where their metadata gives one), or when the user's fixed source format settles it.
struct PairDetection {
    FileDetection left, right;
    bool agree = false;
    SourceFormat format = SourceFormat::s16be; // the shared encoding, when they agree
    std::optional<std::int64_t> rate;          // the halves' own rate, from their metadata
    std::string_view confidence;               // the pair's, as a file's; empty when they disagree
    std::string status; // "16-bit BE (auto) · Stereo (L + R) · confident", or why they disagree
};

PairDetection detectPair(const FileDetection& left, const FileDetection& right, SourceFormatChoice choice);

// Both halves read from their mappings (`leftFile` of `left`, `rightFile` of `right`, kept
// by the caller for whatever else it reads of them), each with its own metadata first (looked
// for up to `root`, as findFileSource does). Nothing when a half cannot be read; `unreadable`
// then says which and why.
std::optional<PairDetection> detectPairFiles(const std::filesystem::path& left, const MappedFile& leftFile,
                                             const std::filesystem::path& right, const MappedFile& rightFile,
                                             SourceFormatChoice choice, const std::optional<std::filesystem::path>& root,
                                             std::string& unreadable);

} // namespace quorvel
