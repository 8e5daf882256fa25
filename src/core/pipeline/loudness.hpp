#pragma once

#include "core/pipeline/PcmBuffer.hpp"
#include "core/pipeline/biquad.hpp"

#include <array>
#include <vector>

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

// integratedLUFS over audio that arrives in pieces: each channel's samples in order, the
// channels independently (from different threads if need be), every channel as long as
// the others by the time integrated() is asked. Gives integratedLUFS's result to the last
// bit. Keeps one number per channel and block, 80 bytes a second of each channel.
class LoudnessMeter {
public:
    LoudnessMeter(double sampleRate, std::int64_t channels);
    void add(std::int64_t channel, const float* samples, std::int64_t frames);
    double integrated() const;

private:
    struct Channel {
        Biquad shelf, highPass;
        std::vector<double> sums;   // running sums of squares of the open blocks, by block modulo size
        std::vector<double> power;  // mean square of each block closed so far
        std::vector<double> squares; // the filtered samples of the piece being added, squared
        std::int64_t position = 0, opened = 0, closed = 0;
    };
    void addPiece(Channel& channel, const float* samples, std::int64_t frames);

    KWeighting k_;
    std::int64_t blockLen_, hop_;
    std::vector<Channel> channels_;
};

} // namespace quorvel
