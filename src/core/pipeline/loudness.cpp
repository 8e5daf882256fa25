#include "core/pipeline/loudness.hpp"
#include "core/pipeline/biquad.hpp"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace quorvel {

namespace {

// The 1e-12 keeps silent blocks finite (−120.691); they still fall to the absolute gate.
double loudnessOf(double power) { return -0.691 + 10.0 * std::log10(power + 1e-12); }

constexpr double kUnmeasurable = -std::numeric_limits<double>::infinity();

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

namespace {

double gatedLoudness(const std::vector<double>& power)
{
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

} // namespace

LoudnessMeter::LoudnessMeter(double sampleRate, std::int64_t channels, std::int64_t frames)
    : k_(kWeightCoeffs(sampleRate)), blockLen_(std::llround(sampleRate * 0.4)), hop_(std::llround(sampleRate * 0.1))
{
    if (blockLen_ < 1 || hop_ < 1 || frames < blockLen_)
        return; // unmeasurable: no channel state, nothing is summed
    blockCount_ = (frames - blockLen_) / hop_ + 1;
    for (std::int64_t c = 0; c < channels; ++c)
        channels_.push_back({Biquad(k_.b1, k_.a1), Biquad(k_.b2, k_.a2),
                             std::vector<double>(static_cast<std::size_t>(blockLen_)),
                             std::vector<double>(static_cast<std::size_t>(blockCount_), 0.0)});
}

void LoudnessMeter::add(std::int64_t channel, const float* x, std::int64_t frames)
{
    if (channels_.empty())
        return;
    Channel& ch = channels_[static_cast<std::size_t>(channel)];
    std::vector<double>& recent = ch.recent;
    // The filtered signal is kept only for the block being summed, so memory stays at one
    // block whatever the length; each block's sum runs in ascending order.
    for (std::int64_t i = 0; i < frames && ch.block < blockCount_; ++i, ++ch.position) {
        recent[static_cast<std::size_t>(ch.slot)] = ch.highPass(ch.shelf(static_cast<double>(x[i])));
        ch.slot = ch.slot + 1 == blockLen_ ? 0 : ch.slot + 1;
        if (ch.position != ch.block * hop_ + blockLen_ - 1)
            continue;
        // The ring is full and `slot` is where this block starts.
        double sum = 0;
        for (std::int64_t j = ch.slot; j < blockLen_; ++j)
            sum += recent[static_cast<std::size_t>(j)] * recent[static_cast<std::size_t>(j)];
        for (std::int64_t j = 0; j < ch.slot; ++j)
            sum += recent[static_cast<std::size_t>(j)] * recent[static_cast<std::size_t>(j)];
        ch.power[static_cast<std::size_t>(ch.block)] = sum / static_cast<double>(blockLen_);
        ++ch.block;
    }
}

double LoudnessMeter::integrated() const
{
    if (channels_.empty())
        return kUnmeasurable;
    // Channel after channel, as if each had been added to one sum in turn.
    std::vector<double> power(static_cast<std::size_t>(blockCount_), 0.0);
    for (const Channel& ch : channels_)
        for (std::size_t b = 0; b < power.size(); ++b)
            power[b] += ch.power[b];
    return gatedLoudness(power);
}

double integratedLUFS(const PcmBuffer& buffer)
{
    LoudnessMeter meter(buffer.sampleRate(), buffer.channelCount(), buffer.frameLength());
    for (std::int64_t c = 0; c < buffer.channelCount(); ++c)
        meter.add(c, buffer.channel(c), buffer.frameLength());
    return meter.integrated();
}

} // namespace quorvel
