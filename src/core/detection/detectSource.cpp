#include "core/detection/detectSource.hpp"
#include "core/detection/smoothness.hpp"
#include "core/formats/OutputOptions.hpp"
#include "core/io/guardedRead.hpp"
#include "core/metadata/checkedSource.hpp"

namespace quorvel {

std::optional<FileDetection> detectSource(const std::filesystem::path& path, ByteView file, SourceFormatChoice choice,
                                          const std::optional<std::filesystem::path>& root, std::string& unreadable)
{
    FileSource source = findFileSource(path, root);
    if (!source.unreadable.empty()) {
        unreadable = "couldn't read the metadata in " + source.unreadable;
        return std::nullopt;
    }
    FormatScores scores{};
    const bool read = guardedRead([&] {
        source = checkedSource(std::move(source), file, choice);
        if (source.description && choice.isAuto())
            scores = candidateScores(source.audio(file), smoothness);
    });
    if (!read) {
        unreadable = kChangedWhileRead;
        return std::nullopt;
    }

    if (!source.description || !choice.isAuto()) {
        std::optional<FileDetection> detected = detectFile(source.audio(file), choice);
        if (!detected) {
            unreadable = kChangedWhileRead;
            return std::nullopt;
        }
        if (const auto& overruled = source.overruled)
            detected->status += " · " + khz(overruled->rate) + " (file info) · encoding corrected from " +
                                std::string(overruled->format.shortText());
        detected->source = std::move(source);
        return detected;
    }
    const SourceDescription& described = *source.description;
    FormatDetection format;
    format.best = described.format;
    format.scores = scores;
    return FileDetection{format, described.format,
                         ChannelDetection{described.channels, "file info", 0.0}, metadataStatus(described),
                         std::move(source)};
}

std::string metadataStatus(const SourceDescription& description)
{
    return std::string(description.format.shortText()) + " (file info) · " +
           (description.channels == 1 ? "Mono" : "Stereo") + " · " + khz(description.rate);
}

} // namespace quorvel
