#include "core/formats/OutputOptions.hpp"
#include "core/formats/optionSet.hpp"

#include <charconv>

namespace quorvel {

namespace {
constexpr std::array<std::int64_t, 3> kSourceHz{44100, 48000, 22050};
constexpr std::array<std::string_view, 3> kSourceLabels{"44.1 kHz — default", "48 kHz", "22.05 kHz"};
constexpr std::array<std::int64_t, 4> kTargetHz{44100, 48000, 88200, 96000};
constexpr std::array<std::string_view, 3> kTargetChannels{"Stereo deliverable", "Preserve source", "Force mono"};
constexpr std::array<std::string_view, 3> kOverrides{"Auto", "Mono", "Stereo"};
} // namespace

std::optional<SourceRate> SourceRate::fromRaw(std::int64_t hz) { return optionFromRaw<SourceRate>(hz); }
std::int64_t SourceRate::rawValue() const { return kSourceHz[c_]; }
std::string_view SourceRate::label() const { return kSourceLabels[c_]; }

std::optional<TargetRate> TargetRate::fromRaw(std::int64_t hz) { return optionFromRaw<TargetRate>(hz); }
std::int64_t TargetRate::rawValue() const { return kTargetHz[c_]; }
std::string TargetRate::label() const { return khz(rawValue()); }

std::string khzText(std::int64_t hz)
{
    if (hz % 1000 == 0)
        return std::to_string(hz / 1000);
    // to_chars, unlike printf, ignores the C locale: names and texts read "88.2" everywhere.
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, static_cast<double>(hz) / 1000.0,
                                       std::chars_format::fixed, 1);
    return std::string(text, written.ptr);
}

std::optional<TargetDepth> TargetDepth::fromRaw(std::int64_t bits) { return optionFromRaw<TargetDepth>(bits); }
std::string TargetDepth::label() const { return std::to_string(rawValue()) + "-bit"; }

std::optional<TargetChannels> TargetChannels::fromRaw(std::string_view raw)
{
    return optionFromRaw<TargetChannels>(raw);
}
std::string_view TargetChannels::rawValue() const { return kTargetChannels[c_]; }

std::optional<ChannelOverride> ChannelOverride::fromRaw(std::string_view raw)
{
    return optionFromRaw<ChannelOverride>(raw);
}
std::string_view ChannelOverride::rawValue() const { return kOverrides[c_]; }

} // namespace quorvel
