#pragma once

#include "support/files.hpp"

#include <cstdint>
#include <map>
#include <string>

namespace quorvel::test {

inline std::uint64_t littleEndian(const std::string& bytes, std::size_t at, int width)
{
    std::uint64_t value = 0;
    for (int i = width; i-- > 0;)
        value = value << 8 | static_cast<std::uint8_t>(bytes[at + static_cast<std::size_t>(i)]);
    return value;
}

// A WAV file's chunks read on their own, as any RIFF reader would: id → payload, each id's
// first chunk, "order" → the ids in file order. An RF64 file's data size comes from ds64.
inline std::map<std::string, std::string> chunksOf(const std::filesystem::path& wav)
{
    const std::string file = slurp(wav);
    std::map<std::string, std::string> chunks;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::string id = file.substr(at, 4);
        std::uint64_t size = littleEndian(file, at + 4, 4);
        if (id == "data" && size == 0xFFFFFFFF && chunks.contains("ds64"))
            size = littleEndian(chunks["ds64"], 8, 8);
        chunks.try_emplace(id, file.substr(at + 8, size));
        chunks["order"] += id;
        at += 8 + size + (size & 1);
    }
    return chunks;
}

} // namespace quorvel::test
