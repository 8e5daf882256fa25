#include "core/metadata/macBinary.hpp"
#include "core/metadata/ByteReader.hpp"

namespace quorvel {

namespace {
std::int64_t padded(std::int64_t length) { return (length + 127) / 128 * 128; }
constexpr std::int64_t kSince1904 = -2082844800; // a Mac's clock counts from 1904-01-01
} // namespace

std::uint16_t crc16Xmodem(std::span<const std::uint8_t> bytes)
{
    std::uint16_t crc = 0;
    for (const std::uint8_t byte : bytes) {
        crc = static_cast<std::uint16_t>(crc ^ (byte << 8));
        for (int bit = 0; bit < 8; ++bit)
            crc = static_cast<std::uint16_t>(crc & 0x8000 ? (crc << 1) ^ 0x1021 : crc << 1);
    }
    return crc;
}

std::optional<MacBinaryHeader> parseMacBinary(std::span<const std::uint8_t> head, std::int64_t fileSize)
{
    if (static_cast<std::int64_t>(head.size()) < kMacBinaryHeaderBytes)
        return std::nullopt;
    const ByteReader in(head.first(kMacBinaryHeaderBytes));
    const std::uint32_t nameLength = *in.u8(1);
    if (*in.u8(0) != 0 || nameLength < 1 || nameLength > 63 || *in.u8(74) != 0 ||
        crc16Xmodem(head.first(124)) != *in.u16(124))
        return std::nullopt;

    MacBinaryHeader header;
    header.name.assign(reinterpret_cast<const char*>(head.data()) + 2, nameLength);
    for (int i = 0; i < 4; ++i)
        header.type[static_cast<std::size_t>(i)] = head[static_cast<std::size_t>(65 + i)];
    // A secondary header, when present, sits between this header and the data fork.
    const std::int64_t dataStart = kMacBinaryHeaderBytes + padded(*in.u16(120));
    header.dataFork = {dataStart, *in.u32(83)};
    header.resourceFork = {dataStart + padded(header.dataFork.length), *in.u32(87)};
    if (const std::uint32_t created = *in.u32(91); created != 0)
        header.created = kSince1904 + created;
    if (header.dataFork.offset + header.dataFork.length > fileSize ||
        header.resourceFork.offset + header.resourceFork.length > fileSize)
        return std::nullopt;
    return header;
}

} // namespace quorvel
