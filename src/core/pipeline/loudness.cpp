#include "core/pipeline/loudness.hpp"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace quorvel {

namespace {

// Direct form I from zero state.
class Biquad {
public:
    Biquad(const std::array<double, 3>& b, const std::array<double, 3>& a) : b_(b), a_(a) {}
    double operator()(double x)
    {
        const double y = b_[0] * x + b_[1] * x1_ + b_[2] * x2_ - a_[1] * y1_ - a_[2] * y2_;
        x2_ = x1_;
        x1_ = x;
        y2_ = y1_;
        y1_ = y;
        return y;
    }

private:
    std::array<double, 3> b_, a_;
    double x1_ = 0, x2_ = 0, y1_ = 0, y2_ = 0;
};

// The 1e-12 keeps silent blocks finite (−120.691); they still fall to the absolute gate.
double loudnessOf(double power) { return -0.691 + 10.0 * std::log10(power + 1e-12); }

} // namespace

KWeighting kWeightCoeffs(double sampleRate)
{
    KWeighting k;
    {
        const double K = std::tan(5284.078578647628 / sampleRate); // π × 1681.97 Hz
        const double Q = 0.7071752369554196, Vh = 1.5848647011308556, Vb = 1.2587209302325617;
        const double a0 = K * K + (K / Q + 1.0);
        k.b1 = {(K * K + (Vb * K / Q + Vh)) / a0, 2.0 * (K * K - Vh) / a0, (K * K + (Vh - Vb * K / Q)) / a0};
        k.a1 = {1.0, 2.0 * (K * K - 1.0) / a0, (K * K + (1.0 - K / Q)) / a0};
    }
    {
        const double K = std::tan(119.8061151453059 / sampleRate); // π × 38.14 Hz
        const double Q = 0.5003270373238773;
        const double a0 = K * K + (K / Q + 1.0);
        k.b2 = {1.0, -2.0, 1.0}; // unnormalised, as in BS.1770's table
        k.a2 = {1.0, 2.0 * (K * K - 1.0) / a0, (K * K + (1.0 - K / Q)) / a0};
    }
    return k;
}

double integratedLUFS(const PcmBuffer& buffer)
{
    constexpr double kUnmeasurable = -std::numeric_limits<double>::infinity();
    const double fs = buffer.sampleRate();
    const std::int64_t n = buffer.frameLength();
    const std::int64_t blockLen = std::llround(fs * 0.4);
    const std::int64_t hop = std::llround(fs * 0.1);
    if (blockLen < 1 || hop < 1 || n < blockLen)
        return kUnmeasurable;

    const std::int64_t blockCount = (n - blockLen) / hop + 1;
    const KWeighting k = kWeightCoeffs(fs);
    std::vector<double> power(static_cast<std::size_t>(blockCount), 0.0);
    // The filtered signal is kept only for the block being summed, so memory stays at one
    // block whatever the buffer's length; each block's sum runs in ascending order.
    std::vector<double> recent(static_cast<std::size_t>(blockLen));
    for (std::int64_t c = 0; c < buffer.channelCount(); ++c) {
        Biquad shelf(k.b1, k.a1), highPass(k.b2, k.a2);
        const float* x = buffer.channel(c);
        std::int64_t block = 0, slot = 0;
        for (std::int64_t i = 0; block < blockCount; ++i) {
            recent[static_cast<std::size_t>(slot)] = highPass(shelf(static_cast<double>(x[i])));
            slot = slot + 1 == blockLen ? 0 : slot + 1;
            if (i != block * hop + blockLen - 1)
                continue;
            // The ring is full and `slot` is where this block starts.
            double sum = 0;
            for (std::int64_t j = slot; j < blockLen; ++j)
                sum += recent[static_cast<std::size_t>(j)] * recent[static_cast<std::size_t>(j)];
            for (std::int64_t j = 0; j < slot; ++j)
                sum += recent[static_cast<std::size_t>(j)] * recent[static_cast<std::size_t>(j)];
            power[static_cast<std::size_t>(block)] += sum / static_cast<double>(blockLen);
            ++block;
        }
    }

    double absSum = 0;
    std::int64_t absCount = 0;
    for (double p : power)
        if (loudnessOf(p) > -70.0) {
            absSum += p;
            ++absCount;
        }
    if (absCount == 0)
        return kUnmeasurable;

    // The loudest block is at least the mean, so this gate always keeps one block.
    const double relativeGate = loudnessOf(absSum / static_cast<double>(absCount)) - 10.0;
    double relSum = 0;
    std::int64_t relCount = 0;
    for (double p : power) {
        const double l = loudnessOf(p);
        if (l > -70.0 && l > relativeGate) {
            relSum += p;
            ++relCount;
        }
    }
    return loudnessOf(relSum / static_cast<double>(relCount));
}

} // namespace quorvel
