#include "core/pipeline/writeWAVPassThrough.hpp"
#include "core/io/SourceHash.hpp"
#include "core/io/guardedRead.hpp"

#include <algorithm>
#include <vector>

namespace quorvel {

namespace {
constexpr std::int64_t kBlockFrames = 1 << 15;
} // namespace

PassedThrough writeWAVPassThrough(ByteView s32be, std::int64_t rate, std::int64_t channels, const OutputTarget& to)
{
    const std::int64_t frameBytes = 4 * channels;
    const std::int64_t frames = static_cast<std::int64_t>(s32be.size()) / frameBytes;
    WavContainer file(to, rate, channels, 32, frames);
    std::vector<std::uint8_t> block(static_cast<std::size_t>(kBlockFrames * frameBytes));
    for (std::int64_t start = 0; start < frames; start += kBlockFrames) {
        const std::int64_t size = std::min(kBlockFrames, frames - start) * frameBytes;
        const std::uint8_t* in = s32be.data() + start * frameBytes;
        if (!guardedRead([&] {
                for (std::int64_t i = 0; i < size; i += 4)
                    std::reverse_copy(in + i, in + i + 4, block.data() + i);
            }))
            throw WriteError("couldn't read audio");
        if (!to.sources.empty() && !to.sources.front()->upTo(in + size))
            throw WriteError("couldn't read audio");
        file.write(block, static_cast<std::size_t>(size));
    }
    std::filesystem::path written = file.finish(ExistingFile::keep);
    return {std::move(written), file.facts()};
}

} // namespace quorvel
