#include "core/pipeline/decodeToBuffer.hpp"
#include "core/pipeline/mapChannels.hpp"
#include "core/pipeline/resample.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

using namespace quorvel;

namespace {

PcmBufferPtr bufferOf(double rate, const std::vector<std::vector<float>>& channels)
{
    auto buffer = PcmBuffer::make(rate, static_cast<std::int64_t>(channels.size()), static_cast<std::int64_t>(channels[0].size()));
    buffer->setFrameLength(static_cast<std::int64_t>(channels[0].size()));
    for (std::size_t c = 0; c < channels.size(); ++c)
        std::copy(channels[c].begin(), channels[c].end(), buffer->channel(static_cast<std::int64_t>(c)));
    return buffer;
}

std::vector<float> sineWave(double rate, double hz, std::size_t frames, double amplitude = 0.5)
{
    std::vector<float> out(frames);
    for (std::size_t i = 0; i < frames; ++i)
        out[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * hz * static_cast<double>(i) / rate));
    return out;
}

// The tone at `hz` fitted to x by correlation: its amplitude and phase (x long against the period).
std::complex<double> fittedTone(const float* x, std::int64_t n, double rate, double hz)
{
    std::complex<double> sum;
    for (std::int64_t i = 0; i < n; ++i)
        sum += static_cast<double>(x[i]) * std::polar(1.0, -2 * std::numbers::pi * hz * static_cast<double>(i) / rate);
    return 2.0 * sum / static_cast<double>(n);
}

} // namespace

TEST(DecodeToBuffer, ValuesFramesAndChannels)
{
    EXPECT_EQ(decodeToBuffer({}, SourceFormat::s16be, 44100, 1), nullptr);
    const std::vector<std::uint8_t> five{0x80, 0x00, 0x00, 0x80, 0x11};
    const auto le = decodeToBuffer(five, SourceFormat::s16le, 44100, 1);
    ASSERT_TRUE(le);
    EXPECT_EQ(le->frameLength(), 2);
    EXPECT_EQ(le->channel(0)[0], 0.00390625f);
    EXPECT_EQ(le->channel(0)[1], -1.0f);
    EXPECT_EQ(decodeToBuffer(five, SourceFormat::s16be, 48000, 1)->channel(0)[0], -1.0f);

    const std::vector<std::uint8_t> seven{0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 0x00};
    const auto be = decodeToBuffer(seven, SourceFormat::s24be, 22050, 2);
    ASSERT_TRUE(be);
    EXPECT_EQ(be->frameLength(), 1);
    EXPECT_EQ(be->sampleRate(), 22050.0);
    EXPECT_EQ(be->channel(0)[0], 8388607.0f / 8388608.0f);
    EXPECT_EQ(decodeToBuffer(std::vector<std::uint8_t>{0xFF, 0xFF, 0x7F}, SourceFormat::s24le, 44100, 1)->channel(0)[0], 8388607.0f / 8388608.0f);

    // Even samples go left, odd ones right; maxFrames caps, and 0 frames is a failure.
    const auto stereo = test::encode({1, -2, 3, -4, 5, -6}, SourceFormat::s16be);
    const auto pair = decodeToBuffer(stereo, SourceFormat::s16be, 44100, 2, 99);
    ASSERT_EQ(pair->frameLength(), 3);
    EXPECT_EQ(pair->channel(0)[2], 5.0f / 32768);
    EXPECT_EQ(pair->channel(1)[2], -6.0f / 32768);
    EXPECT_EQ(decodeToBuffer(stereo, SourceFormat::s16be, 44100, 2, 2)->frameLength(), 2);
    EXPECT_EQ(decodeToBuffer(stereo, SourceFormat::s16be, 44100, 2, 0), nullptr);
    EXPECT_EQ(decodeToBuffer(stereo, SourceFormat::s16be, 44100, 0), nullptr);
}

TEST(MapChannels, PassThroughDuplicateAndFold)
{
    const auto stereo = bufferOf(48000, {{1.0f, 1.0f, 0.9f, 0.8f}, {-1.0f, 1.0f, 0.7f, 0.8f}});
    EXPECT_EQ(mapChannels(stereo, 2), stereo) << "nothing to do hands back the same buffer";

    const auto mono = mapChannels(stereo, 1);
    ASSERT_EQ(mono->channelCount(), 1);
    EXPECT_EQ(mono->sampleRate(), 48000.0);
    EXPECT_EQ(mono->channel(0)[0], 0.0f);
    EXPECT_EQ(mono->channel(0)[1], 1.0f) << "full-scale channels fold without overflow";
    EXPECT_FLOAT_EQ(mono->channel(0)[2], 0.8f);
    EXPECT_EQ(mono->channel(0)[3], 0.8f);

    const auto wide = mapChannels(mono, 2);
    for (int c = 0; c < 2; ++c)
        EXPECT_TRUE(std::equal(mono->channel(0), mono->channel(0) + 4, wide->channel(c))) << "channel " << c;

    auto empty = PcmBuffer::make(44100, 2, 0);
    empty->setFrameLength(0);
    const auto emptyMono = mapChannels(empty, 1);
    ASSERT_TRUE(emptyMono);
    EXPECT_EQ(emptyMono->channelCount(), 1);
    EXPECT_EQ(emptyMono->frameLength(), 0);
}

TEST(Resample, FullLengthAndChannelCount)
{
    for (double rate : {44100.0, 44100.4, 44100.5}) { // the same rate is the pass-through
        const auto buffer = bufferOf(rate, {sineWave(44100, 1000, 1000)});
        EXPECT_EQ(resample(buffer, 44100) == buffer, rate < 44100.5) << rate << " Hz";
    }
    // Flushed: floor(wanted / rate × frames) frames, no tail lost.
    const auto cases = {std::tuple{44100.0, 48000, 44100}, {48000.0, 44100, 48000}, {44100.0, 176400, 1000},
                        {44100.0, 96000, 12345}, {22050.0, 88200, 7}};
    for (auto [from, to, frames] : cases) {
        SCOPED_TRACE(testing::Message() << frames << " frames " << from << "→" << to);
        const auto buffer = bufferOf(from, {sineWave(from, 440, frames), sineWave(from, 660, frames)});
        const auto out = resample(buffer, to);
        ASSERT_TRUE(out);
        EXPECT_EQ(out->frameLength(), static_cast<std::int64_t>(std::floor(to / from * frames)));
        EXPECT_EQ(out->channelCount(), 2);
        EXPECT_EQ(out->sampleRate(), static_cast<double>(to));
    }
}

TEST(Resample, QualityOfAResampledSine)
{
    // 1 kHz at 44.1 → 48 kHz: the tone survives at its level and nothing else comes with
    // it (THD+N well below −100 dB), and a 20 kHz tone stays in the passband.
    constexpr std::int64_t frames = 44100 * 2;
    const auto out = resample(bufferOf(44100, {sineWave(44100, 1000, frames)}), 48000);
    ASSERT_TRUE(out);
    const std::int64_t skip = 4800, n = 48000; // away from the edges
    const float* x = out->channel(0) + skip;
    const std::complex<double> fitted = fittedTone(x, n, 48000, 1000);
    EXPECT_NEAR(std::abs(fitted), 0.5, 0.5 * 1e-4);

    // Residual after removing the fitted tone.
    double residual = 0, power = 0;
    for (std::int64_t i = 0; i < n; ++i) {
        const double tone = (fitted * std::polar(1.0, 2 * std::numbers::pi * 1000 * static_cast<double>(i) / 48000)).real();
        residual += (x[i] - tone) * (x[i] - tone);
        power += tone * tone;
    }
    EXPECT_LT(10 * std::log10(residual / power), -100.0);

    const auto high = resample(bufferOf(44100, {sineWave(44100, 20000, frames)}), 48000);
    const double level = std::abs(fittedTone(high->channel(0) + skip, n, 48000, 20000));
    EXPECT_NEAR(20 * std::log10(level / 0.5), 0.0, 0.1) << "20 kHz must stay in the passband";
}
