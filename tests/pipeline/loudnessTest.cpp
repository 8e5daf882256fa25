#include "core/pipeline/loudness.hpp"
#include "core/pipeline/truePeak.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <numbers>

using namespace quorvel;

namespace {

struct Segment {
    double seconds, dBFS; // dBFS: the sine's peak
};

// A sine in every channel stepping through the segments' levels, its phase running on.
PcmBufferPtr tone(int channels, double hz, std::initializer_list<Segment> segments, double phase = 0.0)
{
    const double rate = 48000;
    std::int64_t frames = 0;
    for (const Segment& s : segments)
        frames += std::llround(s.seconds * rate);
    PcmBufferPtr buffer = PcmBuffer::make(rate, channels, frames);
    buffer->setFrameLength(frames);
    std::int64_t k = 0;
    for (const Segment& s : segments)
        for (const std::int64_t end = k + std::llround(s.seconds * rate); k < end; ++k)
            for (int c = 0; c < channels; ++c)
                buffer->channel(c)[k] = static_cast<float>(std::pow(10.0, s.dBFS / 20.0) *
                                                           std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(k) / rate + phase));
    return buffer;
}

constexpr double kMinusInf = -std::numeric_limits<double>::infinity();

} // namespace

TEST(Loudness, KWeightingAt48kMatchesBS1770Table)
{
    const KWeighting k = kWeightCoeffs(48000);
    const std::array<double, 3> b1{1.53512485958697, -2.69169618940638, 1.19839281085285};
    const std::array<double, 3> a1{1.0, -1.69065929318241, 0.73248077421585};
    const std::array<double, 3> a2{1.0, -1.99004745483398, 0.99007225036621};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(k.b1[i], b1[i], 1e-12) << i;
        EXPECT_NEAR(k.a1[i], a1[i], 1e-12) << i;
        EXPECT_NEAR(k.a2[i], a2[i], 1e-12) << i;
    }
    EXPECT_EQ(k.b2, (std::array<double, 3>{1.0, -2.0, 1.0}));
    EXPECT_GT(std::abs(kWeightCoeffs(44100).a1[1] - a1[1]), 1e-3); // redesigned, not the table reused
}

TEST(Loudness, SinesAndTech3341GatedSequences)
{
    EXPECT_NEAR(integratedLUFS(*tone(1, 997, {{2, 0}})), -3.01, 0.005);
    EXPECT_NEAR(integratedLUFS(*tone(2, 997, {{2, 0}})), 0.00, 0.005);
    EXPECT_NEAR(integratedLUFS(*tone(2, 1000, {{20, -23}})), -23.0, 0.1);
    EXPECT_NEAR(integratedLUFS(*tone(2, 1000, {{10, -36}, {60, -23}, {10, -36}})), -23.0, 0.1);
    EXPECT_NEAR(integratedLUFS(*tone(2, 1000, {{10, -72}, {10, -36}, {20, -23}, {10, -36}, {10, -72}})), -23.0, 0.1);

    // Ungated, the silence would cost 3 dB; only the few blocks straddling its edge count.
    EXPECT_NEAR(integratedLUFS(*tone(1, 997, {{10, -20}, {10, -1000}})), integratedLUFS(*tone(1, 997, {{10, -20}})), 0.1);
}

TEST(Loudness, SilenceAndTooShortAreUnmeasurable)
{
    EXPECT_EQ(integratedLUFS(*tone(2, 997, {{1.0, -1000}})), kMinusInf); // all zeros
    EXPECT_EQ(integratedLUFS(*tone(1, 997, {{2.0, -75}})), kMinusInf);   // below the absolute gate
    EXPECT_EQ(integratedLUFS(*tone(1, 997, {{0.39, 0}})), kMinusInf);
    EXPECT_EQ(integratedLUFS(*tone(1, 997, {{19199.0 / 48000, 0}})), kMinusInf);
    EXPECT_NEAR(integratedLUFS(*tone(1, 997, {{19200.0 / 48000, 0}})), -3.01, 0.05); // one whole block
}

TEST(TruePeak, Tech3341InterSamplePeaks)
{
    struct Case {
        double divisor, phaseDeg, amplitude, expected;
    };
    for (const Case& c : {Case{4, 0, 0.5, -6}, Case{4, 45, 0.5, -6}, Case{6, 60, 0.5, -6}, Case{8, 67.5, 0.5, -6}, Case{4, 45, 1.41, 3}}) {
        const PcmBufferPtr buffer = tone(2, 48000 / c.divisor, {{1.0, 20.0 * std::log10(c.amplitude)}}, c.phaseDeg * std::numbers::pi / 180);
        // Raised-cosine fades over 10 ms: a sine cut off abruptly overshoots between samples
        // at its edges, which is not the steady peak under test.
        const std::int64_t n = buffer->frameLength(), fade = 480;
        for (std::int64_t i = 0; i < fade; ++i)
            for (int ch = 0; ch < 2; ++ch) {
                const auto w = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) / fade));
                buffer->channel(ch)[i] *= w;
                buffer->channel(ch)[n - 1 - i] *= w;
            }
        const double level = 20.0 * std::log10(truePeakLinear(*buffer));
        EXPECT_LE(level, c.expected + 0.2) << "fs/" << c.divisor << " at " << c.phaseDeg << "°";
        EXPECT_GE(level, c.expected - 0.4) << "fs/" << c.divisor << " at " << c.phaseDeg << "°";
    }
}

TEST(TruePeak, RateThatCannotBeOversampledGivesSamplePeak)
{
    // 0.3 Hz rounds to 0, so the fourfold rate is 0 and libsoxr refuses the ratio.
    const PcmBufferPtr buffer = PcmBuffer::make(0.3, 2, 3);
    buffer->setFrameLength(3);
    const float left[] = {0.1f, std::numeric_limits<float>::quiet_NaN(), 0.2f}, right[] = {0.25f, -0.7f, 0.0f};
    std::copy_n(left, 3, buffer->channel(0));
    std::copy_n(right, 3, buffer->channel(1));
    EXPECT_EQ(truePeakLinear(*buffer), 0.7f);
}
