#pragma once

#include "core/io/Digest.hpp"

#include <cstdint>
#include <span>
#include <string>

namespace quorvel {

// The SHA-256 of a whole source file's mapped bytes, taken as the conversion reads them: a
// container's header before the audio, the audio a block at a time as it is decoded, and
// whatever follows it (a fork, a partial frame), so no byte is read twice.
class SourceHash {
public:
    explicit SourceHash(std::span<const std::uint8_t> file) : file_(file) {}

    // Hashes the file up to `end`, a point within it; what is hashed already is skipped.
    // False when the mapped bytes could not be read (the file shrank).
    bool upTo(const std::uint8_t* end);
    // Hashes the rest of the file and gives the digest, hex; empty when it could not be read.
    std::string finish();

private:
    std::span<const std::uint8_t> file_;
    std::size_t hashed_ = 0;
    Digest digest_{Digest::Kind::sha256};
};

} // namespace quorvel
