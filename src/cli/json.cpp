#include "cli/json.hpp"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace quorvel::cli {

namespace {
// Length of the valid UTF-8 sequence starting at s[i], or 0 when it is not one.
std::size_t utf8Length(std::string_view s, std::size_t i)
{
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char lead = byte(i);
    std::size_t len = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
    if (len == 0 || i + len > s.size())
        return 0;
    std::uint32_t cp = len == 1 ? lead : lead & (0x7F >> len);
    for (std::size_t k = 1; k < len; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (byte(i + k) & 0x3F);
    }
    constexpr std::uint32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kMinimum[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return len;
}
} // namespace

std::string jsonString(std::string_view text)
{
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        const std::size_t len = utf8Length(text, i);
        if (len == 0) {
            out += "\\ufffd";
            ++i;
            continue;
        }
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned char>(c));
            out += escaped;
        } else {
            out.append(text.substr(i, len));
        }
        i += len;
    }
    out += '"';
    return out;
}

std::string rawPathField(std::string_view name, const std::string& path)
{
    bool valid = true;
    for (std::size_t i = 0, len = 0; valid && i < path.size(); i += len)
        valid = (len = utf8Length(path, i)) != 0;
    if (valid)
        return {};
    constexpr std::string_view kKept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::string raw;
    for (const char c : path) {
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
        raw += kKept.find(c) != std::string_view::npos ? std::string(1, c) : std::string(escaped);
    }
    const char initial = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
    return ",\"raw" + std::string(1, initial) + std::string(name.substr(1)) + "\":" + jsonString(raw);
}

std::string jsonPath(std::string_view name, const std::string& path)
{
    return jsonString(name) + ":" + jsonString(path) + rawPathField(name, path);
}

std::string jsonNumber(double value)
{
    if (!std::isfinite(value))
        return "null";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace quorvel::cli
