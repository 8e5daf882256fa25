#include "core/detection/smoothness.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <random>

using namespace quorvel;

namespace {
double decode(std::vector<std::uint8_t> bytes, SourceFormat format) { return decodeSample(bytes, 0, format); }
} // namespace

TEST(DecodeSample, ReadsEveryEncoding)
{
    EXPECT_EQ(decode({0xFF, 0xFE}, SourceFormat::s16be), -2);
    EXPECT_EQ(decode({0xFF, 0xFE}, SourceFormat::s16le), -257);
    EXPECT_EQ(decode({0x7F, 0xFF}, SourceFormat::s16be), 32767);
    EXPECT_EQ(decode({0x80, 0x00}, SourceFormat::s16be), -32768);
    EXPECT_EQ(decode({0x80, 0x00, 0x00}, SourceFormat::s24be), -8388608);
    EXPECT_EQ(decode({0x80, 0x00, 0x00}, SourceFormat::s24le), 128);
    EXPECT_EQ(decode({0xFF, 0xFF, 0x7F}, SourceFormat::s24le), 8388607);
    EXPECT_EQ(decode({0x12, 0x34, 0x56}, SourceFormat::s24be), 0x123456);

    // The encoder used by the tests and the demo is its exact inverse.
    for (SourceFormat format : SourceFormat::allCases()) {
        const std::int32_t limit = format.bytesPerSample() == 2 ? 32768 : 8388608;
        for (std::int32_t v : {-limit, -limit + 1, -1, 0, 1, 255, 256, limit - 1})
            EXPECT_EQ(decodeSample(test::encode({v}, format), 0, format), v) << format.rawValue() << " " << v;
    }
}

// Under 16 samples there is no score; flat data scores 0, also when a loud repeated value
// (5921370 as 24-bit) takes the sums past 2^53, and nearly flat data stays within 1.
TEST(Smoothness, TooShortFlatAndNearlyFlatData)
{
    const std::vector<std::uint8_t> bytes31(31, 0x11), zeros(1000, 0), loud(600000, 0x5a);
    EXPECT_EQ(smoothness(test::encode(std::vector<std::int32_t>(500, 1234), SourceFormat::s16be), SourceFormat::s16be), 0.0);
    for (SourceFormat format : SourceFormat::allCases()) {
        SCOPED_TRACE(format.rawValue());
        EXPECT_EQ(smoothness(bytes31, format), -1.0);
        for (const auto* flat : {&zeros, &loud}) {
            EXPECT_EQ(smoothness(*flat, format), 0.0) << flat->size() << " bytes";
            EXPECT_EQ(channelSmoothness(*flat, format), 0.0) << flat->size() << " bytes";
        }
    }

    // One loud sample before fifteen near-silent ones: rounding in the sums once pushed
    // this past a correlation of 1.
    std::vector<std::int32_t> samples{31141, 0};
    samples.resize(16, -1);
    const double score = smoothness(test::encode(samples, SourceFormat::s16le), SourceFormat::s16le);
    EXPECT_LE(score, 1.0);
    EXPECT_GT(score, 0.999999);
}

TEST(SmoothnessWindow, AlignsToWholeSamplesAndNeedsEightOfThem)
{
    auto bytes = test::encode(test::sine(1000, 20, 1000000), SourceFormat::s24be);
    // 1000 is not a multiple of 3: the window starts at 999, still on sample boundaries.
    const double aligned = smoothnessWindow(bytes, SourceFormat::s24be, 999, 3000);
    EXPECT_GT(aligned, 0.9);
    EXPECT_EQ(smoothnessWindow(bytes, SourceFormat::s24be, 1000, 3000), aligned);

    // Two stray bytes at the end: a window reaching past the end stops at the last whole sample.
    const double whole = smoothnessWindow(bytes, SourceFormat::s24be, 0, 3000);
    bytes.push_back(0x80);
    bytes.push_back(0x00);
    EXPECT_EQ(smoothnessWindow(bytes, SourceFormat::s24be, 0, 1 << 30), smoothnessWindow(bytes, SourceFormat::s24be, 0, 3000));
    EXPECT_EQ(smoothnessWindow(bytes, SourceFormat::s24be, 0, 3000), whole);

    EXPECT_NE(smoothnessWindow(bytes, SourceFormat::s24be, 0, 8 * 3), -1.0);
    EXPECT_EQ(smoothnessWindow(bytes, SourceFormat::s24be, 0, 8 * 3 - 1), -1.0);
    EXPECT_EQ(smoothnessWindow(bytes, SourceFormat::s24be, 3 * 1000 - 7 * 3, 500), -1.0);
}

TEST(Smoothness, WindowPlacement)
{
    EXPECT_EQ(smoothnessWindowStart(400000, 0.78), 0);
    const std::int64_t big[] = {90000, 840000, 1560000, 2340000};
    const std::int64_t mid[] = {30000, 280000, 500000, 500000};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(smoothnessWindowStart(3000000, kSmoothnessWindowFractions[i]), big[i]);
        EXPECT_EQ(smoothnessWindowStart(1000000, kSmoothnessWindowFractions[i]), mid[i]);
    }

    // Noise everywhere but one window's span: only that window can find the smooth part,
    // so the score shows the windows really sit there.
    std::mt19937 random(7);
    std::uniform_int_distribution<int> byte(0, 255);
    std::vector<std::uint8_t> bytes(3000000);
    for (auto& b : bytes)
        b = static_cast<std::uint8_t>(byte(random));
    EXPECT_LT(smoothness(bytes, SourceFormat::s16be), 0.05);
    const auto smooth = test::encode(test::sine(250000, 20, 10000), SourceFormat::s16be);
    std::copy(smooth.begin(), smooth.end(), bytes.begin() + 2340000);
    EXPECT_GT(smoothness(bytes, SourceFormat::s16be), 0.9);
}
