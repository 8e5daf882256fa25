#include "core/detection/detectFile.hpp"
#include "core/detection/smoothness.hpp"
#include "core/io/guardedRead.hpp"

namespace quorvel {

std::optional<FileDetection> detectFile(ByteView data, SourceFormatChoice choice)
{
    FormatDetection format;
    SourceFormat used = SourceFormat::s16be;
    ChannelDetection channels;
    bool quiet = false;
    const bool read = guardedRead([&] {
        format = scoreFormats(data);
        used = choice.fixedFormat().value_or(format.best);
        channels = detectChannels(data, used);
        quiet = windowPeak(data, used, kQuietPeakBelow) < kQuietPeakBelow;
    });
    // A layout read in an encoding that was a close call is no surer than the encoding.
    if (choice.isAuto() && channels.confidence == "confident" && !clearVerdict(format))
        channels.confidence = "verify by ear";
    if (!read)
        return std::nullopt;
    return FileDetection{format, used, channels, detectionStatus(used, choice, channels), {}, quiet};
}

std::string detectionStatus(SourceFormat used, SourceFormatChoice choice, const ChannelDetection& channels)
{
    std::string status{used.shortText()};
    status += choice.isAuto() ? " (auto)" : " (set)";
    status += channels.channels == 1 ? " · Mono · " : " · Stereo · ";
    status += channels.confidence;
    return status;
}

} // namespace quorvel
