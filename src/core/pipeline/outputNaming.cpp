#include "core/pipeline/outputNaming.hpp"
#include "core/formats/OutputOptions.hpp"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace quorvel {

namespace {

// NAME_MAX on POSIX systems; as UTF-8 it also fits the 255 UTF-16 units of NTFS and exFAT.
constexpr std::size_t kMaxNameBytes = 255;
constexpr std::string_view kCutMarker = "…";

// `stem` shortened so that it and `tailBytes` more fit in a file name: the base name is
// cut (never inside a UTF-8 character) and marked with "…", and the "_48kHz_24bit_stereo"
// that ends our stems is kept whole. A stem cut before is cut again from the same place.
std::string fittedStem(const std::string& stem, std::size_t tailBytes)
{
    if (stem.size() + tailBytes <= kMaxNameBytes)
        return stem;
    std::size_t suffixAt = stem.size();
    for (int part = 0; part < 3; ++part) {
        const std::size_t underscore = suffixAt == 0 ? std::string::npos : stem.rfind('_', suffixAt - 1);
        if (underscore == std::string::npos) {
            suffixAt = stem.size(); // not one of ours: cut its end
            break;
        }
        suffixAt = underscore;
    }
    std::string head = stem.substr(0, suffixAt);
    const std::string suffix = stem.substr(suffixAt);
    if (head.ends_with(kCutMarker))
        head.resize(head.size() - kCutMarker.size());
    const std::size_t kept = tailBytes + suffix.size() + kCutMarker.size();
    std::size_t cut = kept < kMaxNameBytes ? std::min(head.size(), kMaxNameBytes - kept) : 0;
    while (cut > 0 && cut < head.size() && (static_cast<unsigned char>(head[cut]) & 0xC0) == 0x80)
        --cut;
    head.resize(cut);
    return head + std::string(kCutMarker) + suffix;
}

} // namespace

std::string outputStem(const std::string& base, std::int64_t rate, std::int64_t depth, std::int64_t channels)
{
    return base + "_" + khzText(rate) + "kHz_" + std::to_string(depth) + "bit_" + (channels == 1 ? "mono" : "stereo");
}

std::filesystem::path outputCandidate(const std::filesystem::path& dir, const std::string& stem, std::int64_t n)
{
    const std::string tail = n == 1 ? ".wav" : " (" + std::to_string(n) + ").wav";
    return dir / (fittedStem(stem, tail.size()) + tail);
}

std::filesystem::path uniqueOutput(const std::filesystem::path& dir, const std::string& base, std::int64_t rate,
                                   std::int64_t depth, std::int64_t channels)
{
    const std::string stem = outputStem(base, rate, depth, channels);
    std::error_code ignored;
    std::filesystem::path candidate = outputCandidate(dir, stem, 1);
    for (std::int64_t n = 2; std::filesystem::exists(std::filesystem::symlink_status(candidate, ignored)); ++n)
        candidate = outputCandidate(dir, stem, n);
    return candidate;
}

std::filesystem::path nextOutputCandidate(const std::filesystem::path& path)
{
    std::string stem = path.stem().string();
    std::int64_t n = 1;
    // Only a trailing " (digits)" counts; our stems end in "mono" or "stereo", so a base
    // name that itself ends in " (2)" is never mistaken for a number.
    if (const auto open = stem.rfind(" ("); open != std::string::npos && stem.ends_with(')')) {
        const char* first = stem.data() + open + 2;
        const char* last = stem.data() + stem.size() - 1;
        std::int64_t parsed = 0;
        const auto [end, error] = std::from_chars(first, last, parsed);
        if (error == std::errc{} && end == last && first != last && parsed >= 2) {
            n = parsed;
            stem.resize(open);
        }
    }
    return outputCandidate(path.parent_path(), stem, n + 1);
}

} // namespace quorvel
