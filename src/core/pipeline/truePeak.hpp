#pragma once

#include "core/pipeline/PcmBuffer.hpp"

namespace quorvel {

// The largest magnitude of the buffer oversampled four times (libsoxr's band-limited
// filter), as a linear amplitude; the plain sample peak when the rate cannot be oversampled.
// NaN samples are ignored.
float truePeakLinear(const PcmBuffer& buffer);

} // namespace quorvel
