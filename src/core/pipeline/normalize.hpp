#pragma once

#include "core/pipeline/PcmBuffer.hpp"

namespace quorvel {

// Brings the buffer to `targetLUFS` integrated loudness with its true peak at or below
// `ceilingDBTP`: gain, limiter, true-peak trim, then re-measure and correct the gain, in at
// most three passes (each from the original samples, so gains never compound). A buffer
// whose loudness cannot be measured (silent, under 400 ms) is left as it is.
void normalize(PcmBuffer& buffer, double targetLUFS = -14.0, double ceilingDBTP = -1.0);

} // namespace quorvel
