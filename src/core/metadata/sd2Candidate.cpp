#include "core/metadata/sd2Candidate.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/detectBestFormat.hpp"
#include "core/detection/smoothness.hpp"
#include "core/io/MappedFile.hpp"
#include "core/io/guardedRead.hpp"
#include "core/metadata/findFileSource.hpp"
#include "core/pipeline/staticCheck.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace quorvel {

namespace fs = std::filesystem;

namespace {

// Taken from the name itself, so that a file named just ".sd2" has the extension too.
std::string lowerExtension(const fs::path& path)
{
    const std::string name = path.filename().string();
    const auto dot = name.rfind('.');
    if (dot == std::string::npos)
        return {};
    std::string extension = name.substr(dot);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

// No extension, or a Pro Tools channel suffix as the only one ("Gtr.L", not "Gtr.v2.L").
bool isBareName(const fs::path& path)
{
    const std::string extension = lowerExtension(path);
    if (extension.empty())
        return true;
    constexpr std::array<std::string_view, 6> kChannelSuffixes{".l", ".r", ".c", ".ls", ".rs", ".lfe"};
    const std::string name = path.filename().string();
    return std::ranges::find(kChannelSuffixes, extension) != kChannelSuffixes.end() &&
           name.find('.') == name.size() - extension.size() && name.size() > extension.size();
}

// The first bytes of formats a bare name may hide, none of them headerless audio.
bool hasForeignMagic(ByteView bytes)
{
    using namespace std::string_view_literals;
    constexpr std::array kMagic{"RIFF"sv, "RIFX"sv, "RF64"sv, "FORM"sv, "ID3"sv, "fLaC"sv, "OggS"sv, "PK\x03\x04"sv,
                                "PK\x05\x06"sv, "%PDF"sv, "%!PS"sv, "\x7f" "ELF"sv, "\x89PNG"sv, "GIF8"sv,
                                "\xff\xd8\xff"sv, "MThd"sv, "caff"sv, ".snd"sv, "wvpk"sv, "MAC "sv, "\x1f\x8b"sv,
                                "BZh"sv, "\xfd" "7zXZ"sv, "7z\xbc\xaf"sv, "Rar!"sv, "{\\rtf"sv, "<?xml"sv,
                                "bplist"sv, "SQLite format 3"sv, "\xd0\xcf\x11\xe0"sv, "II*\0"sv, "MM\0*"sv};
    const std::string_view head(reinterpret_cast<const char*>(bytes.data()), std::min<std::size_t>(bytes.size(), 16));
    return std::ranges::any_of(kMagic, [&](std::string_view magic) { return head.starts_with(magic); }) ||
           head.substr(std::min<std::size_t>(head.size(), 4)).starts_with("ftyp"); // MP4, M4A, QuickTime
}

} // namespace

bool readsAsAudio(const fs::path& file)
{
    const MappedFile mapped = MappedFile::open(file);
    bool audio = false;
    guardedRead([&] {
        const auto audible = hasForeignMagic(mapped.bytes()) ? std::nullopt : audiblePart(mapped.bytes());
        if (!audible)
            return;
        // As the batch run's correction judges it: some reading clearly audio (interleaved
        // stereo channel by channel), whatever the layout; or one quiet far below every other
        // (room tone, a cue brought down 70 dB). Each score is taken only when the last left
        // the answer open.
        const auto clear = [&](double (*scorer)(ByteView, SourceFormat)) {
            const FormatScores scores = candidateScores(*audible, scorer);
            return *std::ranges::max_element(scores) >= kCorrectionAtLeast;
        };
        audio = clear(smoothness) || clear(channelSmoothness) || quietReading(readingPeaks(*audible));
    });
    return audio;
}

Candidacy sd2Candidacy(const fs::path& path, const std::optional<fs::path>& root)
{
    if (isSidecarPath(path))
        return Candidacy::skipped;
    const std::string extension = lowerExtension(path);
    if (extension == ".sd2")
        return Candidacy::taken;
    const bool bare = isBareName(path);
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    // Named explicitly, anything there is taken, and reading it says what it is; a typo is
    // left to be reported as a path that could not be opened.
    if (bare && !root)
        return fs::exists(status) ? Candidacy::taken : Candidacy::skipped;
    if (!fs::is_regular_file(status))
        return Candidacy::skipped;
    if (hasSd2FinderType(path, bare || extension == ".bin" || extension == ".as", root))
        return Candidacy::taken;
    if (!bare)
        return Candidacy::skipped;
    return readsAsAudio(path) ? Candidacy::sniffed : Candidacy::notAudio;
}

} // namespace quorvel
