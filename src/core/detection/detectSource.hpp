#pragma once

#include "core/detection/detectFile.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace quorvel {

// Detection of a file that may carry its own metadata: `file` is the whole file's bytes,
// `root` the folder it was found under (findFileSource). Trusted metadata with the choice
// on auto gives the encoding, channels and rate ("24-bit BE (file info) · Stereo · 48 kHz"),
// the candidates still scored for the record; otherwise the audio bytes go through
// detectFile, its status noting metadata whose encoding the audio overruled (its rate
// stays). Nothing when the mapped bytes or a sidecar could not be read; `unreadable` then
// says why.
std::optional<FileDetection> detectSource(const std::filesystem::path& path, ByteView file, SourceFormatChoice choice,
                                          const std::optional<std::filesystem::path>& root, std::string& unreadable);

std::string metadataStatus(const SourceDescription& description);

} // namespace quorvel
