#include "core/metadata/resourceFork.hpp"
#include "core/metadata/ByteReader.hpp"

namespace quorvel {

namespace {
constexpr std::uint32_t kStrType = 0x53545220; // 'STR '
constexpr std::int32_t kFirstId = 1000;
} // namespace

std::optional<Sd2Strings> parseResourceFork(std::span<const std::uint8_t> fork)
{
    const ByteReader in(fork);
    const auto dataOffset = in.u32(0), mapOffset = in.u32(4), dataLength = in.u32(8), mapLength = in.u32(12);
    if (!dataOffset || !mapOffset || !dataLength || !mapLength || !in.contains(*dataOffset, *dataLength) ||
        !in.contains(*mapOffset, *mapLength) || *mapLength < 30)
        return std::nullopt;

    // Offsets inside the map are taken within the map; resource data within the data area.
    const ByteReader map(*in.bytes(*mapOffset, *mapLength));
    const ByteReader data(*in.bytes(*dataOffset, *dataLength));
    const auto typeListOffset = map.u16(24);
    if (!typeListOffset)
        return std::nullopt;
    const std::int64_t typeList = *typeListOffset;
    const auto lastType = map.u16(typeList);
    if (!lastType)
        return std::nullopt;

    Sd2Strings found;
    if (*lastType == 0xFFFF)
        return found; // no resources at all
    for (std::int64_t t = 0; t <= *lastType; ++t) {
        const std::int64_t entry = typeList + 2 + 8 * t;
        const auto type = map.u32(entry), lastRef = map.u16(entry + 4), refListOffset = map.u16(entry + 6);
        if (!type || !lastRef || !refListOffset)
            return std::nullopt;
        if (*type != kStrType)
            continue;
        for (std::int64_t r = 0; r <= *lastRef; ++r) {
            const std::int64_t ref = typeList + *refListOffset + 12 * r;
            const auto id = map.s16(ref);
            const auto at = map.u24(ref + 5);
            if (!id || !at)
                return std::nullopt;
            if (*id < kFirstId || *id > kFirstId + 2)
                continue;
            const auto length = data.u32(*at);
            const auto body = length ? data.bytes(*at + 4, *length) : std::nullopt;
            if (!body)
                return std::nullopt;
            // A Pascal string: a length byte, then that many characters inside the resource.
            if (body->empty() || (*body)[0] + 1 > static_cast<std::int64_t>(body->size()))
                return std::nullopt;
            std::string text(reinterpret_cast<const char*>(body->data()) + 1, (*body)[0]);
            std::optional<std::string>& slot =
                *id == kFirstId ? found.sampleSize : *id == kFirstId + 1 ? found.sampleRate : found.channels;
            if (!slot)
                slot = std::move(text);
        }
        return found; // one 'STR ' type per fork; a second would be malformed anyway
    }
    return found;
}

} // namespace quorvel
