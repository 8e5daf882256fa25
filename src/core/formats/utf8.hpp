#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace quorvel {

// The code point at text[i], and how many bytes it takes; U+FFFD for a malformed sequence.
inline std::pair<char32_t, std::size_t> decodeUtf8(std::string_view text, std::size_t i)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    const std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (length == 0 || i + length > text.size())
        return {0xFFFD, 1};
    char32_t c = length == 1 ? lead : lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80)
            return {0xFFFD, 1};
        c = c << 6 | (byte(i + k) & 0x3F);
    }
    return {c, length};
}

// How many columns UTF-8 text takes on a terminal: one per code point.
inline std::size_t displayWidth(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

} // namespace quorvel
