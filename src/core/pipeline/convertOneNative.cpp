#include "core/pipeline/convertOneNative.hpp"
#include "core/io/MappedFile.hpp"
#include "core/pipeline/convertInBlocks.hpp"
#include "core/pipeline/decodeToBuffer.hpp"
#include "core/pipeline/mapChannels.hpp"
#include "core/pipeline/normalize.hpp"
#include "core/pipeline/resample.hpp"
#include "core/pipeline/writeWAV.hpp"
#include "core/pipeline/writeWAVPassThrough.hpp"

namespace quorvel {

ConversionResult convertOneNative(ByteView data, const OutputTarget& to, SourceFormat format,
                                  std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                  std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    // 32-bit integers do not survive a float buffer; unchanged, they need none.
    if (format == SourceFormat::s32be && targetDepth == 32 && srcRate == targetRate && srcChannels == outChannels &&
        srcChannels >= 1 && static_cast<std::int64_t>(data.size()) >= 4 * srcChannels && !normalizeLoudness) {
        try {
            PassedThrough passed = writeWAVPassThrough(data, srcRate, srcChannels, to);
            return {true, {}, std::move(passed.written), std::move(passed.facts)};
        } catch (const WriteError& error) {
            return {false, error.what(), {}, {}};
        }
    }
    return convertInBlocks(data, to, format, srcRate, srcChannels, targetRate, outChannels, targetDepth,
                           normalizeLoudness);
}

ConversionResult convertWholeBuffer(ByteView data, const OutputTarget& to, SourceFormat format,
                                    std::int64_t srcRate, std::int64_t srcChannels, std::int64_t targetRate,
                                    std::int64_t outChannels, std::int64_t targetDepth, bool normalizeLoudness)
{
    // Each stage replaces `buffer`, so the previous stage's audio is freed as soon as the
    // next one exists: at most two full-length buffers are alive at once.
    PcmBufferPtr buffer = decodeToBuffer(data, format, srcRate, srcChannels);
    if (!buffer)
        return {false, "couldn't read audio", {}, {}};
    releaseResidentPages(data);

    buffer = resample(buffer, targetRate);
    if (!buffer)
        return {false, "resample failed", {}, {}};
    buffer = mapChannels(buffer, outChannels);
    if (!buffer)
        return {false, "channel map failed", {}, {}};
    if (normalizeLoudness)
        normalize(*buffer);

    try {
        return {true, {}, writeWAV(*buffer, to, targetDepth), {}};
    } catch (const WriteError& error) {
        return {false, error.what(), {}, {}};
    }
}

} // namespace quorvel
