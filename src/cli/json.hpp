#pragma once

#include <string>
#include <string_view>

namespace quorvel::cli {

// A JSON string literal, quotes included. Bytes that are not valid UTF-8 (file names
// from old archives often are not) become U+FFFD so every line stays valid JSON.
std::string jsonString(std::string_view text);

// `"name":"path"`, and when the path's bytes are not valid UTF-8 (so the text shows U+FFFD)
// `,"rawName":"…"` with the bytes percent-encoded, so the exact path can be had back.
std::string jsonPath(std::string_view name, const std::string& path);
// Only that second field, with its leading comma; empty for a UTF-8 path.
std::string rawPathField(std::string_view name, const std::string& path);

// Shortest text that reads back as the same double; null for NaN and infinities.
std::string jsonNumber(double value);

} // namespace quorvel::cli
