#include "core/detection/audibleSpan.hpp"

#include <algorithm>

namespace quorvel {

namespace {

bool audibleByte(std::uint8_t b) { return static_cast<std::uint8_t>(b + kSilentByteReach) > 2 * kSilentByteReach; }

// Where probes go when stepping through the data: far enough apart that there are at most
// kSilenceProbeCount of them, never closer than one probe's length.
std::int64_t probeStep(std::int64_t size) { return std::max(kSilenceProbeBytes, size / kSilenceProbeCount); }

struct Start {
    std::int64_t begin;   // the first audible byte, moved down to a multiple of kSpanAlignment
    std::int64_t audible; // a probe that heard audio
};

// Steps forward to the first probe that hears audio, then bisects between it and the last
// silent one down to one probe's length.
std::optional<Start> audioStart(ByteView data)
{
    const auto size = static_cast<std::int64_t>(data.size());
    if (!silentBlock(data, 0))
        return Start{0, 0};
    const std::int64_t last = std::max<std::int64_t>(0, size - kSilenceProbeBytes);
    std::int64_t silent = 0, audible = -1;
    for (std::int64_t at = probeStep(size); silent < last; at += probeStep(size)) {
        at = std::min(at, last);
        if (!silentBlock(data, at)) {
            audible = at;
            break;
        }
        silent = at;
    }
    if (audible < 0)
        return std::nullopt;
    while (audible - silent > kSilenceProbeBytes) {
        const std::int64_t mid = silent + (audible - silent) / 2;
        (silentBlock(data, mid) ? silent : audible) = mid;
    }
    // The audio starts inside the audible probe, past the silent one it overlaps.
    std::int64_t first = silent + kSilenceProbeBytes;
    while (!audibleByte(data[static_cast<std::size_t>(first)]))
        ++first;
    return Start{first / kSpanAlignment * kSpanAlignment, audible};
}

// The mirror image from the end, stepping back towards a probe known to hear audio.
std::int64_t audioEnd(ByteView data, std::int64_t knownAudible)
{
    const auto size = static_cast<std::int64_t>(data.size());
    const std::int64_t last = std::max<std::int64_t>(0, size - kSilenceProbeBytes);
    if (!silentBlock(data, last))
        return size;
    std::int64_t silent = last, audible = knownAudible;
    for (std::int64_t at = last - probeStep(size); at > knownAudible; at -= probeStep(size)) {
        if (!silentBlock(data, at)) {
            audible = at;
            break;
        }
        silent = at;
    }
    while (silent - audible > kSilenceProbeBytes) {
        const std::int64_t mid = audible + (silent - audible) / 2;
        (silentBlock(data, mid) ? silent : audible) = mid;
    }
    std::int64_t end = silent;
    while (!audibleByte(data[static_cast<std::size_t>(end - 1)]))
        --end;
    return end;
}

} // namespace

bool silentBlock(ByteView data, std::int64_t at)
{
    const std::uint8_t* p = data.data() + at;
    const std::int64_t count = std::min<std::int64_t>(static_cast<std::int64_t>(data.size()) - at, kSilenceProbeBytes);
    // In chunks without an early exit inside, so the compiler can vectorise the test.
    constexpr std::int64_t chunk = 64;
    std::int64_t i = 0;
    for (; i + chunk <= count; i += chunk) {
        bool heard = false;
        for (std::int64_t j = 0; j < chunk; ++j)
            heard |= audibleByte(p[i + j]);
        if (heard)
            return false;
    }
    for (; i < count; ++i)
        if (audibleByte(p[i]))
            return false;
    return true;
}

std::optional<AudibleSpan> findAudibleSpan(ByteView data)
{
    const std::optional<Start> start = audioStart(data);
    if (!start)
        return std::nullopt;
    return AudibleSpan{start->begin, audioEnd(data, start->audible)};
}

std::optional<ByteView> audiblePart(ByteView data)
{
    const std::optional<AudibleSpan> span = findAudibleSpan(data);
    if (!span)
        return std::nullopt;
    if (span->end - span->begin < kSilenceProbeBytes)
        return data;
    return data.subspan(static_cast<std::size_t>(span->begin), static_cast<std::size_t>(span->end - span->begin));
}

} // namespace quorvel
