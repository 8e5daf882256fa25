#include "core/detection/detectChannels.hpp"
#include "core/detection/audibleSpan.hpp"
#include "core/detection/wideInt.hpp"

#include <algorithm>
#include <cmath>

namespace quorvel {

namespace {

constexpr double kVarianceFloor = 1e-6;

// Sums of pairs of samples, exact, for the correlation of the first with the second.
struct PairSums {
    std::int64_t count = 0, sa = 0, sb = 0;
    WideInt saa = 0, sbb = 0, sab = 0;

    void add(std::int64_t a, std::int64_t b)
    {
        count += 1;
        sa += a;
        sb += b;
        saa += WideInt{a} * a;
        sbb += WideInt{b} * b;
        sab += WideInt{a} * b;
    }

    // Absent when either side is flat (or there is no pair).
    std::optional<double> correlation() const
    {
        const WideInt m = count;
        const WideInt va = m * saa - WideInt{sa} * sa; // M × Va
        const WideInt vb = m * sbb - WideInt{sb} * sb;
        const double floor = kVarianceFloor * static_cast<double>(count);
        if (count == 0 || static_cast<double>(va) <= floor || static_cast<double>(vb) <= floor)
            return std::nullopt;
        return static_cast<double>(m * sab - WideInt{sa} * sb) /
               (std::sqrt(static_cast<double>(va)) * std::sqrt(static_cast<double>(vb)));
    }
};

// Absent when the prefix is silent or constant. The sums are exact integers, so a loud,
// nearly constant prefix keeps its few real differences instead of losing them to rounding
// in Q − m·n·m; the formulas are the same, evaluated once at the end.
template <SourceFormat::Case F>
std::optional<ChannelStatistics> analyse(const std::uint8_t* x, std::int64_t usable)
{
    using Wide = WideInt;
    constexpr std::int64_t bps = SourceFormat{F}.bytesPerSample();
    const std::int64_t count = usable / bps;

    // First pass: sum, sum of squares and the products at distances one and two.
    std::int64_t s = 0, peak = 0;
    Wide q = 0, p1 = 0, p2 = 0;
    std::int64_t back1 = 0, back2 = 0;
    for (std::int64_t k = 0; k < count; ++k) {
        const std::int64_t v = decodeIntAt<F>(x + k * bps);
        s += v;
        q += Wide{v} * v;
        peak = std::max(peak, v < 0 ? -v : v);
        if (k >= 1)
            p1 += Wide{back1} * v;
        if (k >= 2)
            p2 += Wide{back2} * v;
        back2 = back1;
        back1 = v;
    }
    const Wide n = count;
    const Wide nv = n * q - Wide{s} * s; // n × V
    const double variance = static_cast<double>(nv) / static_cast<double>(count);
    if (variance < kVarianceFloor)
        return {};

    // r = (P − m·(n − L)·m) / V with m = S / n, multiplied through by n² to stay exact.
    const auto lagCorrelation = [&](Wide products, std::int64_t lag) {
        const Wide numerator = n * n * products - Wide{count - lag} * s * s;
        return static_cast<double>(numerator) / (static_cast<double>(n) * static_cast<double>(nv));
    };
    ChannelStatistics stats;
    stats.r1 = lagCorrelation(p1, 1);
    stats.d = lagCorrelation(p2, 2) - stats.r1;

    // Second pass: even samples against the following odd ones, frame by frame.
    PairSums within;
    bool identical = true;
    for (std::int64_t j = 0; (2 * j + 2) * bps <= usable; ++j) {
        const std::int64_t a = decodeIntAt<F>(x + 2 * j * bps);
        const std::int64_t b = decodeIntAt<F>(x + (2 * j + 1) * bps);
        within.add(a, b);
        identical = identical && a == b;
    }
    stats.frameCorr = within.correlation();
    stats.identicalFrames = identical;

    // Odd samples against the next frame's even one, without a third pass: the neighbour
    // products are the within-frame ones plus these (and a last odd sample's pair).
    const std::int64_t frames = within.count;
    if (frames >= 2) {
        const std::int64_t first = decodeIntAt<F>(x), lastOdd = decodeIntAt<F>(x + (2 * frames - 1) * bps);
        PairSums across;
        across.count = frames - 1;
        across.sa = within.sb - lastOdd;
        across.sb = within.sa - first;
        across.saa = within.sbb - Wide{lastOdd} * lastOdd;
        across.sbb = within.saa - Wide{first} * first;
        across.sab = p1 - within.sab - (count > 2 * frames ? Wide{lastOdd} * back1 : Wide{0});
        stats.acrossFrameCorr = across.correlation();
    }
    stats.peak = static_cast<double>(peak) / static_cast<double>(std::int64_t{1} << (8 * bps - 1));
    return stats;
}

} // namespace

bool nearIdenticalChannels(const ChannelStatistics& stats)
{
    if (!stats.frameCorr || !stats.acrossFrameCorr)
        return false;
    const double tight = std::max(*stats.frameCorr, *stats.acrossFrameCorr);
    const double loose = std::min(*stats.frameCorr, *stats.acrossFrameCorr);
    return tight > kTightPairsAbove && 1.0 - loose > kPairAsymmetry * (1.0 - tight);
}

ChannelDetection decideChannels(const ChannelStatistics& stats)
{
    ChannelDetection found = decideLayout(stats);
    if (stats.peak < kNearlySilentPeak)
        found.confidence = "silent/constant";
    return found;
}

ChannelDetection decideLayout(const ChannelStatistics& stats)
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
    // Frames that pair up: stereo when the distances are too close to say otherwise; against
    // a clear mono verdict they stand no higher than doubt.
    if (nearIdenticalChannels(stats))
        return {d >= -kCloseDistances ? 2 : 1, "verify by ear", d};
    if (d < -0.01) {
        const bool framesApart = stats.frameCorr && stats.acrossFrameCorr &&
                                 std::abs(*stats.frameCorr - *stats.acrossFrameCorr) > kFramesApart;
        return {1, framesApart ? "verify by ear" : "confident", d};
    }
    return {1, "verify by ear", d};
}

ChannelDetection detectChannels(ByteView data, SourceFormat format)
{
    const std::int64_t bps = format.bytesPerSample();
    // Silence has no layout: the prefix starts where the audio does.
    const ByteView audio = audiblePart(data).value_or(data);
    const std::int64_t limit = std::min<std::int64_t>(static_cast<std::int64_t>(audio.size()), kChannelPrefixBytes);
    const std::int64_t usable = limit / bps * bps;
    if (usable < 8 * bps)
        return {2, "too short", 0.0};

    const auto stats = withFormat(format, [&](auto f) { return analyse<decltype(f)::value>(audio.data(), usable); });
    if (!stats)
        return {1, "silent/constant", 1.0};
    return decideChannels(*stats);
}

} // namespace quorvel
