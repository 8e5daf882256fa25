#include "core/metadata/trustDescription.hpp"

#include <charconv>
#include <cmath>
#include <utility>

namespace quorvel {

namespace {

// Padding spaces and NULs around the number are allowed; anything else is not a number.
std::optional<double> number(const std::optional<std::string>& text)
{
    if (!text)
        return std::nullopt;
    const auto pad = [](char c) { return c == ' ' || c == '\0' || c == '\t'; };
    std::size_t first = 0, last = text->size();
    while (first < last && pad((*text)[first]))
        ++first;
    while (last > first && pad((*text)[last - 1]))
        --last;
    double value = 0;
    const char* end = text->data() + last;
    const auto [ptr, error] = std::from_chars(text->data() + first, end, value);
    if (error != std::errc{} || ptr != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

bool whole(double v) { return v == std::floor(v); }

} // namespace

std::optional<SourceDescription> trustedDescription(const Sd2Strings& strings, bool typedSd2)
{
    auto size = number(strings.sampleSize);
    auto rate = number(strings.sampleRate);
    const auto channels = number(strings.channels);
    if (!size || !rate || !channels)
        return std::nullopt;
    if (*size > 4 && *rate <= 4)
        std::swap(*size, *rate);

    const bool usable = whole(*size) && *size >= 1 && *size <= 4 && whole(*channels) && *channels >= 1 &&
                        *channels <= 2;
    // No type vouches for a rate below 4 kHz: a 1 kHz claim would turn a small file into a
    // WAV a hundred times its size. Past 384 kHz, only an 'Sd2f' file is believed.
    const bool rateInRange = *rate >= 4000 && *rate <= (typedSd2 ? 768000 : 384000);
    if (!usable || !rateInRange)
        return std::nullopt;

    constexpr SourceFormat kBySize[] = {SourceFormat::s8, SourceFormat::s16be, SourceFormat::s24be,
                                        SourceFormat::s32be};
    return SourceDescription{kBySize[static_cast<int>(*size) - 1], static_cast<std::int64_t>(*channels),
                             std::llround(*rate)};
}

} // namespace quorvel
