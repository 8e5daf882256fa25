#include "core/pipeline/writeWAVPassThrough.hpp"
#include "core/io/PartialFile.hpp"
#include "core/io/guardedRead.hpp"
#include "core/pipeline/outputNaming.hpp"

#include <sndfile.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace quorvel {

namespace {
constexpr std::int64_t kBlockFrames = 1 << 15;
constexpr std::int64_t kWavDataLimit = 0xFFFFFFFFLL - 1024;

struct SndfileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
} // namespace

std::filesystem::path writeWAVPassThrough(ByteView s32be, std::int64_t rate, std::int64_t channels,
                                          const OutputTarget& to)
{
    const std::int64_t frameBytes = 4 * channels;
    const std::int64_t frames = static_cast<std::int64_t>(s32be.size()) / frameBytes;
    SF_INFO info{};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = (frames * frameBytes > kWavDataLimit ? SF_FORMAT_RF64 : SF_FORMAT_WAV) | SF_FORMAT_PCM_32;

    PartialFile partial = PartialFile::create(to.path);
    if (partial.fd() < 0)
        throw WriteError("couldn't create a file in " + to.path.parent_path().string() + ": " + partial.error());
    {
        std::unique_ptr<SNDFILE, SndfileCloser> file(sf_open_fd(partial.fd(), SFM_WRITE, &info, SF_FALSE));
        if (!file)
            throw WriteError(std::string("couldn't start the WAV file: ") + sf_strerror(nullptr));
        std::vector<std::uint8_t> block(static_cast<std::size_t>(kBlockFrames * frameBytes));
        for (std::int64_t start = 0; start < frames; start += kBlockFrames) {
            const std::int64_t size = std::min(kBlockFrames, frames - start) * frameBytes;
            const std::uint8_t* in = s32be.data() + start * frameBytes;
            if (!guardedRead([&] {
                    for (std::int64_t i = 0; i < size; i += 4)
                        std::reverse_copy(in + i, in + i + 4, block.data() + i);
                }))
                throw WriteError("couldn't read audio");
            if (sf_write_raw(file.get(), block.data(), size) != size)
                throw WriteError(std::string("couldn't write the file: ") + sf_strerror(file.get()));
        }
        if (sf_close(file.release()) != 0)
            throw WriteError(std::string("couldn't finish the file: ") + sf_strerror(nullptr));
    }
    beforePublishing(partial, to);
    std::filesystem::path written = partial.publish(to.path, nextOutputCandidate);
    if (written.empty())
        throw WriteError("couldn't put the file in place: " + partial.error());
    return written;
}

} // namespace quorvel
