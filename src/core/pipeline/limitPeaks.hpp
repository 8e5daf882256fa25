#pragma once

#include "core/pipeline/PcmBuffer.hpp"

namespace quorvel {

// Look-ahead peak limiter holding every sample's magnitude at or below `ceiling` (linear).
// One gain for all channels: it drops at once to what the loudest frame of the next 3 ms
// needs and recovers linearly, from 0 to 1 in 60 ms. A buffer already under the ceiling
// comes back bit-identical.
void limitPeaks(PcmBuffer& buffer, float ceiling);

} // namespace quorvel
