#include "core/detection/detectFile.hpp"

namespace quorvel {

FileDetection detectFile(ByteView data, SourceFormatChoice choice)
{
    const FormatDetection format = scoreFormats(data);
    const SourceFormat used = choice.fixedFormat().value_or(format.best);
    const ChannelDetection channels = detectChannels(data, used);
    return {format, used, channels, detectionStatus(used, choice, channels)};
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
