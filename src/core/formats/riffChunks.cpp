#include "core/formats/riffChunks.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace quorvel {

namespace {

std::uint64_t littleEndian(std::span<const std::uint8_t> bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | bytes[i];
    return value;
}

constexpr std::uint32_t kSizeInDs64 = 0xFFFFFFFF;

} // namespace

std::optional<std::vector<RiffChunk>> riffChunks(const ReadAt& read, std::int64_t fileSize)
{
    std::array<std::uint8_t, 12> head{};
    if (!read(0, head))
        return std::nullopt;
    const std::string form(head.begin(), head.begin() + 4), type(head.begin() + 8, head.end());
    if ((form != "RIFF" && form != "RF64") || type != "WAVE")
        return std::nullopt;

    std::vector<RiffChunk> chunks;
    std::optional<std::uint64_t> ds64DataSize;
    for (std::int64_t at = 12; at + 8 <= fileSize;) {
        std::array<std::uint8_t, 8> header{};
        if (!read(at, header))
            return std::nullopt;
        RiffChunk chunk{std::string(header.begin(), header.begin() + 4), at + 8,
                        static_cast<std::int64_t>(littleEndian(std::span(header).subspan(4)))};
        if (chunk.id == "ds64" && chunk.size >= 16) {
            std::array<std::uint8_t, 16> sizes{};
            if (!read(chunk.offset, sizes))
                return std::nullopt;
            ds64DataSize = littleEndian(std::span(sizes).subspan(8));
        }
        if (chunk.id == "data" && form == "RF64" && chunk.size == kSizeInDs64 && ds64DataSize)
            chunk.size = static_cast<std::int64_t>(std::min<std::uint64_t>(*ds64DataSize, INT64_MAX / 2));
        if (chunk.size > fileSize - chunk.offset)
            return std::nullopt;
        at = chunk.offset + chunk.size + (chunk.size & 1);
        chunks.push_back(std::move(chunk));
    }
    return chunks;
}

std::optional<std::vector<RiffChunk>> riffChunks(std::span<const std::uint8_t> file)
{
    const auto size = static_cast<std::int64_t>(file.size());
    return riffChunks(
        [&](std::int64_t offset, std::span<std::uint8_t> out) {
            if (offset < 0 || offset > size || static_cast<std::int64_t>(out.size()) > size - offset)
                return false;
            std::memcpy(out.data(), file.data() + offset, out.size());
            return true;
        },
        size);
}

} // namespace quorvel
