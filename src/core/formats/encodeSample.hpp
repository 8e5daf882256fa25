#pragma once

#include "core/formats/SourceFormat.hpp"

#include <cstdint>

namespace quorvel {

// Writes one signed sample in `format`, the exact inverse of decodeSample. `value` must
// fit the format's width; out points at bytesPerSample() bytes.
inline void encodeSample(std::int32_t value, SourceFormat format, std::uint8_t* out)
{
    const auto u = static_cast<std::uint32_t>(value);
    const int bytes = format.bytesPerSample();
    for (int i = 0; i < bytes; ++i) {
        const int shift = 8 * (format.isBigEndian() ? bytes - 1 - i : i);
        out[i] = static_cast<std::uint8_t>(u >> shift);
    }
}

} // namespace quorvel
