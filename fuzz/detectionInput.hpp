#pragma once

// Which fuzz_detection inputs are also checked repeated out to a long file, and how long.
// Shared with the seed writer so a seed can be made to be one.
//
// Long inputs are slow, so about one input in 32 is one, chosen by a hash of all its bytes:
// a mutant is chosen afresh rather than inheriting the choice from the input it came from,
// which keeps long runs from taking over the corpus. The first three bytes name the length,
// 0.5 to 1.2 MB, so that the four analysis windows fall at places of their own.

#include <cstddef>
#include <cstdint>

namespace quorvel::fuzz {

inline constexpr std::size_t kTileHeader = 3;
inline constexpr std::size_t kTileShortest = 500000;
inline constexpr std::size_t kTileSpan = 700000;

inline std::uint32_t inputHash(const std::uint8_t* bytes, std::size_t size)
{
    std::uint32_t h = 2166136261u; // FNV-1a, whose low bits mix poorly...
    for (std::size_t i = 0; i < size; ++i)
        h = (h ^ bytes[i]) * 16777619u;
    h ^= h >> 16; // ...so every bit is stirred into all of them (MurmurHash3's finaliser)
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    h ^= h >> 16;
    return h;
}

inline bool isTiled(const std::uint8_t* bytes, std::size_t size)
{
    return size > kTileHeader && inputHash(bytes, size) % 32 == 0;
}

inline std::size_t tiledLength(const std::uint8_t* bytes)
{
    const std::size_t code = (std::size_t{bytes[0]} << 16) | (std::size_t{bytes[1]} << 8) | bytes[2];
    return kTileShortest + code * kTileSpan / 0xFFFFFF;
}

} // namespace quorvel::fuzz
