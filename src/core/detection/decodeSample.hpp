#pragma once

#include "core/formats/SourceFormat.hpp"

#include <cstdint>
#include <span>

namespace quorvel {

// The complete bytes of one source file (or a view into them).
using ByteView = std::span<const std::uint8_t>;

// One raw signed sample, unscaled. F is a template argument so hot loops decode without
// a branch per sample.
template <SourceFormat::Case F>
inline std::int32_t decodeIntAt(const std::uint8_t* p)
{
    constexpr SourceFormat format{F};
    if constexpr (format.bytesPerSample() == 1) {
        return static_cast<std::int8_t>(p[0]);
    } else if constexpr (format.bytesPerSample() == 4) {
        return static_cast<std::int32_t>((std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) |
                                         (std::uint32_t{p[2]} << 8) | p[3]);
    } else if constexpr (format.bytesPerSample() == 2) {
        const std::int32_t v = format.isBigEndian() ? (p[0] << 8) | p[1] : (p[1] << 8) | p[0];
        return v >= 0x8000 ? v - 0x10000 : v;
    } else {
        const std::int32_t v = format.isBigEndian() ? (p[0] << 16) | (p[1] << 8) | p[2]
                                                    : (p[2] << 16) | (p[1] << 8) | p[0];
        return v >= 0x800000 ? v - 0x1000000 : v;
    }
}

template <SourceFormat::Case F>
inline double decodeAt(const std::uint8_t* p)
{
    return decodeIntAt<F>(p);
}

// Precondition: 0 <= offset and offset + bytesPerSample <= data.size().
inline double decodeSample(ByteView data, std::int64_t offset, SourceFormat format)
{
    const std::uint8_t* p = data.data() + offset;
    switch (format) {
    case SourceFormat::s16be: return decodeAt<SourceFormat::s16be>(p);
    case SourceFormat::s24be: return decodeAt<SourceFormat::s24be>(p);
    case SourceFormat::s16le: return decodeAt<SourceFormat::s16le>(p);
    case SourceFormat::s24le: return decodeAt<SourceFormat::s24le>(p);
    case SourceFormat::s8: return decodeAt<SourceFormat::s8>(p);
    case SourceFormat::s32be: return decodeAt<SourceFormat::s32be>(p);
    }
    return 0.0;
}

// Calls fn with a std::integral_constant for the format, turning the runtime choice into
// a compile-time one once per call rather than once per sample.
template <class Fn>
decltype(auto) withFormat(SourceFormat format, Fn&& fn)
{
    switch (format) {
    case SourceFormat::s24be: return fn(std::integral_constant<SourceFormat::Case, SourceFormat::s24be>{});
    case SourceFormat::s16le: return fn(std::integral_constant<SourceFormat::Case, SourceFormat::s16le>{});
    case SourceFormat::s24le: return fn(std::integral_constant<SourceFormat::Case, SourceFormat::s24le>{});
    case SourceFormat::s8: return fn(std::integral_constant<SourceFormat::Case, SourceFormat::s8>{});
    case SourceFormat::s32be: return fn(std::integral_constant<SourceFormat::Case, SourceFormat::s32be>{});
    case SourceFormat::s16be: break;
    }
    return fn(std::integral_constant<SourceFormat::Case, SourceFormat::s16be>{});
}

} // namespace quorvel
