#include "core/detection/smoothness.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/wideInt.hpp"

#include <algorithm>
#include <cmath>

namespace quorvel {

namespace {

constexpr double kVarianceFloor = 1e-6;

// Correlation of x[k] with x[k + Lag] over the whole samples of [start, end), which are
// already aligned to the sample size. The sums are kept as exact integers (squares of
// 24-bit samples over a window need 128 bits), so a flat or nearly flat window cannot turn
// rounding noise into a score: flatness is an exact zero, and rounding happens once, at the end.
template <SourceFormat::Case F, int Lag>
double lagCorrelation(const std::uint8_t* data, std::int64_t start, std::int64_t end)
{
    using Wide = WideInt;
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    if (end - start < 8 * bps)
        return -1.0;

    std::int64_t history[Lag];
    for (int i = 0; i < Lag; ++i)
        history[i] = decodeIntAt<F>(data + start + i * bps);

    std::int64_t sx = 0, sy = 0, n = 0;
    Wide sxy = 0, sxx = 0, syy = 0;
    int slot = 0;
    for (std::int64_t pos = start + Lag * bps; pos + bps <= end; pos += bps) {
        const std::int64_t prev = history[slot];
        const std::int64_t cur = decodeIntAt<F>(data + pos);
        sxy += Wide{prev} * cur;
        sxx += Wide{prev} * prev;
        syy += Wide{cur} * cur;
        sx += prev;
        sy += cur;
        n += 1;
        history[slot] = cur;
        slot = (slot + 1) % Lag;
    }

    // n times the sums of squared deviations; below the 1e-6 floor means exactly zero here,
    // since a window holds fewer than a million samples.
    const Wide vx = Wide{n} * sxx - Wide{sx} * sx;
    const Wide vy = Wide{n} * syy - Wide{sy} * sy;
    if (static_cast<double>(vx) < kVarianceFloor * static_cast<double>(n) ||
        static_cast<double>(vy) < kVarianceFloor * static_cast<double>(n))
        return 0.0;
    const Wide covariance = Wide{n} * sxy - Wide{sx} * sy;
    return static_cast<double>(covariance) / (std::sqrt(static_cast<double>(vx)) * std::sqrt(static_cast<double>(vy)));
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
    if (static_cast<std::int64_t>(data.size()) < 16 * format.bytesPerSample())
        return -1.0;
    // Spread over the audio only: a window in leading or trailing silence says nothing.
    const ByteView audio = audiblePart(data).value_or(data);
    const auto size = static_cast<std::int64_t>(audio.size());
    double best = -2.0;
    for (double fraction : kSmoothnessWindowFractions) {
        const double s = windowScore<Lag>(audio, format, smoothnessWindowStart(size, fraction), kSmoothnessWindowBytes);
        if (s > best)
            best = s;
    }
    return best;
}

template <SourceFormat::Case F>
std::int64_t peakOf(const std::uint8_t* data, std::int64_t start, std::int64_t end, std::int64_t enough)
{
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    std::int64_t peak = 0;
    for (std::int64_t pos = start; pos + bps <= end && peak < enough; pos += bps) {
        const std::int64_t v = decodeIntAt<F>(data + pos);
        peak = std::max(peak, v < 0 ? -v : v);
    }
    return peak;
}

// Calls fn(start, end) with the whole samples of each window smoothness scores.
template <class Fn>
void forEachWindow(ByteView audio, std::int64_t bps, Fn&& fn)
{
    const auto size = static_cast<std::int64_t>(audio.size());
    for (double fraction : kSmoothnessWindowFractions) {
        const std::int64_t start = smoothnessWindowStart(size, fraction) / bps * bps;
        fn(start, std::min(size, start + kSmoothnessWindowBytes) / bps * bps);
    }
}

// Peak and sum of squares, added to `level`, of the whole samples of [start, end).
struct Level {
    std::int64_t peak = 0, count = 0;
    WideInt squares = 0;
};

template <SourceFormat::Case F>
void addLevel(const std::uint8_t* data, std::int64_t start, std::int64_t end, Level& level)
{
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    for (std::int64_t pos = start; pos + bps <= end; pos += bps) {
        const std::int64_t v = decodeIntAt<F>(data + pos);
        level.peak = std::max(level.peak, v < 0 ? -v : v);
        level.squares += WideInt{v} * v;
        level.count += 1;
    }
}

} // namespace

double crestFactor(ByteView data, SourceFormat format)
{
    const std::int64_t bps = format.bytesPerSample();
    if (static_cast<std::int64_t>(data.size()) < 16 * bps)
        return 0.0;
    const ByteView audio = audiblePart(data).value_or(data);
    Level level;
    forEachWindow(audio, bps, [&](std::int64_t start, std::int64_t end) {
        withFormat(format, [&](auto f) { addLevel<decltype(f)::value>(audio.data(), start, end, level); });
    });
    if (level.squares == 0)
        return 0.0;
    return static_cast<double>(level.peak) /
           std::sqrt(static_cast<double>(level.squares) / static_cast<double>(level.count));
}

double windowPeak(ByteView data, SourceFormat format, double enough)
{
    const std::int64_t bps = format.bytesPerSample();
    if (static_cast<std::int64_t>(data.size()) < 16 * bps)
        return 1.0;
    const ByteView audio = audiblePart(data).value_or(data);
    const auto fullScale = static_cast<double>(std::int64_t{1} << (8 * bps - 1));
    // At least one step: a reading of nothing but zeros is read to its end.
    const auto stopAt = std::max<std::int64_t>(1, static_cast<std::int64_t>(std::ceil(std::min(enough, 1.0) * fullScale)));
    std::int64_t peak = 0;
    forEachWindow(audio, bps, [&](std::int64_t start, std::int64_t end) {
        peak = std::max(peak, withFormat(format, [&](auto f) {
                            return peakOf<decltype(f)::value>(audio.data(), start, end, stopAt);
                        }));
    });
    return static_cast<double>(peak) / fullScale;
}

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
