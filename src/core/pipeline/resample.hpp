#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <functional>

namespace quorvel {

// The whole buffer at `toRate` (libsoxr, very high quality), flushed so that nothing is
// lost: exactly floor(toRate / rate × frameLength) frames. The same pointer when the
// buffer's rate already rounds to toRate; nullptr when the resampler cannot be made.
PcmBufferPtr resample(const PcmBufferPtr& buffer, std::int64_t toRate);

// Hands the resampled audio of each channel to `sink` block by block instead of holding
// it whole: for measurements on oversampled audio. Channels run on threads of their own,
// so `sink` is called concurrently for different channels (never for the same one).
// False when the resampler cannot be made.
using ResampledBlockSink = std::function<void(std::int64_t channel, const float* samples, std::int64_t frames)>;
bool resampleInBlocks(const PcmBuffer& buffer, std::int64_t toRate, const ResampledBlockSink& sink);

// Frames of `frames` at `fromRate` once resampled to `toRate`, rounded down.
std::int64_t resampledLength(std::int64_t frames, double fromRate, std::int64_t toRate);

} // namespace quorvel
