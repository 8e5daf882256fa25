#include "core/detection/detectBestFormat.hpp"
#include "core/detection/smoothness.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <random>

using namespace quorvel;

TEST(DetectBestFormat, DegenerateDataGoesToTheFirstCandidate)
{
    EXPECT_EQ(detectBestFormat({}), SourceFormat::s16be);
    EXPECT_EQ(detectBestFormat(std::vector<std::uint8_t>(31, 0x5A)), SourceFormat::s16be);
    EXPECT_EQ(detectBestFormat(std::vector<std::uint8_t>(4096, 0)), SourceFormat::s16be);
}

TEST(DetectBestFormat, TiesGoToTheEarlierCandidate)
{
    EXPECT_EQ(bestCandidate({0.2, 0.7, 0.7, 0.1}), SourceFormat::s24be);
    EXPECT_EQ(bestCandidate({0.5, 0.5, 0.5, 0.5}), SourceFormat::s16be);
    EXPECT_EQ(bestCandidate({-1.0, -1.0, -1.0, -0.99}), SourceFormat::s24le);
}

TEST(DetectBestFormat, SineExamples)
{
    const auto be = test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be);
    const FormatDetection found = scoreFormats(be);
    EXPECT_EQ(found.best, SourceFormat::s16be);
    EXPECT_NEAR(found.scores[0], 0.951, 5e-4);
    EXPECT_FALSE(found.channelScores) << "a clear winner needs no channel recheck";

    // 40 bytes: only the two 16-bit candidates can be judged.
    const auto tiny = test::encode(test::sine(20, 20, 10000), SourceFormat::s16le);
    const FormatDetection small = scoreFormats(tiny);
    EXPECT_EQ(small.best, SourceFormat::s16le);
    EXPECT_NEAR(small.scores[2], 0.956, 5e-4);
    EXPECT_NEAR(small.scores[0], -0.198, 5e-4);
    EXPECT_EQ(small.scores[1], -1.0);
    EXPECT_EQ(small.scores[3], -1.0);

    // The winner comes last in the order and is still found.
    const auto le24 = test::encode(test::sine(40000, 20, 1000000), SourceFormat::s24le);
    const FormatDetection wide = scoreFormats(le24);
    EXPECT_EQ(wide.best, SourceFormat::s24le);
    const double expected[] = {0.181, 0.451, -0.382, 0.951};
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(wide.scores[i], expected[i], 5e-4) << i;
}

// Two unrelated channels: neighbours alternate between them, so the interleaved lag-1
// score is near zero even in the right encoding and the lag-1 choice is a coin toss.
TEST(DetectBestFormat, WideStereoIsJudgedChannelByChannel)
{
    std::mt19937 random(3);
    std::normal_distribution<double> noise(0.0, 1.0);
    for (SourceFormat format : SourceFormat::allCases()) {
        const double scale = format.bytesPerSample() == 2 ? 6000 : 1500000;
        // Left: a sine; right: low-passed noise. Neither resembles the other.
        std::vector<std::int32_t> left = test::sine(60000, 37, scale), right(60000);
        double state = 0;
        for (auto& v : right) {
            state += 0.1 * (noise(random) - state);
            v = static_cast<std::int32_t>(std::lround(state * scale));
        }
        const auto bytes = test::encode(test::interleave(left, right), format);
        const FormatDetection found = scoreFormats(bytes);
        EXPECT_LT(found.scores[format.index()], kChannelRecheckBelow) << format.rawValue();
        ASSERT_TRUE(found.channelScores) << format.rawValue();
        EXPECT_EQ(found.best, format) << format.rawValue();
        EXPECT_GT((*found.channelScores)[format.index()], 0.9) << format.rawValue();
    }
}

// Quiet 16-bit data read byte-swapped is the same waveform 256 times louder and scores as
// smooth; the quiet reading wins the near tie. A clear verdict is never overturned.
TEST(DetectBestFormat, QuietReadingBreaksANearTie)
{
    EXPECT_EQ(quietReading({0.9, 0.0001, 0.9, 0.9}), SourceFormat::s24be);
    EXPECT_FALSE(quietReading({0.9, 0.0001, 0.0031, 0.9})) << "less than 30 dB apart";
    EXPECT_FALSE(quietReading({0.9, 0.0032, 0.9, 0.9})) << "not quiet itself";
    // A reading too short to score cannot pass for quiet either.
    EXPECT_EQ(windowPeak(std::vector<std::uint8_t>(40, 0), SourceFormat::s24be), 1.0);
    EXPECT_EQ(windowPeak(std::vector<std::uint8_t>(40, 0), SourceFormat::s16be), 0.0);

    // Open: a runner-up within 0.2 of the winner, or a winner below 0.6.
    EXPECT_TRUE(openChoice({0.9, 0.71, 0.1, 0.1}, SourceFormat::s16be));
    EXPECT_FALSE(openChoice({0.9, 0.69, 0.1, 0.1}, SourceFormat::s16be));
    EXPECT_TRUE(openChoice({0.59, 0.1, 0.1, 0.1}, SourceFormat::s16be));
    EXPECT_FALSE(openChoice({0.61, 0.1, 0.1, 0.1}, SourceFormat::s16be));

    std::mt19937 random(4);
    std::uniform_int_distribution<int> half(0, 1);
    for (SourceFormat format : SourceFormat::allCases()) {
        // −70 dBFS with a step of dither.
        const double amplitude = 0.0003 * (format.bytesPerSample() == 2 ? 32768 : 8388608);
        auto quiet = test::sine(88200, 100, amplitude);
        for (auto& v : quiet)
            v += half(random) - half(random);
        const FormatDetection found = scoreFormats(test::encode(quiet, format));
        EXPECT_EQ(found.best, format) << format.rawValue();
        if (format.bytesPerSample() == 2) {
            EXPECT_TRUE(found.peaks) << "byte orders tie on correlation " << format.rawValue();
        }
    }

    // Loud and clear: no peaks are even looked at.
    EXPECT_FALSE(scoreFormats(test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be)).peaks);
}

// Hi-hat-like bursts of white noise score near zero in every encoding; read the right way
// their decays make a crest factor far above the evenly loud wrong readings.
TEST(DetectBestFormat, CrestFactorBreaksAnOpenChoice)
{
    // Only candidates in contention count; the winner needs twice every other's crest factor.
    EXPECT_EQ(crestReading({2.0, 4.0, 1.0, 1.0}, {0.3, 0.3, 0.3, 0.3}, SourceFormat::s16be), SourceFormat::s24be);
    EXPECT_FALSE(crestReading({2.01, 4.0, 1.0, 1.0}, {0.3, 0.3, 0.3, 0.3}, SourceFormat::s16be));
    EXPECT_EQ(crestReading({1.0, 9.0, 5.0, 1.0}, {0.9, 0.8, 0.1, 0.1}, SourceFormat::s16be), SourceFormat::s24be)
        << "a candidate out of contention does not stand in the way";
    EXPECT_FALSE(crestReading({0.0, 0.0, 0.0, 0.0}, {0.3, 0.3, 0.3, 0.3}, SourceFormat::s16be));

    std::mt19937 random(7);
    std::uniform_real_distribution<double> noise(-1.0, 1.0);
    for (SourceFormat format : SourceFormat::allCases()) {
        const double scale = 0.5 * (format.bytesPerSample() == 2 ? 32768 : 8388608);
        std::vector<std::int32_t> hats(120000);
        for (std::size_t i = 0; i < hats.size(); ++i)
            hats[i] = static_cast<std::int32_t>(std::lround(scale * std::exp(-double(i % 6000) / 600) * noise(random)));
        const FormatDetection found = scoreFormats(test::encode(hats, format));
        ASSERT_TRUE(found.crests) << format.rawValue();
        EXPECT_EQ(found.best, format) << format.rawValue();
        EXPECT_FALSE(clearVerdict(found)) << "a crest factor settles no more than doubt";
    }
}
