#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace quorvel {

// "take_48kHz_24bit_stereo": any channel count but 1 is named stereo.
std::string outputStem(const std::string& base, std::int64_t rate, std::int64_t depth, std::int64_t channels);

// dir/stem.wav for n = 1, dir/stem (n).wav from 2 on. A name longer than a file name may
// be (255 bytes) has its base name cut and marked: "long…_48kHz_24bit_stereo.wav".
std::filesystem::path outputCandidate(const std::filesystem::path& dir, const std::string& stem, std::int64_t n);

// The first candidate that does not exist yet.
std::filesystem::path uniqueOutput(const std::filesystem::path& dir, const std::string& base, std::int64_t rate,
                                   std::int64_t depth, std::int64_t channels);

// The candidate after `path` in the same series: x.wav → x (2).wav → x (3).wav.
std::filesystem::path nextOutputCandidate(const std::filesystem::path& path);

} // namespace quorvel
