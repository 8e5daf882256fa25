#pragma once

// How fuzz_convert reads its input: two bytes of settings, then the sample bytes. Shared
// with the seed writer so seeds mean what they are meant to.
//
// byte 0: bits 0-1 source format, bit 2 automatic source format in the bounce, bit 3 two
//         source channels, bits 4-5 source rate (44100, 48000, 22050, 44100), bit 6
//         normalise, bit 7 the item's detected format comes from detection (else bits 6-7
//         of byte 1)
// byte 1: bits 0-1 target rate (44100, 48000, 88200, 96000), bits 2-3 output layout
//         (stereo, preserve, mono, stereo), bits 4-5 depth (16, 24, 32, 24), bits 6-7 the
//         item's detected format when not detected

#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"

#include <cstddef>
#include <cstdint>

namespace quorvel::fuzz {

struct ConvertSettings {
    SourceFormat format = SourceFormat::s16be;
    bool automatic = false;
    std::int64_t sourceChannels = 1;
    std::int64_t sourceRate = 44100;
    bool normalize = false;
    bool detectItemFormat = false;
    SourceFormat itemFormat = SourceFormat::s16be;
    std::int64_t targetRate = 48000;
    TargetChannels layout = TargetChannels::stereo;
    std::int64_t depth = 24;
};

inline constexpr std::size_t kConvertHeader = 2;

inline ConvertSettings readConvertSettings(std::uint8_t b0, std::uint8_t b1)
{
    constexpr std::int64_t sourceRates[] = {44100, 48000, 22050, 44100};
    constexpr std::int64_t targetRates[] = {44100, 48000, 88200, 96000};
    constexpr TargetChannels::Case layouts[] = {TargetChannels::stereo, TargetChannels::preserve,
                                                TargetChannels::mono, TargetChannels::stereo};
    constexpr std::int64_t depths[] = {16, 24, 32, 24};
    ConvertSettings s;
    s.format = SourceFormat::allCases()[b0 & 3];
    s.automatic = (b0 >> 2) & 1;
    s.sourceChannels = ((b0 >> 3) & 1) ? 2 : 1;
    s.sourceRate = sourceRates[(b0 >> 4) & 3];
    s.normalize = (b0 >> 6) & 1;
    s.detectItemFormat = (b0 >> 7) & 1;
    s.targetRate = targetRates[b1 & 3];
    s.layout = layouts[(b1 >> 2) & 3];
    s.depth = depths[(b1 >> 4) & 3];
    s.itemFormat = SourceFormat::allCases()[(b1 >> 6) & 3];
    return s;
}

inline void writeConvertSettings(const ConvertSettings& s, std::uint8_t& b0, std::uint8_t& b1)
{
    const auto sourceRateCode = s.sourceRate == 48000 ? 1 : s.sourceRate == 22050 ? 2 : 0;
    const auto targetRateCode = s.targetRate == 44100 ? 0 : s.targetRate == 48000 ? 1 : s.targetRate == 88200 ? 2 : 3;
    const auto layoutCode = s.layout == TargetChannels::preserve ? 1 : s.layout == TargetChannels::mono ? 2 : 0;
    const auto depthCode = s.depth == 16 ? 0 : s.depth == 32 ? 2 : 1;
    b0 = static_cast<std::uint8_t>(s.format.index() | (s.automatic << 2) | ((s.sourceChannels == 2) << 3) |
                                   (sourceRateCode << 4) | (s.normalize << 6) | (s.detectItemFormat << 7));
    b1 = static_cast<std::uint8_t>(targetRateCode | (layoutCode << 2) | (depthCode << 4) | (s.itemFormat.index() << 6));
}

} // namespace quorvel::fuzz
