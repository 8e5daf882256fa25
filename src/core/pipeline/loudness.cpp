#include "core/pipeline/loudness.hpp"
#include "core/pipeline/biquad.hpp"

#include <algorithm>
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

LoudnessMeter::LoudnessMeter(double sampleRate, std::int64_t channels)
    : k_(kWeightCoeffs(sampleRate)), blockLen_(std::llround(sampleRate * 0.4)), hop_(std::llround(sampleRate * 0.1))
{
    if (blockLen_ < 1 || hop_ < 1)
        return; // unmeasurable: no channel state, nothing is summed
    const std::int64_t open = blockLen_ / hop_ + 2; // blocks that can overlap one sample, and one spare
    for (std::int64_t c = 0; c < channels; ++c)
        channels_.push_back({Biquad(k_.b1, k_.a1), Biquad(k_.b2, k_.a2),
                             std::vector<double>(static_cast<std::size_t>(open), 0.0), {}, {}});
}

namespace {

// Adds squares[0 … n) in order to K sums held in registers, so the K chains of additions
// run side by side instead of waiting on each other.
template <int K>
void accumulate(double* const* sums, const double* squares, std::int64_t n)
{
    double a[K];
    for (int t = 0; t < K; ++t)
        a[t] = *sums[t];
    for (std::int64_t i = 0; i < n; ++i)
        for (int t = 0; t < K; ++t)
            a[t] += squares[i];
    for (int t = 0; t < K; ++t)
        *sums[t] = a[t];
}

} // namespace

void LoudnessMeter::add(std::int64_t channel, const float* x, std::int64_t frames)
{
    constexpr std::int64_t kPiece = 4096; // filtered samples held at a time
    if (channels_.empty())
        return; // unmeasurable
    for (std::int64_t at = 0; at < frames; at += kPiece)
        addPiece(channels_[static_cast<std::size_t>(channel)], x + at, std::min(kPiece, frames - at));
}

void LoudnessMeter::addPiece(Channel& ch, const float* x, std::int64_t frames)
{
    ch.squares.resize(static_cast<std::size_t>(frames));
    // Local copies of the filters keep their state in registers.
    Biquad shelf = ch.shelf, highPass = ch.highPass;
    for (std::int64_t i = 0; i < frames; ++i) {
        const double y = highPass(shelf(static_cast<double>(x[i])));
        ch.squares[static_cast<std::size_t>(i)] = y * y;
    }
    ch.shelf = shelf;
    ch.highPass = highPass;

    // Each block open at a sample has a sum of its own, fed in ascending order from 0: the
    // very sum of the block's squares taken when it closes, without keeping the signal.
    // Between two openings or closings the same blocks are open, so they are fed together.
    // Blocks the audio ends inside never close, and count for nothing.
    const auto slots = static_cast<std::int64_t>(ch.sums.size());
    std::int64_t i = 0;
    while (i < frames) {
        const std::int64_t nextOpen = ch.opened * hop_;
        if (ch.position == nextOpen) {
            ch.sums[static_cast<std::size_t>(ch.opened % slots)] = 0.0;
            ++ch.opened;
            continue;
        }
        const std::int64_t closesAfter = ch.closed * hop_ + blockLen_; // one past its last sample
        const std::int64_t n = std::min({nextOpen, closesAfter, ch.position + (frames - i)}) - ch.position;
        for (std::int64_t b = ch.closed; b < ch.opened; b += 4) {
            double* sums[4];
            const auto k = static_cast<int>(std::min<std::int64_t>(4, ch.opened - b));
            for (int t = 0; t < k; ++t)
                sums[t] = &ch.sums[static_cast<std::size_t>((b + t) % slots)];
            const double* squares = ch.squares.data() + i;
            switch (k) {
            case 1: accumulate<1>(sums, squares, n); break;
            case 2: accumulate<2>(sums, squares, n); break;
            case 3: accumulate<3>(sums, squares, n); break;
            default: accumulate<4>(sums, squares, n); break;
            }
        }
        i += n;
        ch.position += n;
        if (ch.position == closesAfter) {
            ch.power.push_back(ch.sums[static_cast<std::size_t>(ch.closed % slots)] / static_cast<double>(blockLen_));
            ++ch.closed;
        }
    }
}

double LoudnessMeter::integrated() const
{
    if (channels_.empty())
        return kUnmeasurable;
    // Channel after channel, as if each had been added to one sum in turn.
    std::size_t blocks = channels_.front().power.size();
    for (const Channel& ch : channels_)
        blocks = std::min(blocks, ch.power.size());
    std::vector<double> power(blocks, 0.0);
    for (const Channel& ch : channels_)
        for (std::size_t b = 0; b < power.size(); ++b)
            power[b] += ch.power[b];
    return gatedLoudness(power);
}

double integratedLUFS(const PcmBuffer& buffer)
{
    LoudnessMeter meter(buffer.sampleRate(), buffer.channelCount());
    for (std::int64_t c = 0; c < buffer.channelCount(); ++c)
        meter.add(c, buffer.channel(c), buffer.frameLength());
    return meter.integrated();
}

} // namespace quorvel
