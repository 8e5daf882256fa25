#pragma once

#include "core/formats/SourceFormat.hpp"
#include "core/metadata/FileSource.hpp"
#include "core/metadata/findFileSource.hpp"

#include <cstdint>
#include <span>

namespace quorvel {

// The found source held against the audio: with the choice on auto, a description whose
// encoding reads as static by the batch run's own check while another encoding reads
// clearly as audio (the batch run's correction) is overruled, so detection takes over the
// encoding and layout; its rate stays the file's. A quiet reading is not static, and a
// reading merely less noisy is no evidence: the description stands. A fixed choice
// overrides the description's encoding anyway and keeps only its rate. Reads `file` (the
// whole file's bytes): call it under guardedRead.
FileSource checkedSource(FileSource found, std::span<const std::uint8_t> file, SourceFormatChoice choice);

} // namespace quorvel
