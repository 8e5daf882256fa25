#pragma once

#include "core/pipeline/OutputTarget.hpp"
#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>

namespace quorvel {

class PartialFile;

struct WriteError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What to do when a file is already at the destination.
enum class ExistingFile {
    keep,    // take the next free name of its series: the user's files are never replaced
    replace, // for scratch files of our own, such as audition excerpts
};

// Writes the buffer as little-endian integer PCM of `bitDepth` (16, 24 or 32) bits, RF64
// when the data would pass 4 GiB. Samples are rounded to nearest and saturated, so audio
// that came from integers comes back bit-exact. The file appears under its final name only
// once complete. Returns the path written; throws WriteError.
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
    // Completes the file and puts it in place; returns where it landed.
    std::filesystem::path finish(ExistingFile existing = ExistingFile::keep);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// The complete partial file synced and its size handed to the target's beforePublish, when it
// has one. Throws WriteError.
void beforePublishing(PartialFile& partial, const OutputTarget& to);

} // namespace quorvel
