#include "core/pipeline/bounceFile.hpp"
#include "core/pipeline/convertOneNative.hpp"
#include "support/files.hpp"
#include "support/riff.hpp"
#include "support/signals.hpp"
#include "support/wav.hpp"

#include <gtest/gtest.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

struct Silent : BounceObserver {};

class BouncePair : public ::testing::Test {
protected:
    BouncePair()
    {
        settings.outputFolder = dir / "out";
        fs::create_directories(settings.outputFolder);
        settings.targetRate = 44100;
        settings.depth = 16;
        settings.channels = TargetChannels::preserve;
    }
    BounceResult bounce(const fs::path& left, const fs::path& right)
    {
        // What detection put on the item plays no part: the pair is read afresh.
        return bounceFile({left, [] { return SourceFormat{SourceFormat::s24le}; }, [] { return std::int64_t{1}; }, right},
                          settings, observer);
    }
    test::ScratchDir dir;
    BounceSettings settings;
    Silent observer;
};

} // namespace

// Interleaved bit-exactly at the source's rate and depth; a shorter half is padded with
// silence, and the status says so.
TEST_F(BouncePair, InterleavesTheHalvesBitExactlyAndPadsTheShorterOne)
{
    const struct {
        const char *left, *right;
        std::size_t rightFrames;
        SourceFormat format;
        std::string status;
    } cases[] = {{"Gtr.L.sd2", "Gtr.R.sd2", 44100, SourceFormat::s16be, "Bounced → Gtr_44.1kHz_16bit_stereo.wav"},
                 {"Vox.l", "Vox.r", 39690, SourceFormat::s16le,
                  "Bounced → Vox_44.1kHz_16bit_stereo.wav · R padded with 0.10 s of silence"}};
    const auto l = test::sine(44100, 20, 9000);
    for (const auto& c : cases) {
        auto r = test::sine(c.rightFrames, 33, 12000);
        const BounceResult result = bounce(dir.write(c.left, test::encode(l, c.format)), dir.write(c.right, test::encode(r, c.format)));
        ASSERT_TRUE(result.ok) << result.status;
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(result.sourceChannels, 2);
        const test::Wav wav = test::readWav(result.output);
        EXPECT_EQ(wav.info.channels, 2);
        r.resize(l.size(), 0);
        EXPECT_EQ(wav.samples, test::leftAligned(test::interleave(l, r), 16)) << c.left;
    }
    settings.channels = TargetChannels::mono; // the pair goes through the stereo pipeline: downmixed
    EXPECT_EQ(bounce(dir / "Gtr.L.sd2", dir / "Gtr.R.sd2").status, "Bounced → Gtr_44.1kHz_16bit_mono.wav");
}

TEST_F(BouncePair, StreamsAsTheSameStereoFileWouldConvert)
{
    // Past several blocks, resampled, the right half ending in the middle of a block.
    const auto l = test::sine(100000, 20, 9000), r = test::sine(70001, 33, 12000);
    settings.targetRate = 48000;
    settings.depth = 24;
    const BounceResult pair = bounce(dir.write("Pad.L.sd2", test::encode(l, SourceFormat::s16be)),
                                     dir.write("Pad.R.sd2", test::encode(r, SourceFormat::s16be)));
    ASSERT_TRUE(pair.ok) << pair.status;

    auto padded = r;
    padded.resize(l.size(), 0);
    const auto stereo = test::encode(test::interleave(l, padded), SourceFormat::s16be);
    const ConversionResult whole = convertWholeBuffer(stereo, dir / "whole.wav", SourceFormat::s16be, 44100, 2, 48000,
                                                      2, 24, false);
    ASSERT_TRUE(whole.ok) << whole.error;
    auto streamed = test::chunksOf(pair.output), reference = test::chunksOf(whole.written);
    EXPECT_EQ(streamed["fmt "], reference["fmt "]);
    EXPECT_TRUE(streamed["data"] == reference["data"]);
}

TEST_F(BouncePair, RefusesHalvesThatReadDifferentlyUnlessTheFormatIsFixed)
{
    const auto left = dir.write("Mix.L.sd2", test::encode(test::sine(40000, 20, 9000), SourceFormat::s16be));
    const auto right = dir.write("Mix.R.sd2", test::encode(test::sine(40000, 20, 10000), SourceFormat::s16le));
    const BounceResult refused = bounce(left, right);
    EXPECT_FALSE(refused.ok);
    EXPECT_TRUE(refused.status.starts_with("L and R read differently — ")) << refused.status;
    EXPECT_TRUE(fs::is_empty(settings.outputFolder));

    // Fixed to the left half's encoding, the right half reads as noise there: refused as static.
    settings.sourceFormat = SourceFormatChoice::fixed(SourceFormat::s16be);
    const BounceResult fixed = bounce(left, right);
    EXPECT_EQ(fixed.status, "Reads as static — try another source format in Advanced");
    EXPECT_EQ(fixed.reason, "the R half reads as noise in 16-bit BE");
    settings.sessionFormat = true; // the pair's session settled it: converted as read
    EXPECT_TRUE(bounce(left, right).ok);
    settings.sessionFormat = false;

    // A half that fades to −70 dBFS is judged by its other half, and is no noise.
    settings.sourceFormat = SourceFormatChoice::automatic();
    EXPECT_TRUE(bounce(dir.write("Fade.L.sd2", test::encode(test::noise(40000, 10), SourceFormat::s16be)), left).ok);
}
