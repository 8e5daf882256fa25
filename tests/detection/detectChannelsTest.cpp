#include "core/detection/detectChannels.hpp"
#include "core/detection/detectFile.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <random>

using namespace quorvel;

TEST(DetectChannels, DegenerateInputs)
{
    EXPECT_EQ(detectChannels({}, SourceFormat::s16be), (ChannelDetection{2, "too short", 0.0}));
    EXPECT_EQ(detectChannels(std::vector<std::uint8_t>(15, 7), SourceFormat::s16be), (ChannelDetection{2, "too short", 0.0}));
    EXPECT_NE(detectChannels(test::encode(test::sine(8, 5, 1000), SourceFormat::s16be), SourceFormat::s16be).confidence,
              "too short");
    EXPECT_EQ(detectChannels(std::vector<std::uint8_t>(600, 0), SourceFormat::s24le),
              (ChannelDetection{1, "silent/constant", 1.0}));
    EXPECT_EQ(detectChannels(test::encode(std::vector<std::int32_t>(300, -77), SourceFormat::s16le), SourceFormat::s16le),
              (ChannelDetection{1, "silent/constant", 1.0}));
    // A loud repeated value: past 2^53 the sums round, and the noise must not pass for variance.
    const std::vector<std::uint8_t> repeated(30000, 0x5a);
    for (SourceFormat format : SourceFormat::allCases())
        EXPECT_EQ(detectChannels(repeated, format), (ChannelDetection{1, "silent/constant", 1.0})) << format.rawValue();
}

TEST(DetectChannels, MonoAndStereoSines)
{
    const auto mono = detectChannels(test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be), SourceFormat::s16be);
    EXPECT_EQ(mono.channels, 1);
    EXPECT_EQ(mono.confidence, "confident");
    EXPECT_NEAR(mono.corr, 0.809 - 0.951, 1e-3);

    const auto twoTones = test::interleave(test::sine(20000, 40, 10000), test::sine(20000, 25, 8000));
    const auto stereo = detectChannels(test::encode(twoTones, SourceFormat::s16le), SourceFormat::s16le);
    EXPECT_EQ(stereo.channels, 2);
    EXPECT_EQ(stereo.confidence, "confident");
    EXPECT_NEAR(stereo.corr, 0.980, 1e-3);

    // Same tone in both channels: the distances alone say mono, the frames say stereo.
    const auto same = test::sine(20000, 20, 1000000);
    const auto twin = detectChannels(test::encode(test::interleave(same, same), SourceFormat::s24be), SourceFormat::s24be);
    EXPECT_EQ(twin.channels, 2);
    EXPECT_EQ(twin.confidence, "confident");
    EXPECT_NEAR(twin.corr, -0.024, 1e-3);
}

// A mono source bounced to two identical channels of smooth material: r1 is so close to
// 1 that the frame margin can never be met, yet the file must not play at half speed.
TEST(DetectChannels, IdenticalSmoothChannelsAreStereo)
{
    const auto slow = test::sine(30000, 2000, 20000);
    const auto found = detectChannels(test::encode(test::interleave(slow, slow), SourceFormat::s16be), SourceFormat::s16be);
    EXPECT_EQ(found, (ChannelDetection{2, "confident", found.corr}));
    EXPECT_GT(found.corr, -0.01) << "the distance test alone would not call this stereo";

    // One differing frame is enough to fall back to the other rules, where the frames
    // still pair up far more tightly than neighbours across frames do.
    auto nearly = test::interleave(slow, slow);
    nearly[1001] += 1;
    const auto nearlyFound = detectChannels(test::encode(nearly, SourceFormat::s16be), SourceFormat::s16be);
    EXPECT_EQ(nearlyFound, (ChannelDetection{2, "verify by ear", nearlyFound.corr}));
}

TEST(DetectChannels, DecisionBoundaries)
{
    const auto decide = [](double d, std::optional<double> c = std::nullopt, double r1 = 0.5) {
        return decideChannels({r1, d, c, false, std::nullopt, 1.0});
    };
    EXPECT_EQ(decide(0.05), (ChannelDetection{2, "confident", 0.05}));
    EXPECT_EQ(decide(0.04), (ChannelDetection{2, "verify by ear", 0.04}));
    EXPECT_EQ(decide(0.0100001).confidence, "verify by ear");
    EXPECT_EQ(decide(0.01), (ChannelDetection{1, "verify by ear", 0.01}));
    EXPECT_EQ(decide(-0.01), (ChannelDetection{1, "verify by ear", -0.01}));
    EXPECT_EQ(decide(-0.02), (ChannelDetection{1, "confident", -0.02}));

    // Frame rule: both its comparisons are strict.
    EXPECT_EQ(decide(-0.02, 0.9999, 0.99), (ChannelDetection{2, "confident", -0.02}));
    EXPECT_EQ(decide(-0.02, 0.9995, 0.9).channels, 1);
    EXPECT_EQ(decide(-0.02, 0.99951, 0.9).channels, 2);
    EXPECT_EQ(decide(-0.02, 0.9999, 0.9960).channels, 1);
    EXPECT_EQ(decide(-0.02, 0.9999, 0.9958).channels, 2);
    EXPECT_EQ(decide(0.05, 0.2, 0.9).channels, 2) << "an undecided frame test falls through to the distances";
}

TEST(DetectChannels, OnlyTheFirstTwelveMegabytesCount)
{
    // Stereo for the first 12 MB (and a stray byte), mono noise-free sine after it.
    auto samples = test::interleave(test::sine(3000000, 40, 10000), test::sine(3000000, 25, 8000));
    auto bytes = test::encode(samples, SourceFormat::s16be);
    ASSERT_EQ(bytes.size(), 12000000u);
    bytes.push_back(0x42);
    const auto tail = test::encode(test::sine(400000, 20, 10000), SourceFormat::s16be);
    bytes.insert(bytes.end(), tail.begin(), tail.end());

    const auto prefixOnly = detectChannels(std::span(bytes).first(12000000), SourceFormat::s16be);
    EXPECT_EQ(detectChannels(bytes, SourceFormat::s16be), prefixOnly);
    EXPECT_EQ(prefixOnly.channels, 2);
}

TEST(DetectFile, StatusTextAndChoice)
{
    const auto bytes = test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be);
    const FileDetection automatic = *detectFile(bytes, SourceFormatChoice::automatic());
    EXPECT_EQ(automatic.status, "16-bit BE (auto) · Mono · confident");

    // A fixed format drives the channel analysis and the label; the best encoding is still reported.
    const FileDetection fixed = *detectFile(bytes, SourceFormatChoice::fixed(SourceFormat::s24le));
    EXPECT_EQ(fixed.format.best, SourceFormat::s16be);
    EXPECT_EQ(fixed.used, SourceFormat::s24le);
    EXPECT_EQ(fixed.channels, detectChannels(bytes, SourceFormat::s24le));
    EXPECT_TRUE(fixed.status.starts_with("24-bit LE (set) · ")) << fixed.status;

    EXPECT_EQ(detectionStatus(SourceFormat::s24be, SourceFormatChoice::automatic(), {2, "verify by ear", 0.02}),
              "24-bit BE (auto) · Stereo · verify by ear");
}

TEST(DetectChannels, NearIdenticalChannelsAndNearSilenceBoundaries)
{
    // Within-frame pairs at 0.99 leave 0.01 to 1; across frames 0.98 leaves 0.02: exactly
    // twice, which is not enough; a little more is.
    const auto decide = [](double d, double within, double across, double peak = 1.0) {
        return decideChannels({0.98, d, within, false, across, peak});
    };
    EXPECT_EQ(decide(-0.005, 0.99, 0.98).channels, 1);
    EXPECT_EQ(decide(-0.005, 0.99, 0.9799), (ChannelDetection{2, "verify by ear", -0.005}));
    EXPECT_EQ(decide(-0.005, 0.9799, 0.99).channels, 2) << "a lagging channel: across frames is the tight pair";
    EXPECT_EQ(decide(-0.005, 0.8, 0.5).channels, 1) << "the tight pair must pass 0.8";
    EXPECT_EQ(decide(-0.005, 0.8001, 0.5).channels, 2);
    EXPECT_EQ(decide(-kCloseDistances, 0.999, 0.9).channels, 2);
    EXPECT_EQ(decide(-kCloseDistances - 0.001, 0.999, 0.9), (ChannelDetection{1, "verify by ear", -kCloseDistances - 0.001}))
        << "distances this far apart are a clear verdict, but not a confident one against the frames";
    EXPECT_EQ(decide(-kCloseDistances - 0.001, 0.999, 0.998), (ChannelDetection{1, "confident", -kCloseDistances - 0.001}));

    // Under −70 dBFS the table still decides the layout, but never confidently.
    EXPECT_EQ(decide(0.5, 0.1, 0.1, kNearlySilentPeak), (ChannelDetection{2, "confident", 0.5}));
    EXPECT_EQ(decide(0.5, 0.1, 0.1, kNearlySilentPeak * 0.999), (ChannelDetection{2, "silent/constant", 0.5}));
    const auto whisper = test::encode(test::sine(40000, 20, 10), SourceFormat::s16le);
    EXPECT_EQ(detectChannels(whisper, SourceFormat::s16le), (ChannelDetection{1, "silent/constant", detectChannels(whisper, SourceFormat::s16le).corr}));
}

// Two microphones on one source: the second hears it a few samples later through a
// low-pass, each with its own dither. The distances call that mono; the frames do not.
TEST(DetectChannels, DualMonoRecordingIsStereo)
{
    std::mt19937 random(9);
    std::normal_distribution<double> noise(0.0, 1.0);
    std::vector<double> source(60000);
    double state = 0;
    for (auto& v : source) {
        state += 0.05 * (noise(random) - state);
        v = state * 60000;
    }
    for (int delay : {0, 1, 3}) {
        std::vector<std::int32_t> left(50000), right(50000);
        double filtered = 0;
        for (std::size_t i = 0; i < left.size(); ++i) {
            filtered += 0.6 * (source[i + 100 - static_cast<std::size_t>(delay)] - filtered);
            left[i] = static_cast<std::int32_t>(std::lround(source[i + 100] + noise(random)));
            right[i] = static_cast<std::int32_t>(std::lround(0.9 * filtered + noise(random)));
        }
        const auto bytes = test::encode(test::interleave(left, right), SourceFormat::s24le);
        EXPECT_EQ(detectChannels(bytes, SourceFormat::s24le).channels, 2) << "delay " << delay;
        // The same recording's first channel alone is mono.
        EXPECT_EQ(detectChannels(test::encode(left, SourceFormat::s24le), SourceFormat::s24le).channels, 1);
    }
}

// Samples whose two bytes are equal read the same in either byte order: the encoding is a
// pure guess, so the answer cannot be confident, however clear its layout.
TEST(DetectFile, AnOpenEncodingIsNeverConfident)
{
    std::vector<std::int32_t> samples = test::sine(40000, 20, 120);
    for (auto& v : samples)
        v = v * 257 + (v < 0 ? 256 : 0); // bytes (b, b): 0x7878, 0xF6F6, …
    const auto bytes = test::encode(samples, SourceFormat::s16be);
    ASSERT_EQ(detectChannels(bytes, SourceFormat::s16be).confidence, "confident");

    const FileDetection guessed = *detectFile(bytes, SourceFormatChoice::automatic());
    EXPECT_FALSE(clearVerdict(guessed.format));
    EXPECT_EQ(guessed.status, "16-bit BE (auto) · Mono · verify by ear");
    EXPECT_EQ(detectFile(bytes, SourceFormatChoice::fixed(SourceFormat::s16be))->status, "16-bit BE (set) · Mono · confident")
        << "a format the user set is not ours to doubt";

    // Wide stereo scores low and close on neighbours in every encoding, but channel by
    // channel the choice is clear.
    const auto wide = test::encode(test::interleave(test::sine(20000, 40, 10000), test::sine(20000, 25, 8000)), SourceFormat::s16le);
    const FileDetection stereo = *detectFile(wide, SourceFormatChoice::automatic());
    EXPECT_TRUE(stereo.format.channelsChose);
    EXPECT_EQ(stereo.status, "16-bit LE (auto) · Stereo · confident");
}
