#pragma once

#include <string>
#include <string_view>

namespace quorvel::cli {

// A JSON string literal, quotes included. Bytes that are not valid UTF-8 (file names
// from old archives often are not) become U+FFFD so every line stays valid JSON.
std::string jsonString(std::string_view text);

// Shortest text that reads back as the same double; null for NaN and infinities.
std::string jsonNumber(double value);

} // namespace quorvel::cli
