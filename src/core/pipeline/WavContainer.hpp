#pragma once

#include "core/io/DigestThread.hpp"
#include "core/io/PartialFile.hpp"
#include "core/pipeline/OutputTarget.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>

struct sf_private_tag;

namespace quorvel {

struct WriteError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What to do when a file is already at the destination.
enum class ExistingFile {
    keep,    // take the next free name of its series: the user's files are never replaced
    replace, // for scratch files of our own, such as audition excerpts
};

// A WAV file being written under its partial name, RF64 when its data passes 4 GiB:
// libsndfile lays out the container, the data chunk's payload comes in as bytes, and the
// MD5 of those bytes is taken on their way. When the target carries BroadcastInfo the file
// is a Broadcast WAV: a bext chunk goes in before the audio, and an `MD5 ` chunk is added
// after it once the audio is complete. Everything throws WriteError; a
// container dropped before finish() leaves no file.
class WavContainer {
public:
    WavContainer(const OutputTarget& to, std::int64_t rate, std::int64_t channels, std::int64_t depth,
                 std::int64_t frames);
    ~WavContainer();
    WavContainer(const WavContainer&) = delete;
    WavContainer& operator=(const WavContainer&) = delete;

    // The first `size` bytes of `block` are the data chunk's next bytes. The block is hashed
    // on a thread of its own and swapped for a buffer of the same size to fill next.
    void write(std::vector<std::uint8_t>& block, std::size_t size);
    // The loudness the audio was measured at, for the bext chunk.
    void measured(const MeasuredLoudness& loudness) { loudness_ = loudness; }
    // Completes the file, tells the target's beforePublish and puts it in place; returns
    // where it landed.
    std::filesystem::path finish(ExistingFile existing);
    const OutputFacts& facts() const { return facts_; }

private:
    void setBroadcastInfo(const std::string& reference);
    bool appendMD5Chunk(std::span<const std::uint8_t> md5);

    OutputTarget to_;
    std::int64_t frameBytes_, written_ = 0;
    bool rf64_ = false;
    PartialFile partial_;
    struct Closer {
        void operator()(sf_private_tag* file) const;
    };
    std::unique_ptr<sf_private_tag, Closer> file_;
    DigestThread md5_{Digest::Kind::md5};
    std::optional<MeasuredLoudness> loudness_;
    OutputFacts facts_;
};

} // namespace quorvel
