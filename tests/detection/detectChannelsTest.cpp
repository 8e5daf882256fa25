#include "core/detection/detectChannels.hpp"
#include "core/detection/detectFile.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace quorvel;

namespace {

std::vector<std::int32_t> twoTones() { return test::interleave(test::sine(20000, 40, 10000), test::sine(20000, 25, 8000)); }

ChannelDetection layoutOf(const std::vector<std::int32_t>& samples, SourceFormat format)
{
    return detectChannels(test::encode(samples, format), format);
}

} // namespace

TEST(DetectChannels, DegenerateInputs)
{
    const ChannelDetection tooShort{2, "too short", 0.0}, constant{1, "silent/constant", 1.0};
    EXPECT_EQ(detectChannels({}, SourceFormat::s16be), tooShort);
    EXPECT_EQ(detectChannels(std::vector<std::uint8_t>(15, 7), SourceFormat::s16be), tooShort);
    EXPECT_NE(layoutOf(test::sine(8, 5, 1000), SourceFormat::s16be).confidence, "too short");
    EXPECT_EQ(detectChannels(std::vector<std::uint8_t>(600, 0), SourceFormat::s24le), constant);
    EXPECT_EQ(layoutOf(std::vector<std::int32_t>(300, -77), SourceFormat::s16le), constant);
    // A loud repeated value: past 2^53 the sums round, and the noise must not pass for variance.
    for (SourceFormat format : SourceFormat::allCases())
        EXPECT_EQ(detectChannels(std::vector<std::uint8_t>(30000, 0x5a), format), constant) << format.rawValue();
}

TEST(DetectChannels, LayoutOfSines)
{
    // corr is checked to 1e-3 unless NaN.
    const auto expect = [](const char* name, const std::vector<std::int32_t>& samples, SourceFormat format, ChannelDetection wanted) {
        SCOPED_TRACE(name);
        const ChannelDetection found = layoutOf(samples, format);
        EXPECT_EQ(found.channels, wanted.channels);
        EXPECT_EQ(found.confidence, wanted.confidence);
        if (!std::isnan(wanted.corr)) {
            EXPECT_NEAR(found.corr, wanted.corr, 1e-3);
        }
    };
    expect("mono sine", test::sine(40000, 20, 10000), SourceFormat::s16be, {1, "confident", 0.809 - 0.951});
    expect("two tones", twoTones(), SourceFormat::s16le, {2, "confident", 0.980});
    // Same tone in both channels: the distances alone say mono, the frames say stereo.
    const auto same = test::sine(20000, 20, 1000000);
    expect("one tone twice", test::interleave(same, same), SourceFormat::s24be, {2, "confident", -0.024});
    // Under −70 dBFS the table still decides the layout, but never confidently.
    expect("whisper", test::sine(40000, 20, 10), SourceFormat::s16le, {1, "silent/constant", NAN});

    // A mono source bounced to two identical channels of smooth material: r1 is so close to
    // 1 that the frame margin can never be met, yet the file must not play at half speed.
    const auto slow = test::sine(30000, 2000, 20000);
    auto twin = test::interleave(slow, slow);
    expect("identical smooth channels", twin, SourceFormat::s16be, {2, "confident", NAN});
    EXPECT_GT(layoutOf(twin, SourceFormat::s16be).corr, -0.01) << "the distance test alone would not call this stereo";
    // One differing frame is enough to fall back to the other rules, where the frames
    // still pair up far more tightly than neighbours across frames do.
    twin[1001] += 1;
    expect("one frame differs", twin, SourceFormat::s16be, {2, "verify by ear", NAN});
}

TEST(DetectChannels, DecisionBoundaries)
{
    const auto decide = [](double r1, double d, std::optional<double> within = {}, std::optional<double> across = {},
                           double peak = 1.0) { return decideChannels({r1, d, within, false, across, peak}); };
    EXPECT_EQ(decide(0.5, 0.05), (ChannelDetection{2, "confident", 0.05}));
    EXPECT_EQ(decide(0.5, 0.04), (ChannelDetection{2, "verify by ear", 0.04}));
    EXPECT_EQ(decide(0.5, 0.0100001).confidence, "verify by ear");
    EXPECT_EQ(decide(0.5, 0.01), (ChannelDetection{1, "verify by ear", 0.01}));
    EXPECT_EQ(decide(0.5, -0.01), (ChannelDetection{1, "verify by ear", -0.01}));
    EXPECT_EQ(decide(0.5, -0.02), (ChannelDetection{1, "confident", -0.02}));

    // Frame rule: both its comparisons are strict.
    EXPECT_EQ(decide(0.99, -0.02, 0.9999), (ChannelDetection{2, "confident", -0.02}));
    EXPECT_EQ(decide(0.9, -0.02, 0.9995).channels, 1);
    EXPECT_EQ(decide(0.9, -0.02, 0.99951).channels, 2);
    EXPECT_EQ(decide(0.9960, -0.02, 0.9999).channels, 1);
    EXPECT_EQ(decide(0.9958, -0.02, 0.9999).channels, 2);
    EXPECT_EQ(decide(0.9, 0.05, 0.2).channels, 2) << "an undecided frame test falls through to the distances";

    // Near-identical channels: within frames 0.99 leaves 0.01 to 1; across frames 0.98
    // leaves 0.02: exactly twice, which is not enough; a little more is.
    EXPECT_EQ(decide(0.98, -0.005, 0.99, 0.98).channels, 1);
    EXPECT_EQ(decide(0.98, -0.005, 0.99, 0.9799), (ChannelDetection{2, "verify by ear", -0.005}));
    EXPECT_EQ(decide(0.98, -0.005, 0.9799, 0.99).channels, 2) << "a lagging channel: across frames is the tight pair";
    EXPECT_EQ(decide(0.98, -0.005, 0.8, 0.5).channels, 1) << "the tight pair must pass 0.8";
    EXPECT_EQ(decide(0.98, -0.005, 0.8001, 0.5).channels, 2);
    EXPECT_EQ(decide(0.98, -kCloseDistances, 0.999, 0.9).channels, 2);
    const double far = -kCloseDistances - 0.001;
    EXPECT_EQ(decide(0.98, far, 0.999, 0.9), (ChannelDetection{1, "verify by ear", far}))
        << "distances this far apart are a clear verdict, but not a confident one against the frames";
    EXPECT_EQ(decide(0.98, far, 0.999, 0.998), (ChannelDetection{1, "confident", far}));
    // Frames far from their neighbours across frames (hiss common to two channels) are no
    // mono recording: the verdict stands, the confidence does not.
    EXPECT_EQ(decide(0.2, -0.2, 0.3, 0.1), (ChannelDetection{1, "confident", -0.2}));
    EXPECT_EQ(decide(0.2, -0.2, 0.30001, 0.1), (ChannelDetection{1, "verify by ear", -0.2}));

    // Under −70 dBFS the table still decides the layout, but never confidently.
    EXPECT_EQ(decide(0.98, 0.5, 0.1, 0.1, kNearlySilentPeak), (ChannelDetection{2, "confident", 0.5}));
    EXPECT_EQ(decide(0.98, 0.5, 0.1, 0.1, kNearlySilentPeak * 0.999), (ChannelDetection{2, "silent/constant", 0.5}));
}

TEST(DetectChannels, OnlyTheFirstTwelveMegabytesCount)
{
    // Stereo for the first 12 MB (and a stray byte), mono noise-free sine after it.
    auto bytes = test::encode(test::interleave(test::sine(3000000, 40, 10000), test::sine(3000000, 25, 8000)), SourceFormat::s16be);
    ASSERT_EQ(bytes.size(), 12000000u);
    bytes.push_back(0x42);
    const auto tail = test::encode(test::sine(400000, 20, 10000), SourceFormat::s16be);
    bytes.insert(bytes.end(), tail.begin(), tail.end());

    const auto prefixOnly = detectChannels(std::span(bytes).first(12000000), SourceFormat::s16be);
    EXPECT_EQ(detectChannels(bytes, SourceFormat::s16be), prefixOnly);
    EXPECT_EQ(prefixOnly.channels, 2);
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
        SCOPED_TRACE(testing::Message() << "delay " << delay);
        std::vector<std::int32_t> left(50000), right(50000);
        double filtered = 0;
        for (std::size_t i = 0; i < left.size(); ++i) {
            filtered += 0.6 * (source[i + 100 - static_cast<std::size_t>(delay)] - filtered);
            left[i] = static_cast<std::int32_t>(std::lround(source[i + 100] + noise(random)));
            right[i] = static_cast<std::int32_t>(std::lround(0.9 * filtered + noise(random)));
        }
        EXPECT_EQ(layoutOf(test::interleave(left, right), SourceFormat::s24le).channels, 2);
        EXPECT_EQ(layoutOf(left, SourceFormat::s24le).channels, 1) << "the first channel alone is mono";
    }
}

TEST(DetectFile, StatusText)
{
    // Samples whose two bytes are equal read the same in either byte order: the encoding is
    // a pure guess, so the answer cannot be confident, however clear its layout.
    std::vector<std::int32_t> twins = test::sine(40000, 20, 120);
    for (auto& v : twins)
        v = v * 257 + (v < 0 ? 256 : 0); // bytes (b, b): 0x7878, 0xF6F6, …
    const auto equalBytes = test::encode(twins, SourceFormat::s16be);
    ASSERT_EQ(detectChannels(equalBytes, SourceFormat::s16be).confidence, "confident");
    const auto sine = test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be);
    const auto wide = test::encode(twoTones(), SourceFormat::s16le);
    const auto automatic = SourceFormatChoice::automatic();
    EXPECT_EQ(detectFile(sine, automatic)->status, "16-bit BE (auto) · Mono · confident");
    EXPECT_EQ(detectFile(equalBytes, automatic)->status, "16-bit BE (auto) · Mono · verify by ear");
    EXPECT_FALSE(clearVerdict(detectFile(equalBytes, automatic)->format));
    EXPECT_EQ(detectFile(equalBytes, SourceFormatChoice::fixed(SourceFormat::s16be))->status, "16-bit BE (set) · Mono · confident") << "a format the user set is not ours to doubt";
    // Wide stereo scores low and close on neighbours in every encoding, but channel by
    // channel the choice is clear.
    EXPECT_EQ(detectFile(wide, automatic)->status, "16-bit LE (auto) · Stereo · confident");
    EXPECT_TRUE(detectFile(wide, automatic)->format.channelsChose);
    EXPECT_EQ(detectionStatus(SourceFormat::s24be, automatic, {2, "verify by ear", 0.02}), "24-bit BE (auto) · Stereo · verify by ear");

    // A fixed format drives the channel analysis and the label; the best encoding is still reported.
    const FileDetection fixed = *detectFile(sine, SourceFormatChoice::fixed(SourceFormat::s24le));
    EXPECT_EQ(fixed.format.best, SourceFormat::s16be);
    EXPECT_EQ(fixed.used, SourceFormat::s24le);
    EXPECT_EQ(fixed.channels, detectChannels(sine, SourceFormat::s24le));
    EXPECT_TRUE(fixed.status.starts_with("24-bit LE (set) · ")) << fixed.status;
}
