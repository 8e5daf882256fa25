#include "core/detection/detectBestFormat.hpp"
#include "core/detection/smoothness.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <random>

using namespace quorvel;

// Degenerate data scores alike in every encoding.
TEST(DetectBestFormat, TiesGoToTheEarlierCandidate)
{
    EXPECT_EQ(detectBestFormat({}), SourceFormat::s16be);
    EXPECT_EQ(detectBestFormat(std::vector<std::uint8_t>(31, 0x5A)), SourceFormat::s16be);
    EXPECT_EQ(detectBestFormat(std::vector<std::uint8_t>(4096, 0)), SourceFormat::s16be);
    EXPECT_EQ(bestCandidate({0.2, 0.7, 0.7, 0.1}), SourceFormat::s24be);
    EXPECT_EQ(bestCandidate({0.5, 0.5, 0.5, 0.5}), SourceFormat::s16be);
    EXPECT_EQ(bestCandidate({-1.0, -1.0, -1.0, -0.99}), SourceFormat::s24le);
}

// A sine's smoothness read in every encoding, and the winner: the encoding it was written in.
TEST(DetectBestFormat, SineScoresInEveryCandidate)
{
    const std::tuple<SourceFormat, std::vector<std::int32_t>, FormatScores> cases[] = {
        {SourceFormat::s16be, test::sine(40000, 20, 10000), {0.951, -0.164, -0.197, -0.164}},
        // 40 bytes: only the two 16-bit candidates can be judged; -1 is exact.
        {SourceFormat::s16le, test::sine(20, 20, 10000), {-0.198, -1.0, 0.956, -1.0}},
        // The winner comes last in the order and is still found.
        {SourceFormat::s24le, test::sine(40000, 20, 1000000), {0.181, 0.451, -0.382, 0.951}},
    };
    for (const auto& [format, samples, scores] : cases) {
        SCOPED_TRACE(format.rawValue());
        const FormatDetection found = scoreFormats(test::encode(samples, format));
        EXPECT_EQ(found.best, format);
        for (SourceFormat f : SourceFormat::allCases())
            EXPECT_NEAR(found.scores[f.index()], scores[f.index()], scores[f.index()] == -1.0 ? 0.0 : 5e-4) << f.rawValue();
        EXPECT_FALSE(found.channelScores) << "a clear winner needs no channel recheck";
        EXPECT_FALSE(found.peaks) << "loud and clear: no peaks are even looked at";
    }
}

// A choice the neighbour scores leave open goes to a reading 30 dB quieter than every other,
// or else to one with twice every other's crest factor; a clear verdict is never overturned.
TEST(DetectBestFormat, RulesThatSettleAnOpenChoice)
{
    EXPECT_EQ(quietReading({0.9, 0.0001, 0.9, 0.9}), SourceFormat::s24be);
    EXPECT_FALSE(quietReading({0.9, 0.0001, 0.0031, 0.9})) << "less than 30 dB apart";
    EXPECT_EQ(quietReading({0.9, 0.0001, 0.0032, 0.9}), SourceFormat::s24be) << "just over 30 dB apart";
    EXPECT_FALSE(quietReading({0.9, 0.0032, 0.9, 0.9})) << "not quiet itself";
    // A reading too short to score cannot pass for quiet either.
    EXPECT_EQ(windowPeak(std::vector<std::uint8_t>(40, 0), SourceFormat::s24be), 1.0);
    EXPECT_EQ(windowPeak(std::vector<std::uint8_t>(40, 0), SourceFormat::s16be), 0.0);

    // Open: a runner-up within 0.2 of the winner, or a winner below 0.6.
    EXPECT_TRUE(openChoice({0.9, 0.71, 0.1, 0.1}, SourceFormat::s16be));
    EXPECT_FALSE(openChoice({0.9, 0.69, 0.1, 0.1}, SourceFormat::s16be));
    EXPECT_TRUE(openChoice({0.59, 0.1, 0.1, 0.1}, SourceFormat::s16be));
    EXPECT_FALSE(openChoice({0.61, 0.1, 0.1, 0.1}, SourceFormat::s16be));

    // Only candidates in contention count; the winner needs twice every other's crest factor.
    EXPECT_EQ(crestReading({2.0, 4.0, 1.0, 1.0}, {0.3, 0.3, 0.3, 0.3}, SourceFormat::s16be), SourceFormat::s24be);
    EXPECT_FALSE(crestReading({2.01, 4.0, 1.0, 1.0}, {0.3, 0.3, 0.3, 0.3}, SourceFormat::s16be));
    EXPECT_EQ(crestReading({1.0, 9.0, 5.0, 1.0}, {0.9, 0.8, 0.1, 0.1}, SourceFormat::s16be), SourceFormat::s24be)
        << "a candidate out of contention does not stand in the way";
    EXPECT_FALSE(crestReading({0.0, 0.0, 0.0, 0.0}, {0.3, 0.3, 0.3, 0.3}, SourceFormat::s16be));
}

// Material whose neighbour scores are low or close in every encoding is still read in the
// encoding it was written in, each kind by the rule that settles it.
TEST(DetectBestFormat, HardMaterialIsReadInItsOwnEncoding)
{
    std::mt19937 wideRandom(3), quietRandom(4), hatRandom(7);
    std::normal_distribution<double> gauss(0.0, 1.0);
    std::uniform_int_distribution<int> half(0, 1);
    std::uniform_real_distribution<double> noise(-1.0, 1.0);
    for (SourceFormat format : SourceFormat::allCases()) {
        SCOPED_TRACE(format.rawValue());
        const double full = format.bytesPerSample() == 2 ? 32768 : 8388608;

        // Two unrelated channels (a sine; low-passed noise): neighbours alternate between them,
        // so the interleaved lag-1 score is near zero even in the right encoding and the lag-1
        // choice is a coin toss. Channel by channel it is clear.
        const double scale = format.bytesPerSample() == 2 ? 6000 : 1500000;
        std::vector<std::int32_t> left = test::sine(60000, 37, scale), right(60000);
        double state = 0;
        for (auto& v : right) {
            state += 0.1 * (gauss(wideRandom) - state);
            v = static_cast<std::int32_t>(std::lround(state * scale));
        }
        const FormatDetection wide = scoreFormats(test::encode(test::interleave(left, right), format));
        EXPECT_LT(wide.scores[format.index()], kChannelRecheckBelow);
        ASSERT_TRUE(wide.channelScores);
        EXPECT_EQ(wide.best, format) << "wide stereo";
        EXPECT_GT((*wide.channelScores)[format.index()], 0.9);

        // Quiet 16-bit data read byte-swapped is the same waveform 256 times louder and scores
        // as smooth; the quiet reading wins the near tie. −70 dBFS with a step of dither:
        auto quiet = test::sine(88200, 100, 0.0003 * full);
        for (auto& v : quiet)
            v += half(quietRandom) - half(quietRandom);
        const FormatDetection whisper = scoreFormats(test::encode(quiet, format));
        EXPECT_EQ(whisper.best, format) << "quiet";
        if (format.bytesPerSample() == 2) {
            ASSERT_TRUE(whisper.peaks) << "byte orders tie on correlation";
            EXPECT_EQ(quietReading(*whisper.peaks), format);
            EXPECT_FALSE(whisper.crests) << "the quiet reading settles it";
        }

        // Hi-hat-like bursts of white noise score near zero in every encoding; read the right
        // way their decays make a crest factor far above the evenly loud wrong readings.
        std::vector<std::int32_t> hats(120000);
        for (std::size_t i = 0; i < hats.size(); ++i)
            hats[i] = static_cast<std::int32_t>(std::lround(0.5 * full * std::exp(-double(i % 6000) / 600) * noise(hatRandom)));
        const FormatDetection found = scoreFormats(test::encode(hats, format));
        ASSERT_TRUE(found.crests);
        EXPECT_EQ(found.best, format) << "hi-hats";
        EXPECT_FALSE(clearVerdict(found)) << "a crest factor settles no more than doubt";
    }
}
