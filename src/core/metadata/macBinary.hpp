#pragma once

#include "core/metadata/appleEntries.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quorvel {

inline constexpr std::int64_t kMacBinaryHeaderBytes = 128;

struct MacBinaryHeader {
    std::string name;               // as stored, Mac Roman bytes
    std::array<std::uint8_t, 4> type{};
    ByteRange dataFork, resourceFork;
    // The creation date, seconds since 1970 as the Mac's clock read (its local time).
    std::optional<std::int64_t> created;
};

// CRC-16/XMODEM (polynomial 0x1021, initial 0), as MacBinary II and III sign their header.
std::uint16_t crc16Xmodem(std::span<const std::uint8_t> bytes);

// A MacBinary II or III header at the start of a file `fileSize` bytes long: byte 0 zero,
// a name of 1–63 bytes, a matching header CRC, and both forks inside the file.
std::optional<MacBinaryHeader> parseMacBinary(std::span<const std::uint8_t> head, std::int64_t fileSize);

} // namespace quorvel
