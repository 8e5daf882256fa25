#pragma once

#include "core/formats/SourceFormat.hpp"
#include "core/pipeline/BroadcastInfo.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// Where a fact about a source came from: its own metadata, its session, the detection,
// what the file's content showed it to be, or the user's setting.
enum class Origin { metadata, session, detection, content, set };
std::string_view originWord(Origin origin); // "metadata", "session", …

struct Origins {
    Origin encoding = Origin::detection;
    Origin layout = Origin::detection;
    Origin rate = Origin::set;
};

// How a source was read, as its output's bext chunk tells it.
struct SourceReading {
    std::string name;        // "Take 7.sd2"; a split pair's "Vox.L.sd2 + Vox.R.sd2"
    SourceFormat format = SourceFormat::s16be;
    std::int64_t channels = 2, rate = 44100;
    bool pair = false;
    Origins from;
    std::string container;   // the fork's container ("AppleDouble", …) when the metadata gave the encoding
    // When the original was made (FileSource::created), else the file's modification time.
    std::optional<std::int64_t> created;
    std::filesystem::path path;
};

// What the output is: its rate, depth, channels and whether it was normalised.
struct OutputShape {
    std::int64_t rate = 48000, depth = 24, channels = 2;
    bool normalised = false;
};

// The depth that keeps every bit of `format`: 8-bit sources widen to 16.
std::int64_t sourceDepth(SourceFormat format);

// The bext chunk of `shape` made from `reading`, signed by `originator`: the description,
// the origination date and time (UTC for a modification time) and the coding history, one
// row for the source and one for each step Quorvel took.
BroadcastInfo broadcastInfo(const SourceReading& reading, const OutputShape& shape, const std::string& originator);

} // namespace quorvel
