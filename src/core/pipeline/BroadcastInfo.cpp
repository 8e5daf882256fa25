#include "core/pipeline/BroadcastInfo.hpp"
#include "core/formats/utf8.hpp"

#include <array>
#include <string_view>

namespace quorvel {

namespace {

// U+00C0–U+00FF without their marks.
constexpr std::array<std::string_view, 64> kLatin1{
    "A", "A", "A", "A", "A", "A", "AE", "C", "E", "E", "E", "E", "I", "I", "I", "I",
    "D", "N", "O", "O", "O", "O", "O",  "x", "O", "U", "U", "U", "U", "Y", "Th", "ss",
    "a", "a", "a", "a", "a", "a", "ae", "c", "e", "e", "e", "e", "i", "i", "i", "i",
    "d", "n", "o", "o", "o", "o", "o",  "/", "o", "u", "u", "u", "u", "y", "th", "y"};

std::string_view asciiFor(char32_t c)
{
    if (c >= 0xC0 && c <= 0xFF)
        return kLatin1[c - 0xC0];
    switch (c) {
    case 0xB7: return ",";
    case 0x2013: case 0x2014: case 0x2212: return "-";
    case 0x2018: case 0x2019: return "'";
    case 0x201C: case 0x201D: return "\"";
    case 0x2026: return "...";
    case 0x2192: return "->";
    }
    return "?";
}

} // namespace

std::string bextText(const std::string& utf8, std::size_t limit)
{
    std::string ascii;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto [c, length] = decodeUtf8(utf8, i);
        i += length;
        if (c >= 0x20 && c < 0x7F) {
            ascii += static_cast<char>(c);
            continue;
        }
        const std::string_view replacement = asciiFor(c);
        if (replacement == "," && ascii.ends_with(' '))
            ascii.pop_back(); // "a · b" reads "a, b"
        ascii += replacement;
    }
    ascii.resize(std::min(ascii.size(), limit));
    return ascii;
}

} // namespace quorvel
