// Arbitrary bytes through the detection engine: scores, best format, channel analysis and
// the per-file detection. The engine's numbers are compared with the same statistics
// computed from exact integer sums, so rounding that changes what a file reads as shows up.
#include "check.hpp"
#include "detectionInput.hpp"

#include "core/detection/audibleSpan.hpp"
#include "core/detection/detectBestFormat.hpp"
#include "core/detection/detectChannels.hpp"
#include "core/detection/detectFile.hpp"
#include "core/detection/smoothness.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using namespace quorvel;

namespace {

using i128 = __int128;

// A score further than this from the exact value has lost precision, not just rounded:
// well-conditioned double sums stay orders of magnitude closer. It is still small next to
// the margins the rules decide by (0.004 at the finest).
constexpr double kScoreTolerance = 1e-3;
// A correlation may pass ±1 by rounding only.
constexpr double kRangeSlack = 1e-9;

std::vector<std::int32_t> decodeAll(ByteView data, SourceFormat format, std::int64_t startByte, std::int64_t endByte)
{
    const std::int64_t bps = format.bytesPerSample();
    std::vector<std::int32_t> out;
    out.reserve(static_cast<std::size_t>((endByte - startByte) / bps));
    for (std::int64_t at = startByte; at + bps <= endByte; at += bps)
        out.push_back(static_cast<std::int32_t>(decodeSample(data, at, format)));
    return out;
}

// Correlation of x[k] with x[k + lag] from exact sums; what the engine's window score means.
// −1 below 8 samples, 0 when either side is constant.
double exactLagCorrelation(const std::vector<std::int32_t>& x, int lag)
{
    const auto n = static_cast<std::int64_t>(x.size());
    if (n < 8)
        return -1.0;
    const std::int64_t m = n - lag;
    i128 sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    for (std::int64_t k = 0; k < m; ++k) {
        const i128 a = x[static_cast<std::size_t>(k)], b = x[static_cast<std::size_t>(k + lag)];
        sx += a;
        sy += b;
        sxx += a * a;
        syy += b * b;
        sxy += a * b;
    }
    const i128 vx = m * sxx - sx * sx;
    const i128 vy = m * syy - sy * sy;
    if (vx == 0 || vy == 0)
        return 0.0;
    const auto num = static_cast<long double>(m * sxy - sx * sy);
    return static_cast<double>(num / (std::sqrt(static_cast<long double>(vx)) * std::sqrt(static_cast<long double>(vy))));
}

double exactWindow(ByteView data, SourceFormat format, std::int64_t startByte, int lag)
{
    const std::int64_t bps = format.bytesPerSample();
    const auto size = static_cast<std::int64_t>(data.size());
    const std::int64_t start = startByte / bps * bps;
    const std::int64_t end = std::min(size, start + kSmoothnessWindowBytes) / bps * bps;
    return exactLagCorrelation(decodeAll(data, format, start, end), lag);
}

bool near(double a, double b, double tolerance) { return std::abs(a - b) <= tolerance; }

std::string hexPrefix(ByteView data)
{
    std::string text;
    char buf[4];
    for (std::size_t i = 0; i < std::min<std::size_t>(data.size(), 24); ++i) {
        std::snprintf(buf, sizeof buf, "%02x", data[i]);
        text += buf;
    }
    return text;
}

bool silentByte(std::uint8_t b) { return b <= kSilentByteReach || b >= 256 - kSilentByteReach; }

// The audible span, where it is exact: it starts on a multiple of 12 at most 11 bytes before
// an audible byte and ends on one; audio in the first or last probe's length keeps that
// end of the data in; data with no audible byte has no span; and the span is its own.
ByteView checkedAudiblePart(ByteView data)
{
    const auto size = static_cast<std::int64_t>(data.size());
    const std::optional<AudibleSpan> span = findAudibleSpan(data);
    const auto audibleIn = [&](std::int64_t from, std::int64_t to) {
        for (std::int64_t i = std::max<std::int64_t>(0, from); i < std::min(size, to); ++i)
            if (!silentByte(data[static_cast<std::size_t>(i)]))
                return true;
        return false;
    };
    if (!span) {
        if (size <= 4 * kSilenceProbeBytes)
            FUZZ_CHECK(!audibleIn(0, size), "no span found in %lld bytes holding audio (data %s)",
                       static_cast<long long>(size), hexPrefix(data).c_str());
        return data;
    }
    FUZZ_CHECK(span->begin >= 0 && span->begin < span->end && span->end <= size && span->begin % kSpanAlignment == 0,
               "span [%lld, %lld) of %lld bytes", static_cast<long long>(span->begin), static_cast<long long>(span->end),
               static_cast<long long>(size));
    FUZZ_CHECK(span->begin == 0 || (audibleIn(span->begin, span->begin + kSpanAlignment) && !audibleIn(0, kSilenceProbeBytes)),
               "span starts at %lld (data %s)", static_cast<long long>(span->begin), hexPrefix(data).c_str());
    FUZZ_CHECK(span->end == size || (!silentByte(data[static_cast<std::size_t>(span->end - 1)]) &&
                                     !audibleIn(size - kSilenceProbeBytes, size)),
               "span ends at %lld of %lld", static_cast<long long>(span->end), static_cast<long long>(size));
    const ByteView part = audiblePart(data).value_or(data);
    FUZZ_CHECK(part.size() == data.size() || part.size() >= static_cast<std::size_t>(kSilenceProbeBytes),
               "a part of %zu bytes", part.size());
    if (part.size() != data.size()) {
        const std::optional<ByteView> again = audiblePart(part);
        FUZZ_CHECK(again && again->data() == part.data() && again->size() == part.size(), "the audible part is not its own");
    }
    return part;
}

void checkScore(double score, const char* what, SourceFormat format)
{
    FUZZ_CHECK(!std::isnan(score), "%s(%s) is NaN", what, std::string(format.rawValue()).c_str());
    FUZZ_CHECK(score >= -1.0 - kRangeSlack && score <= 1.0 + kRangeSlack, "%s(%s) = %.17g, outside [-1, 1]", what,
               std::string(format.rawValue()).c_str(), score);
}

// Checks the scores of `formats` against the exact ones and returns them by format index.
struct Scores {
    FormatScores smooth{}, channel{}, peak{}, crest{};
};

// Peak over root mean square of every window's samples (a window counted as often as it
// is placed), from exact sums.
double exactCrest(ByteView audio, SourceFormat format)
{
    const auto size = static_cast<std::int64_t>(audio.size());
    const std::int64_t bps = format.bytesPerSample();
    i128 squares = 0;
    std::int64_t count = 0, peak = 0;
    for (double fraction : kSmoothnessWindowFractions) {
        const std::int64_t from = smoothnessWindowStart(size, fraction) / bps * bps;
        for (std::int32_t v : decodeAll(audio, format, from, std::min(size, from + kSmoothnessWindowBytes) / bps * bps)) {
            squares += i128{v} * v;
            peak = std::max<std::int64_t>(peak, std::abs(static_cast<std::int64_t>(v)));
            count += 1;
        }
    }
    return squares == 0 ? 0.0 : static_cast<double>(peak) / std::sqrt(static_cast<double>(squares) / static_cast<double>(count));
}

Scores checkScores(ByteView data, const std::vector<SourceFormat>& formats)
{
    // The windows are spread over the audible part.
    const ByteView audio = checkedAudiblePart(data);
    const auto size = static_cast<std::int64_t>(audio.size());
    Scores scores;
    for (SourceFormat format : formats) {
        const std::string name{format.rawValue()};
        const double s = smoothness(data, format);
        const double c = channelSmoothness(data, format);
        scores.smooth[format.index()] = s;
        scores.channel[format.index()] = c;
        checkScore(s, "smoothness", format);
        checkScore(c, "channelSmoothness", format);
        if (std::ssize(data) < 16 * format.bytesPerSample()) {
            FUZZ_CHECK(s == -1.0 && c == -1.0, "%s: %lld bytes scored %g / %g, not -1", name.c_str(),
                       static_cast<long long>(data.size()), s, c);
            scores.peak[format.index()] = 1.0; // too short to pass for quiet
            FUZZ_CHECK(crestFactor(data, format) == 0.0, "%s: too short, yet a crest factor", name.c_str());
            continue;
        }

        // Every window lies inside the file once the file holds one. Below one window's
        // length all four start at 0, so each distinct start is checked once.
        double bestWindow = -2.0, bestExactChannel = -2.0;
        std::vector<std::int64_t> seen;
        for (double fraction : kSmoothnessWindowFractions) {
            const std::int64_t start = smoothnessWindowStart(size, fraction);
            FUZZ_CHECK(start >= 0 && (size < kSmoothnessWindowBytes ? start == 0 : start + kSmoothnessWindowBytes <= size),
                       "window at %g of %lld bytes starts at %lld", fraction, static_cast<long long>(size),
                       static_cast<long long>(start));
            if (std::find(seen.begin(), seen.end(), start) != seen.end())
                continue;
            seen.push_back(start);
            const double w = smoothnessWindow(audio, format, start, kSmoothnessWindowBytes);
            const double exact = exactWindow(audio, format, start, 1);
            FUZZ_CHECK(near(w, exact, kScoreTolerance),
                       "%s window at %lld of %lld bytes scores %.17g, exact %.17g (data %s)", name.c_str(),
                       static_cast<long long>(start), static_cast<long long>(size), w, exact, hexPrefix(data).c_str());
            bestWindow = std::max(bestWindow, w);
            bestExactChannel = std::max(bestExactChannel, exactWindow(audio, format, start, 2));
            const std::int64_t bps = format.bytesPerSample();
            const std::int64_t from = start / bps * bps;
            for (std::int32_t v : decodeAll(audio, format, from, std::min(size, from + kSmoothnessWindowBytes) / bps * bps))
                scores.peak[format.index()] = std::max(scores.peak[format.index()],
                                                       std::abs(static_cast<double>(v)) / std::ldexp(1.0, 8 * static_cast<int>(bps) - 1));
        }
        const double crest = crestFactor(data, format), exactC = exactCrest(audio, format);
        FUZZ_CHECK(near(crest, exactC, kScoreTolerance * std::max(1.0, exactC)), "%s: crest factor %.17g, exact %.17g",
                   name.c_str(), crest, exactC);
        scores.crest[format.index()] = crest;
        FUZZ_CHECK(s == bestWindow, "%s: smoothness %.17g is not its best window %.17g", name.c_str(), s, bestWindow);
        FUZZ_CHECK(near(c, bestExactChannel, kScoreTolerance), "%s: channelSmoothness %.17g, exact %.17g (data %s)",
                   name.c_str(), c, bestExactChannel, hexPrefix(data).c_str());
    }
    return scores;
}

// The winner: strictly highest score, earlier candidate on ties; below the recheck floor a
// strictly higher channel score takes over.
struct CheckedFormat {
    FormatDetection detection;
    bool clear = true; // the scores settled it, or a quiet reading did
};

CheckedFormat checkFormatDetection(ByteView data, const Scores& scores)
{
    bool clear = true;
    const FormatDetection detection = scoreFormats(data);
    FUZZ_CHECK(detection.scores == scores.smooth, "scoreFormats' scores differ from smoothness");
    std::size_t winner = 0;
    for (std::size_t i = 1; i < 4; ++i)
        if (scores.smooth[i] > scores.smooth[winner])
            winner = i;
    const double winning = scores.smooth[winner];
    const std::size_t lag1Winner = winner;
    FormatScores deciding = scores.smooth; // the scores that chose the winner
    if (winning < kChannelRecheckBelow) {
        FUZZ_CHECK(detection.channelScores.has_value(), "winner scored %g yet no channel recheck", winning);
        FUZZ_CHECK(*detection.channelScores == scores.channel, "channel scores differ from channelSmoothness");
        std::size_t channelWinner = 0;
        for (std::size_t i = 1; i < 4; ++i)
            if (scores.channel[i] > scores.channel[channelWinner])
                channelWinner = i;
        if (scores.channel[channelWinner] > winning) {
            winner = channelWinner;
            deciding = scores.channel;
        }
    } else {
        FUZZ_CHECK(!detection.channelScores.has_value(), "winner scored %g yet channel scores are present", winning);
    }
    // Scores close to the winner's, or a weak winner, leave the choice open; a reading far
    // quieter than every other, and quiet itself, then takes it.
    const std::size_t smoothest = lag1Winner;
    const auto closeIn = [](const FormatScores& s, std::size_t to, std::size_t i) {
        return s[to] < kClearWinnerAbove || s[i] >= s[to] - kCloseScores;
    };
    const auto openIn = [&](const FormatScores& s, std::size_t to) {
        bool open = false;
        for (std::size_t i = 0; i < 4; ++i)
            open = open || (i != to && closeIn(s, to, i));
        return open;
    };
    const double top = winning;
    const bool open = openIn(scores.smooth, smoothest);
    if (open) {
        // Read only as far as the rule needs: exact, or stopped at a level that is loud enough.
        FUZZ_CHECK(detection.peaks.has_value(), "an open choice (%g) yet no peaks were read", top);
        std::size_t q = 0;
        for (std::size_t i = 1; i < 4; ++i)
            if (scores.peak[i] < scores.peak[q])
                q = i;
        const bool qIsQuiet = scores.peak[q] < kQuietPeakBelow;
        const double matters = qIsQuiet ? scores.peak[q] / kQuietReadingRatio : kQuietPeakBelow;
        for (std::size_t i = 0; i < 4; ++i) {
            const double read = (*detection.peaks)[i];
            FUZZ_CHECK(read == scores.peak[i] || ((i != q || !qIsQuiet) && read < scores.peak[i] && read >= matters && read > 0),
                       "peak %zu read as %.17g, exact %.17g", i, read, scores.peak[i]);
        }
        std::size_t quietest = 0;
        for (std::size_t i = 1; i < 4; ++i)
            if (scores.peak[i] < scores.peak[quietest])
                quietest = i;
        bool quiet = scores.peak[quietest] < kQuietPeakBelow;
        for (std::size_t i = 0; i < 4; ++i)
            quiet = quiet && (i == quietest || scores.peak[quietest] <= kQuietReadingRatio * scores.peak[i]);
        if (quiet && closeIn(scores.smooth, smoothest, quietest)) {
            winner = quietest;
            FUZZ_CHECK(!detection.crests.has_value(), "a quiet reading settled it, yet crest factors were read");
        } else {
            // Else a reading in contention with twice the crest factor of every other.
            FUZZ_CHECK(detection.crests == scores.crest, "crest factors read differ from crestFactor");
            const auto contends = [&](std::size_t i) { return i == smoothest || closeIn(scores.smooth, smoothest, i); };
            std::size_t peakiest = smoothest;
            for (std::size_t i = 0; i < 4; ++i)
                if (contends(i) && scores.crest[i] > scores.crest[peakiest])
                    peakiest = i;
            bool peaky = scores.crest[peakiest] > 0.0;
            for (std::size_t i = 0; i < 4; ++i)
                peaky = peaky && (i == peakiest || !contends(i) || scores.crest[peakiest] >= kCrestRatio * scores.crest[i]);
            if (peaky)
                winner = peakiest;
        }
        clear = quiet && winner == quietest;
    } else {
        FUZZ_CHECK(!detection.peaks.has_value(), "a clear winner (%g) yet peaks were read", top);
        FUZZ_CHECK(!detection.crests.has_value(), "a clear winner (%g) yet crest factors were read", top);
    }
    // Unless a quiet reading settled it, the scores that chose must leave no doubt.
    if (!clear || !open)
        clear = !openIn(deciding, winner);
    FUZZ_CHECK(detection.best.index() == winner, "best is %s, the rule picks %s",
               std::string(detection.best.rawValue()).c_str(),
               std::string(SourceFormat::allCases()[winner].rawValue()).c_str());
    // A plain wrapper; checked on short inputs only, where it costs little.
    if (data.size() <= 4096)
        FUZZ_CHECK(detectBestFormat(data) == detection.best, "detectBestFormat disagrees with scoreFormats");
    return {detection, clear};
}

// The channel statistics from exact sums, in the engine's own definitions, over the first
// 12 MB of the audible part.
struct ExactChannelStats {
    bool constant = false;
    ChannelStatistics stats;
};

ExactChannelStats exactChannelStats(ByteView data, SourceFormat format)
{
    const std::int64_t bps = format.bytesPerSample();
    const std::int64_t limit = std::min<std::int64_t>(static_cast<std::int64_t>(data.size()), kChannelPrefixBytes);
    const std::vector<std::int32_t> x = decodeAll(data, format, 0, limit / bps * bps);
    const auto n = static_cast<std::int64_t>(x.size());

    i128 s = 0, q = 0, p1 = 0, p2 = 0;
    for (std::int64_t k = 0; k < n; ++k) {
        const i128 v = x[static_cast<std::size_t>(k)];
        s += v;
        q += v * v;
        if (k >= 1)
            p1 += v * x[static_cast<std::size_t>(k - 1)];
        if (k >= 2)
            p2 += v * x[static_cast<std::size_t>(k - 2)];
    }
    ExactChannelStats out;
    const i128 v = n * q - s * s; // n² × variance
    if (v == 0) {
        out.constant = true;
        return out;
    }
    // r_lag = (p_lag − mean² (n − lag)) / (n variance), with mean = s / n.
    const auto denominator = static_cast<long double>(n) * static_cast<long double>(v);
    const auto r = [&](i128 p, std::int64_t lag) {
        return static_cast<long double>(n * n * p - (n - lag) * s * s) / denominator;
    };
    const long double r1 = r(p1, 1), r2 = r(p2, 2);
    out.stats.r1 = static_cast<double>(r1);
    out.stats.d = static_cast<double>(r2 - r1);

    // Within frames (x[2j] with x[2j+1]) and across them (x[2j+1] with x[2j+2]).
    const std::int64_t pairs = n / 2;
    const auto pairCorrelation = [&](std::int64_t first, std::int64_t count) -> std::optional<double> {
        i128 sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
        for (std::int64_t j = 0; j < count; ++j) {
            const i128 a = x[static_cast<std::size_t>(first + 2 * j)], b = x[static_cast<std::size_t>(first + 2 * j + 1)];
            sa += a;
            sb += b;
            saa += a * a;
            sbb += b * b;
            sab += a * b;
        }
        const i128 va = count * saa - sa * sa, vb = count * sbb - sb * sb;
        if (count == 0 || va <= 0 || vb <= 0)
            return std::nullopt;
        return static_cast<double>(static_cast<long double>(count * sab - sa * sb) /
                                   (std::sqrt(static_cast<long double>(va)) * std::sqrt(static_cast<long double>(vb))));
    };
    out.stats.frameCorr = pairCorrelation(0, pairs);
    out.stats.acrossFrameCorr = pairCorrelation(1, pairs - 1);
    bool identical = true;
    for (std::int64_t k = 1; k < 2 * pairs; k += 2)
        identical = identical && x[static_cast<std::size_t>(k)] == x[static_cast<std::size_t>(k - 1)];
    std::int64_t peak = 0;
    for (std::int32_t v : x)
        peak = std::max<std::int64_t>(peak, std::abs(static_cast<std::int64_t>(v)));
    out.stats.identicalFrames = identical;
    out.stats.peak = static_cast<double>(peak) / std::ldexp(1.0, 8 * static_cast<int>(format.bytesPerSample()) - 1);
    return out;
}

// True when the statistics sit so close to one of the table's edges that correct rounding
// could fall either way.
bool nearAnEdge(const ChannelStatistics& s)
{
    constexpr double e = 1e-6;
    const auto close = [&](double value, double edge) { return std::abs(value - edge) <= e; };
    if (close(s.d, 0.04) || close(s.d, 0.01) || close(s.d, -0.01) || close(s.d, -kCloseDistances))
        return true;
    if (s.frameCorr && s.acrossFrameCorr) {
        const double tight = std::max(*s.frameCorr, *s.acrossFrameCorr), loose = std::min(*s.frameCorr, *s.acrossFrameCorr);
        if (close(tight, kTightPairsAbove) || close(1.0 - loose, kPairAsymmetry * (1.0 - tight)))
            return true;
    }
    return s.frameCorr && (close(*s.frameCorr - s.r1, 0.004) || close(*s.frameCorr, 0.9995));
}

bool knownConfidence(std::string_view text)
{
    return text == "too short" || text == "silent/constant" || text == "confident" || text == "verify by ear";
}

// Checks the channel analysis in `formats` and returns the findings by format index.
std::array<ChannelDetection, 4> checkChannels(ByteView data, const std::vector<SourceFormat>& formats)
{
    const ByteView audio = checkedAudiblePart(data);
    std::array<ChannelDetection, 4> all{};
    for (SourceFormat format : formats) {
        const std::string name{format.rawValue()};
        const ChannelDetection found = detectChannels(data, format);
        all[format.index()] = found;
        FUZZ_CHECK(found.channels == 1 || found.channels == 2, "%s: %lld channels", name.c_str(),
                   static_cast<long long>(found.channels));
        FUZZ_CHECK(knownConfidence(found.confidence), "%s: confidence '%.*s'", name.c_str(),
                   static_cast<int>(found.confidence.size()), found.confidence.data());
        FUZZ_CHECK(std::isfinite(found.corr), "%s: corr %g", name.c_str(), found.corr);

        const std::int64_t bps = format.bytesPerSample();
        const std::int64_t usable = std::min<std::int64_t>(static_cast<std::int64_t>(audio.size()), kChannelPrefixBytes) / bps * bps;
        if (usable < 8 * bps) {
            FUZZ_CHECK(found == (ChannelDetection{2, "too short", 0.0}), "%s: %lld usable bytes read as %lld / %s",
                       name.c_str(), static_cast<long long>(usable), static_cast<long long>(found.channels),
                       std::string(found.confidence).c_str());
            continue;
        }
        const ExactChannelStats exact = exactChannelStats(audio, format);
        if (exact.constant) {
            FUZZ_CHECK(found == (ChannelDetection{1, "silent/constant", 1.0}),
                       "%s: a constant prefix read as %lld ch / %s / corr %.17g (data %s)", name.c_str(),
                       static_cast<long long>(found.channels), std::string(found.confidence).c_str(), found.corr,
                       hexPrefix(data).c_str());
            continue;
        }
        FUZZ_CHECK(found.confidence != "silent/constant" || exact.stats.peak < kNearlySilentPeak,
                   "%s: a varying prefix peaking at %g read as silent/constant (data %s)", name.c_str(),
                   exact.stats.peak, hexPrefix(data).c_str());
        FUZZ_CHECK(near(found.corr, exact.stats.d, kScoreTolerance * std::max(1.0, std::abs(exact.stats.d))),
                   "%s: corr %.17g, exact %.17g (data %s)", name.c_str(), found.corr, exact.stats.d,
                   hexPrefix(data).c_str());
        if (!nearAnEdge(exact.stats)) {
            const ChannelDetection expected = decideChannels(exact.stats);
            FUZZ_CHECK(found.channels == expected.channels && found.confidence == expected.confidence,
                       "%s: read as %lld / %s, exact statistics give %lld / %s", name.c_str(),
                       static_cast<long long>(found.channels), std::string(found.confidence).c_str(),
                       static_cast<long long>(expected.channels), std::string(expected.confidence).c_str());
        }
    }
    return all;
}

void checkDetectFile(ByteView data, SourceFormatChoice choice, const CheckedFormat& checked,
                     const std::array<ChannelDetection, 4>& channels)
{
    const FormatDetection& format = checked.detection;
    const std::optional<FileDetection> found = detectFile(data, choice);
    FUZZ_CHECK(found.has_value(), "detectFile could not read bytes held in memory");
    FUZZ_CHECK(found->format.best == format.best && found->format.scores == format.scores &&
                   found->format.channelScores == format.channelScores,
               "detectFile's scores differ from scoreFormats");
    const SourceFormat used = choice.fixedFormat().value_or(format.best);
    FUZZ_CHECK(found->used == used, "analysed in %s, expected %s", std::string(found->used.rawValue()).c_str(),
               std::string(used.rawValue()).c_str());
    // An open choice of encoding leaves the layout no surer than "verify by ear".
    ChannelDetection expectedChannels = channels[used.index()];
    if (choice.isAuto() && !checked.clear && expectedChannels.confidence == "confident")
        expectedChannels.confidence = "verify by ear";
    FUZZ_CHECK(found->channels == expectedChannels, "detectFile's channels differ from detectChannels");

    const std::string expected = std::string(used.shortText()) + (choice.isAuto() ? " (auto)" : " (set)") +
                                 (found->channels.channels == 1 ? " · Mono · " : " · Stereo · ") +
                                 std::string(found->channels.confidence);
    FUZZ_CHECK(found->status == expected, "status '%s', expected '%s'", found->status.c_str(), expected.c_str());
}

void checkAll(ByteView data, SourceFormatChoice choice)
{
    const auto all = SourceFormat::allCases();
    const std::vector<SourceFormat> formats(all.begin(), all.end());
    const CheckedFormat format = checkFormatDetection(data, checkScores(data, formats));
    checkDetectFile(data, choice, format, checkChannels(data, formats));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const ByteView data(bytes, size);
    // The last byte picks the source-format setting, and the encoding checked on long inputs.
    const std::uint8_t last = size == 0 ? 0 : bytes[size - 1];
    const SourceFormat fixed = SourceFormat::allCases()[last % 4];
    checkAll(data, last & 4 ? SourceFormatChoice::fixed(fixed) : SourceFormatChoice::automatic());

    // Some inputs also run repeated out past one analysis window (see detectionInput.hpp);
    // only one encoding is checked on them, as the code is the same for all four.
    if (fuzz::isTiled(bytes, size)) {
        static std::vector<std::uint8_t> tiled;
        tiled.resize(fuzz::tiledLength(bytes));
        const std::size_t period = size - fuzz::kTileHeader;
        for (std::size_t at = 0; at < tiled.size(); at += period)
            std::memcpy(tiled.data() + at, bytes + fuzz::kTileHeader, std::min(period, tiled.size() - at));
        const ByteView longData(tiled.data(), tiled.size());
        checkScores(longData, {fixed});
        checkChannels(longData, {fixed});
    }
    return 0;
}
