#include "core/pipeline/convertOneNative.hpp"
#include "support/files.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

// Music-like material: two tones under noise, with sparse near-full-scale hits that make
// the limiter and the true-peak trim work when the level is raised.
std::vector<std::uint8_t> material(std::int64_t frames, std::int64_t channels, SourceFormat format)
{
    const double full = format.bytesPerSample() == 2 ? 32767.0 : 8388607.0;
    std::mt19937 random(static_cast<std::uint32_t>(frames * 7 + channels));
    std::normal_distribution<double> noise(0.0, 0.02);
    std::vector<std::int32_t> samples;
    for (std::int64_t i = 0; i < frames; ++i)
        for (std::int64_t c = 0; c < channels; ++c) {
            const double t = static_cast<double>(i);
            double v = 0.25 * std::sin(2 * std::numbers::pi * t / (97.0 + 13.0 * static_cast<double>(c))) +
                       0.1 * std::sin(2 * std::numbers::pi * t / 7.3) + noise(random);
            if (i % 4999 < 3)
                v = i % 2 ? 0.97 : -0.99;
            samples.push_back(static_cast<std::int32_t>(std::lround(std::clamp(v, -1.0, 1.0) * full)));
        }
    return test::encode(samples, format);
}

struct Case {
    std::int64_t frames, srcRate, targetRate, srcChannels, outChannels, depth;
    SourceFormat format;
    bool normalize;
};

std::string describe(const Case& c)
{
    return std::to_string(c.frames) + " frames " + std::string(c.format.rawValue()) + " " + std::to_string(c.srcRate) +
           "→" + std::to_string(c.targetRate) + " " + std::to_string(c.srcChannels) + "→" +
           std::to_string(c.outChannels) + " ch " + std::to_string(c.depth) + "-bit" +
           (c.normalize ? " normalised" : "");
}

void expectSameBytes(const Case& c)
{
    test::ScratchDir dir;
    const auto bytes = material(c.frames, c.srcChannels, c.format);
    const auto run = [&](auto convert, const std::string& name) {
        const ConversionResult r = convert(bytes, dir / name, c.format, c.srcRate, c.srcChannels, c.targetRate,
                                           c.outChannels, c.depth, c.normalize);
        EXPECT_TRUE(r.ok) << describe(c) << ": " << r.error;
        return test::slurp(dir / name);
    };
    const std::string reference = run(convertWholeBuffer, "whole.wav");
    const std::string streamed = run(convertOneNative, "blocks.wav");
    ASSERT_FALSE(reference.empty()) << describe(c);
    EXPECT_TRUE(streamed == reference) << describe(c) << ": " << streamed.size() << " bytes written block by block, "
                                       << reference.size() << " by the whole-buffer stages";
}

} // namespace

TEST(ConvertInBlocks, WritesTheWholeBufferStagesBytes)
{
    // Lengths from one frame to several blocks (a block is 32768 source frames), on both
    // sides of a block boundary and either side of the 400 ms loudness needs; every layout;
    // up, down and no rate change; plain and normalised, whose every pass streams the
    // source again and must see the same samples.
    const std::int64_t lengths[] = {1, 1000, 32768, 32769, 150001};
    const std::int64_t rates[][2] = {{44100, 48000}, {48000, 44100}, {22050, 96000}, {44100, 44100}};
    const std::int64_t layouts[][2] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}};
    const SourceFormat formats[] = {SourceFormat::s16be, SourceFormat::s24le};
    int n = 0;
    for (const bool normalize : {false, true})
        for (std::int64_t frames : lengths)
            for (const auto& rate : rates)
                for (const auto& layout : layouts) {
                    ++n;
                    expectSameBytes(
                        {frames, rate[0], rate[1], layout[0], layout[1], 16 + 8 * (n % 3), formats[n % 2], normalize});
                }
    // Long peaky material whose limiting makes the loudness miss the target, so the gain is
    // corrected over further passes.
    expectSameBytes({200000, 48000, 44100, 2, 2, 32, SourceFormat::s24le, true});
}
