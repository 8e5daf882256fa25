#pragma once

#include "core/detection/detectBestFormat.hpp"
#include "core/detection/detectChannels.hpp"
#include "core/metadata/FileSource.hpp"

#include <optional>
#include <string>

namespace quorvel {

// Everything one detection learns about a file, as a file item shows it.
struct FileDetection {
    FormatDetection format;   // format.best is stored as the item's detected format
    SourceFormat used;        // the encoding the channels were analysed in
    ChannelDetection channels;
    std::string status;       // "16-bit BE (auto) · Stereo · confident"
    FileSource source;        // where the audio lies, and its metadata when trusted
    bool quiet = false;       // read in `used`, it peaks under kQuietPeakBelow (−50 dBFS)
};

// Scores the encodings, then analyses the channels in the best one, or in the fixed one
// when the user has set it; "confident" only when the encoding was no close call either. Nothing when the bytes could not be read: a mapped file that
// shrank while it was being read.
std::optional<FileDetection> detectFile(ByteView data, SourceFormatChoice choice);

std::string detectionStatus(SourceFormat used, SourceFormatChoice choice, const ChannelDetection& channels);

} // namespace quorvel
