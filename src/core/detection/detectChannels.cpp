#include "core/detection/detectChannels.hpp"

#include <algorithm>
#include <cmath>

namespace quorvel {

namespace {

constexpr double kVarianceFloor = 1e-6;

// Absent when the prefix is silent or constant.
template <SourceFormat::Case F>
std::optional<ChannelStatistics> analyse(const std::uint8_t* x, std::int64_t usable)
{
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    const std::int64_t count = usable / bps;

    // First pass: mean, variance and the products at distances one and two.
    double s = 0, q = 0, p1 = 0, p2 = 0;
    double back1 = 0, back2 = 0;
    const double first = decodeAt<F>(x);
    bool constant = true;
    for (std::int64_t k = 0; k < count; ++k) {
        const double v = decodeAt<F>(x + k * bps);
        constant = constant && v == first;
        s += v;
        q += v * v;
        if (k >= 1)
            p1 += back1 * v;
        if (k >= 2)
            p2 += back2 * v;
        back2 = back1;
        back1 = v;
    }
    const double n = static_cast<double>(count);
    const double m = s / n;
    const double variance = q - m * n * m;
    // A loud constant prefix can leave rounding noise above the floor once the sums pass
    // 2^53, so constancy is also checked exactly.
    if (constant || variance < kVarianceFloor)
        return {};

    ChannelStatistics stats;
    stats.r1 = (p1 - m * (n - 1) * m) / variance;
    const double r2 = (p2 - m * (n - 2) * m) / variance;
    stats.d = r2 - stats.r1;

    // Second pass: even samples against the following odd ones, frame by frame.
    double pairs = 0, sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
    bool identical = true;
    for (std::int64_t j = 0; (2 * j + 2) * bps <= usable; ++j) {
        const double a = decodeAt<F>(x + 2 * j * bps);
        const double b = decodeAt<F>(x + (2 * j + 1) * bps);
        pairs += 1;
        sa += a;
        sb += b;
        saa += a * a;
        sbb += b * b;
        sab += a * b;
        identical = identical && a == b;
    }
    const double va = saa - sa * sa / pairs;
    const double vb = sbb - sb * sb / pairs;
    if (va > kVarianceFloor && vb > kVarianceFloor)
        stats.frameCorr = (sab - sa * sb / pairs) / (std::sqrt(va) * std::sqrt(vb));
    stats.identicalFrames = identical;
    return stats;
}

} // namespace

ChannelDetection decideChannels(const ChannelStatistics& stats)
{
    const double d = stats.d;
    // A mono source bounced to two identical channels: smooth material has r1 above
    // 0.996, so the frame margin below can never be met.
    if (stats.identicalFrames)
        return {2, "confident", d};
    if (stats.frameCorr && *stats.frameCorr - stats.r1 > 0.004 && *stats.frameCorr > 0.9995)
        return {2, "confident", d};
    if (d > 0.04)
        return {2, "confident", d};
    if (d > 0.01)
        return {2, "verify by ear", d};
    if (d < -0.01)
        return {1, "confident", d};
    return {1, "verify by ear", d};
}

ChannelDetection detectChannels(ByteView data, SourceFormat format)
{
    const std::int64_t bps = format.bytesPerSample();
    const std::int64_t limit = std::min<std::int64_t>(static_cast<std::int64_t>(data.size()), kChannelPrefixBytes);
    const std::int64_t usable = limit / bps * bps;
    if (usable < 8 * bps)
        return {2, "too short", 0.0};

    const auto stats = withFormat(format, [&](auto f) { return analyse<decltype(f)::value>(data.data(), usable); });
    if (!stats)
        return {1, "silent/constant", 1.0};
    return decideChannels(*stats);
}

} // namespace quorvel
