#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quorvel {

// Big-endian fields of a byte view, each read checked against the view's end: a read that
// would leave it gives nothing, never a byte from outside.
class ByteReader {
public:
    explicit ByteReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::int64_t size() const { return static_cast<std::int64_t>(bytes_.size()); }
    bool contains(std::int64_t offset, std::int64_t length) const
    {
        return offset >= 0 && length >= 0 && offset <= size() && length <= size() - offset;
    }

    std::optional<std::uint32_t> u8(std::int64_t at) const { return field(at, 1); }
    std::optional<std::uint32_t> u16(std::int64_t at) const { return field(at, 2); }
    std::optional<std::uint32_t> u24(std::int64_t at) const { return field(at, 3); }
    std::optional<std::uint32_t> u32(std::int64_t at) const { return field(at, 4); }
    std::optional<std::int32_t> s16(std::int64_t at) const
    {
        const auto v = u16(at);
        if (!v)
            return std::nullopt;
        return static_cast<std::int16_t>(*v);
    }
    std::optional<std::span<const std::uint8_t>> bytes(std::int64_t at, std::int64_t length) const
    {
        if (!contains(at, length))
            return std::nullopt;
        return bytes_.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(length));
    }

private:
    std::optional<std::uint32_t> field(std::int64_t at, int width) const
    {
        if (!contains(at, width))
            return std::nullopt;
        std::uint32_t v = 0;
        for (int i = 0; i < width; ++i)
            v = (v << 8) | bytes_[static_cast<std::size_t>(at + i)];
        return v;
    }

    std::span<const std::uint8_t> bytes_;
};

} // namespace quorvel
