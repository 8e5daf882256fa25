#pragma once

#include "core/detection/decodeSample.hpp"
#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

namespace quorvel {

struct ConversionResult {
    bool ok = false;
    std::string error;               // "couldn't read audio", "resample failed", "channel map failed" or the writer's words
    std::filesystem::path written;   // where the file landed: `to`, or the next free name if `to` was taken meanwhile
};

// Decode, resample, map channels, optionally normalise to −14 LUFS / −1 dBTP, write.
ConversionResult convertOneNative(ByteView data, const std::filesystem::path& to, SourceFormat format,
                                  std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                  std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness);

// The same from audio already decoded (a split-stereo pair's two halves, joined).
ConversionResult convertDecoded(PcmBufferPtr decoded, const std::filesystem::path& to, std::int64_t targetRate,
                                std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness);

} // namespace quorvel
