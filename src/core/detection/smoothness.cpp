#include "core/detection/smoothness.hpp"

#include <algorithm>
#include <cmath>

namespace quorvel {

namespace {

constexpr double kVarianceFloor = 1e-6;

// Correlation of x[k] with x[k + Lag] over the whole samples of [start, end), which are
// already aligned to the sample size. Sums run in ascending offset order.
template <SourceFormat::Case F, int Lag>
double lagCorrelation(const std::uint8_t* data, std::int64_t start, std::int64_t end)
{
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    if (end - start < 8 * bps)
        return -1.0;

    // Samples are taken relative to the window's first one: the correlation is the same,
    // but a constant window then sums to exactly zero instead of to the rounding error of
    // squares near 2^46, which would pass the flatness floor and score nonsense.
    const double origin = decodeAt<F>(data + start);
    double history[Lag];
    for (int i = 0; i < Lag; ++i)
        history[i] = decodeAt<F>(data + start + i * bps) - origin;

    double sxy = 0, sxx = 0, syy = 0, sx = 0, sy = 0, n = 0;
    int slot = 0;
    for (std::int64_t pos = start + Lag * bps; pos + bps <= end; pos += bps) {
        const double prev = history[slot];
        const double cur = decodeAt<F>(data + pos) - origin;
        sxy += prev * cur;
        sxx += prev * prev;
        syy += cur * cur;
        sx += prev;
        sy += cur;
        n += 1;
        history[slot] = cur;
        slot = (slot + 1) % Lag;
    }

    const double vx = sxx - sx * sx / n;
    const double vy = syy - sy * sy / n;
    if (vx < kVarianceFloor || vy < kVarianceFloor)
        return 0.0;
    return (sxy - sx * sy / n) / (std::sqrt(vx) * std::sqrt(vy));
}

template <int Lag>
double windowScore(ByteView data, SourceFormat format, std::int64_t startByte, std::int64_t byteCount)
{
    const std::int64_t bps = format.bytesPerSample();
    const auto size = static_cast<std::int64_t>(data.size());
    const std::int64_t start = startByte / bps * bps;
    const std::int64_t end = std::min(size, start + byteCount) / bps * bps;
    return withFormat(format, [&](auto f) { return lagCorrelation<decltype(f)::value, Lag>(data.data(), start, end); });
}

template <int Lag>
double bestWindowScore(ByteView data, SourceFormat format)
{
    const auto size = static_cast<std::int64_t>(data.size());
    if (size < 16 * format.bytesPerSample())
        return -1.0;
    double best = -2.0;
    for (double fraction : kSmoothnessWindowFractions) {
        const double s = windowScore<Lag>(data, format, smoothnessWindowStart(size, fraction), kSmoothnessWindowBytes);
        if (s > best)
            best = s;
    }
    return best;
}

} // namespace

std::int64_t smoothnessWindowStart(std::int64_t byteCount, double fraction)
{
    const auto p = static_cast<std::int64_t>(static_cast<double>(byteCount) * fraction);
    return std::max<std::int64_t>(0, std::min(byteCount - kSmoothnessWindowBytes, p));
}

double smoothnessWindow(ByteView data, SourceFormat format, std::int64_t startByte, std::int64_t byteCount)
{
    return windowScore<1>(data, format, startByte, byteCount);
}

double smoothness(ByteView data, SourceFormat format) { return bestWindowScore<1>(data, format); }

double channelSmoothness(ByteView data, SourceFormat format) { return bestWindowScore<2>(data, format); }

} // namespace quorvel
