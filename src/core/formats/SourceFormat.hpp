#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// How the headerless sample bytes of an .sd2 file are read. The case order is the
// detection order: on equal scores the earlier case wins. s8 and s32be come only from a
// file's own metadata: they are neither detection candidates nor menu options, so
// allCases() leaves them out.
class SourceFormat {
public:
    enum Case : std::uint8_t { s16be, s24be, s16le, s24le, s8, s32be };

    constexpr SourceFormat(Case c) : c_(c) {}
    constexpr operator Case() const { return c_; }

    static constexpr std::array<SourceFormat, 4> allCases() { return {s16be, s24be, s16le, s24le}; }
    static std::optional<SourceFormat> fromRaw(std::string_view raw);

    constexpr int bytesPerSample() const
    {
        return c_ == s8 ? 1 : c_ == s32be ? 4 : c_ == s24be || c_ == s24le ? 3 : 2;
    }
    constexpr bool isBigEndian() const { return c_ == s16be || c_ == s24be || c_ == s8 || c_ == s32be; }
    constexpr std::size_t index() const { return c_; }

    std::string_view rawValue() const;
    std::string_view id() const { return rawValue(); }
    std::string_view shortText() const; // "16-bit BE"
    std::string_view longText() const;  // "16-bit big-endian  (s16be)", two spaces by design

private:
    Case c_;
};

// The user's source-format setting: detect per file, or one fixed encoding.
class SourceFormatChoice {
public:
    static constexpr SourceFormatChoice automatic() { return SourceFormatChoice{}; }
    static constexpr SourceFormatChoice fixed(SourceFormat f) { return SourceFormatChoice{f}; }

    static std::array<SourceFormatChoice, 5> allCases();
    // Parses an id: "auto" or a SourceFormat raw value.
    static std::optional<SourceFormatChoice> fromId(std::string_view id);

    constexpr bool isAuto() const { return !format_.has_value(); }
    constexpr std::optional<SourceFormat> fixedFormat() const { return format_; }

    std::string_view id() const;
    std::string label() const;

    friend constexpr bool operator==(SourceFormatChoice, SourceFormatChoice) = default;

private:
    constexpr SourceFormatChoice() = default;
    constexpr explicit SourceFormatChoice(SourceFormat f) : format_(f) {}
    std::optional<SourceFormat> format_;
};

} // namespace quorvel
