#pragma once

#include "core/pipeline/PcmBuffer.hpp"
#include "core/pipeline/WavContainer.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace quorvel {

// Writes the buffer as little-endian integer PCM of `bitDepth` (16, 24 or 32) bits, RF64
// when the data would pass 4 GiB. Samples are rounded to nearest and saturated, so audio
// that came from integers comes back bit-exact. The file appears under its final name only
// once complete; a Broadcast WAV when the target carries BroadcastInfo (WavContainer).
// Returns the path written; throws WriteError.
std::filesystem::path writeWAV(const PcmBuffer& buffer, const OutputTarget& to, std::int64_t bitDepth,
                               ExistingFile existing = ExistingFile::keep);

// The same file written block by block: the bytes are writeWAV's for the same samples.
// `frames` is the length the file will have, known up front since it decides RF64.
// Everything throws WriteError; a writer dropped before finish() leaves no file.
class WavWriter {
public:
    WavWriter(const OutputTarget& to, std::int64_t sampleRate, std::int64_t channels, std::int64_t frames,
              std::int64_t bitDepth);
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    // One float pointer per channel (the same pointer may appear twice), `frames` each.
    void write(std::span<const float* const> channels, std::int64_t frames);
    // The loudness the audio written was measured at, for the bext chunk.
    void measured(const MeasuredLoudness& loudness);
    // Completes the file and puts it in place; returns where it landed.
    std::filesystem::path finish(ExistingFile existing = ExistingFile::keep);
    // What finish() knew of the file.
    const OutputFacts& facts() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace quorvel
