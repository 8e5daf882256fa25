#pragma once

#include "core/detection/decodeSample.hpp"
#include "core/pipeline/OutputTarget.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

namespace quorvel {

struct ConversionResult {
    bool ok = false;
    std::string error;               // "couldn't read audio", "resample failed", "channel map failed" or the writer's words
    std::filesystem::path written;   // where the file landed: `to`, or the next free name if `to` was taken meanwhile
    OutputFacts facts;               // the file written, and the sources' digests
};

// Decode, resample, map channels, optionally normalise to −14 LUFS / −1 dBTP, write; block
// by block (convertInBlocks), so memory does not grow with the file. The target's sources
// are hashed as the audio is read.
ConversionResult convertOneNative(ByteView data, const OutputTarget& to, SourceFormat format,
                                  std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                  std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness);

// The same conversion with every stage over the whole file at once: the reference the
// block-by-block conversion must match byte for byte. Memory grows with the file.
ConversionResult convertWholeBuffer(ByteView data, const OutputTarget& to, SourceFormat format,
                                    std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                    std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness);

} // namespace quorvel
