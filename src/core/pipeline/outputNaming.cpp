#include "core/pipeline/outputNaming.hpp"
#include "core/formats/OutputOptions.hpp"

#include <charconv>

namespace quorvel {

std::string outputStem(const std::string& base, std::int64_t rate, std::int64_t depth, std::int64_t channels)
{
    return base + "_" + khzText(rate) + "kHz_" + std::to_string(depth) + "bit_" + (channels == 1 ? "mono" : "stereo");
}

std::filesystem::path outputCandidate(const std::filesystem::path& dir, const std::string& stem, std::int64_t n)
{
    return dir / (n == 1 ? stem + ".wav" : stem + " (" + std::to_string(n) + ").wav");
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
