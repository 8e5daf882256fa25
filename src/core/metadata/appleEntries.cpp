#include "core/metadata/appleEntries.hpp"
#include "core/metadata/ByteReader.hpp"

namespace quorvel {

namespace {
constexpr std::uint32_t kAppleSingle = 0x00051600, kAppleDouble = 0x00051607;
constexpr std::uint32_t kVersion1 = 0x00010000, kVersion2 = 0x00020000;
constexpr std::int64_t kTableStart = 26; // magic, version, 16 filler bytes, entry count
constexpr std::int64_t kFileDates = 8;
constexpr std::int64_t kSince2000 = 946684800; // the file dates count from 2000-01-01 UTC
constexpr std::uint32_t kUnknownDate = 0x80000000;
} // namespace

std::optional<AppleEntries> parseAppleEntries(std::span<const std::uint8_t> head, std::int64_t containerSize)
{
    const ByteReader in(head);
    const auto magic = in.u32(0), version = in.u32(4), count = in.u16(24);
    if (!magic || !version || !count || (*magic != kAppleSingle && *magic != kAppleDouble) ||
        (*version != kVersion1 && *version != kVersion2))
        return std::nullopt;

    AppleEntries entries;
    entries.single = *magic == kAppleSingle;
    for (std::int64_t i = 0; i < *count; ++i) {
        const std::int64_t at = kTableStart + 12 * i;
        const auto id = in.u32(at), offset = in.u32(at + 4), length = in.u32(at + 8);
        if (!id || !offset || !length)
            return std::nullopt;
        const ByteRange range{*offset, *length};
        if (range.offset + range.length > containerSize)
            return std::nullopt;
        std::optional<ByteRange>* slot = *id == 1 ? &entries.dataFork : *id == 2 ? &entries.resourceFork
                                       : *id == 9 ? &entries.finderInfo : nullptr;
        if (slot && !*slot)
            *slot = range;
        // The creation date leads the entry: a signed count of seconds.
        if (*id == kFileDates && range.length >= 4 && !entries.created)
            if (const auto date = in.u32(range.offset); date && *date != kUnknownDate)
                entries.created = kSince2000 + static_cast<std::int32_t>(*date);
    }
    return entries;
}

} // namespace quorvel
