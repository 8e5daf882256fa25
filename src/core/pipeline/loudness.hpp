#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <array>

namespace quorvel {

// The two K-weighting biquads (high shelf, then high pass) as numerators b and
// denominators a, a[0] = 1.
struct KWeighting {
    std::array<double, 3> b1, a1, b2, a2;
};

// Designed for the given rate; at 48 kHz these are the coefficients tabulated in BS.1770.
KWeighting kWeightCoeffs(double sampleRate);

// BS.1770 integrated loudness in LUFS, every channel weighted 1.0: 400 ms blocks every
// 100 ms, gated at −70 LUFS and then 10 LU below the gated level. −infinity for a buffer
// shorter than one block or one with no block above the absolute gate.
double integratedLUFS(const PcmBuffer& buffer);

} // namespace quorvel
