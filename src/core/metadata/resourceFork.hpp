#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quorvel {

// The three 'STR ' resources a Sound Designer II file keeps its format in, as written.
struct Sd2Strings {
    std::optional<std::string> sampleSize; // id 1000, bytes per sample: "2"
    std::optional<std::string> sampleRate; // id 1001: "44100.000000"
    std::optional<std::string> channels;   // id 1002
};

// Walks a classic resource fork's map for 'STR ' 1000–1002. Nothing when the fork is
// malformed: any offset it needs points outside the fork. The work is bounded by the
// fork's own counts, at most 65536 types and 65536 references.
std::optional<Sd2Strings> parseResourceFork(std::span<const std::uint8_t> fork);

} // namespace quorvel
