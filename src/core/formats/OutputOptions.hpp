#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// The rate assumed for the source data: the bytes do not say.
class SourceRate {
public:
    enum Case : std::uint8_t { r44100, r48000, r22050 };
    constexpr SourceRate(Case c) : c_(c) {}
    constexpr operator Case() const { return c_; }

    static constexpr std::array<SourceRate, 3> allCases() { return {r44100, r48000, r22050}; }
    static std::optional<SourceRate> fromRaw(std::int64_t hz);

    std::int64_t rawValue() const;
    std::int64_t id() const { return rawValue(); }
    std::string_view label() const;

private:
    Case c_;
};

class TargetRate {
public:
    enum Case : std::uint8_t { r44100, r48000, r88200, r96000 };
    constexpr TargetRate(Case c) : c_(c) {}
    constexpr operator Case() const { return c_; }

    static constexpr std::array<TargetRate, 4> allCases() { return {r44100, r48000, r88200, r96000}; }
    static std::optional<TargetRate> fromRaw(std::int64_t hz);

    std::int64_t rawValue() const;
    std::int64_t id() const { return rawValue(); }
    std::string label() const; // "44.1 kHz", "48 kHz"

private:
    Case c_;
};

// Whole kilohertz print bare ("48"), anything else with one decimal ("44.1").
std::string khzText(std::int64_t hz);
// The rate for status lines: "44.1 kHz", "48 kHz".
inline std::string khz(std::int64_t hz) { return khzText(hz) + " kHz"; }

// Output bit depth; all integer PCM.
class TargetDepth {
public:
    enum Case : std::uint8_t { d16, d24, d32 };
    constexpr TargetDepth(Case c) : c_(c) {}
    constexpr operator Case() const { return c_; }

    static constexpr std::array<TargetDepth, 3> allCases() { return {d16, d24, d32}; }
    static std::optional<TargetDepth> fromRaw(std::int64_t bits);

    constexpr std::int64_t rawValue() const { return 16 + 8 * std::int64_t{c_}; }
    constexpr std::int64_t id() const { return rawValue(); }
    std::string label() const; // "24-bit"

private:
    Case c_;
};

class TargetChannels {
public:
    enum Case : std::uint8_t { stereo, preserve, mono };
    constexpr TargetChannels(Case c) : c_(c) {}
    constexpr operator Case() const { return c_; }

    static constexpr std::array<TargetChannels, 3> allCases() { return {stereo, preserve, mono}; }
    static std::optional<TargetChannels> fromRaw(std::string_view raw);

    std::string_view rawValue() const; // "Stereo deliverable", "Preserve source", "Force mono"
    std::string_view id() const { return rawValue(); }

private:
    Case c_;
};

// Per-file mono/stereo decision; `automatic` keeps the detected channel count.
class ChannelOverride {
public:
    enum Case : std::uint8_t { automatic, mono, stereo };
    constexpr ChannelOverride(Case c) : c_(c) {}
    constexpr operator Case() const { return c_; }

    static constexpr std::array<ChannelOverride, 3> allCases() { return {automatic, mono, stereo}; }
    static std::optional<ChannelOverride> fromRaw(std::string_view raw);

    std::string_view rawValue() const; // "Auto", "Mono", "Stereo"
    std::string_view id() const { return rawValue(); }

private:
    Case c_;
};

} // namespace quorvel
