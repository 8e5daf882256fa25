#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <vector>

namespace quorvel::test {

// A WAV file as libsndfile reads it back: its format, and every sample interleaved and
// left-aligned in 32 bits. All zero, no samples, when it cannot be opened.
struct Wav {
    SF_INFO info{};
    std::vector<std::int32_t> samples;
};

inline Wav readWav(const std::filesystem::path& path)
{
    Wav wav;
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &wav.info);
    if (!file)
        return {};
    wav.samples.resize(static_cast<std::size_t>(wav.info.frames * wav.info.channels));
    wav.samples.resize(static_cast<std::size_t>(sf_readf_int(file, wav.samples.data(), wav.info.frames) * wav.info.channels));
    sf_close(file);
    return wav;
}

} // namespace quorvel::test
