#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>

namespace quorvel {

// The buffer with `toChannels` channels: mono is duplicated to stereo at full level,
// stereo folds to mono at 0.5 each, other changes repeat the last channel or drop the
// extra ones. The same pointer when the count already matches.
PcmBufferPtr mapChannels(const PcmBufferPtr& buffer, std::int64_t toChannels);

} // namespace quorvel
