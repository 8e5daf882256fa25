#include "support/bounce.hpp"
#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/signals.hpp"
#include "support/wav.hpp"

#include <gtest/gtest.h>

using namespace quorvel;
namespace fs = std::filesystem;
using test::Bytes;

namespace {

struct Lines : BounceObserver {
    std::string line;
    void analysed(const std::string& text) override { line = text; }
};

class BounceMetadata : public ::testing::Test {
protected:
    BounceMetadata()
    {
        settings.outputFolder = dir / "out";
        settings.channels = TargetChannels::preserve;
        fs::create_directories(settings.outputFolder);
    }
    BounceResult bounce(const fs::path& path, std::int64_t channels)
    {
        // The detected format is deliberately wrong: the metadata must win.
        return bounceFile(test::itemFor(path, SourceFormat::s16le, channels), settings, lines);
    }
    test::ScratchDir dir;
    BounceSettings settings; // sourceRate 44100: files with their own rate must not use it
    Lines lines;
};

} // namespace

// At their own rate (never the 44.1 kHz setting), depth and layout, sample for sample; a
// trailing partial frame is dropped. The 8-bit stereo take's unrelated channels read as
// noise interleaved, and its frames as smooth 16-bit samples: the fork stands, judged
// channel by channel. So does it over a take brought down 78 dB, as rough as noise, and over
// loud white noise, which reads as noise in every encoding and is valid audio all the same.
TEST_F(BounceMetadata, ConvertsExactlyAsItsOwnMetadataDescribesIt)
{
    auto left = test::sine(20000, 70, 2147483000.0), right = test::sine(20000, 90, 2147483000.0);
    for (std::size_t i = 0; i < left.size(); ++i)
        left[i] ^= static_cast<std::int32_t>(i & 0xFF); // low bits a float cannot carry
    struct Case {
        int bytes;
        std::int64_t channels, rate;
        std::vector<std::int32_t> samples;
    };
    const Case cases[] = {
        {1, 1, 22050, test::sine(30000, 50, 100)},
        {1, 2, 22050, test::interleave(test::sine(66150, 50.1, 64), test::sine(66150, 17.64, 64))},
        {3, 2, 48000, test::interleave(test::sine(48000, 80, 3e6), test::sine(48000, 120, 3e6))},
        {3, 1, 48000, test::noise(30000, 1055)},
        {3, 1, 48000, test::noise(30000, 4000000)},
        {2, 2, 44100, test::noise(30000, 30000)},
        {4, 2, 96000, test::interleave(left, right)},
    };
    for (const Case& c : cases) {
        Bytes bytes;
        for (const std::int32_t v : c.samples)
            test::put(bytes, static_cast<std::uint32_t>(v), c.bytes);
        bytes.resize(bytes.size() + static_cast<std::size_t>(c.bytes * c.channels - 1), 0x55); // not a whole frame
        const std::string name = "take" + std::to_string(c.bytes) + std::to_string(c.channels) + ".sd2";
        const fs::path path = dir.write(name, bytes);
        dir.write("._" + name, test::appleDouble(test::resourceFork(
                                   {std::to_string(c.bytes), std::to_string(c.rate), std::to_string(c.channels)})));
        settings.targetRate = c.rate;
        settings.depth = c.bytes == 1 ? 16 : 8 * c.bytes;
        const BounceResult result = bounce(path, c.channels);
        ASSERT_TRUE(result.ok) << result.status << result.reason;
        EXPECT_FALSE(result.autoCorrected) << name;
        EXPECT_TRUE(result.format.isBigEndian() && result.format.bytesPerSample() == c.bytes) << name;
        const test::Wav wav = test::readWav(result.output);
        EXPECT_EQ(wav.info.samplerate, c.rate);
        // 8 bits at 1/128 scale, written at 16 bits exactly.
        EXPECT_EQ(wav.samples, test::leftAligned(c.samples, 8 * c.bytes)) << name;
    }
}

// A fork whose encoding reads as noise where another reads clearly gives way to the audio,
// but its rate stays the file's.
TEST_F(BounceMetadata, AnOverruledForkKeepsItsRate)
{
    const fs::path take = dir.write("take.sd2", test::encode(test::sine(48000, 40, 9000), SourceFormat::s16le));
    dir.write("._take.sd2", test::appleDouble(test::resourceFork({"3", "48000", "2"})));
    settings.targetRate = 48000;
    const BounceResult result = bounce(take, 1);
    ASSERT_TRUE(result.ok) << result.status << result.reason;
    EXPECT_EQ(lines.line, "Heard 16-bit little-endian · mono · 48 kHz");
    EXPECT_EQ(test::readWav(result.output).samples.size(), 48000u);
}

TEST_F(BounceMetadata, MacBinaryConvertsItsDataForkUnderItsStoredName)
{
    const auto samples = test::sine(40000, 64, 9000);
    const Bytes data = test::encode(samples, SourceFormat::s16be);
    settings.targetRate = 44100;
    settings.depth = 16;
    // A stored name that would make a hidden file, or none, gives way to the file's own.
    const std::pair<std::string, std::string> names[] = {{"Mix 3/caf\x8E \xA5", "Mix 3_café •"}, // from Mac OS Roman
                                                         {".", "MIX3~1"}, {"..", "MIX3~1"}, {"._take.sd2", "MIX3~1"}};
    for (const auto& [stored, base] : names) {
        const fs::path bin = dir.write("MIX3~1.BIN", test::macBinary(stored, data, test::resourceFork({"2", "44100", "1"})));
        const BounceResult result = bounce(bin, 1);
        ASSERT_TRUE(result.ok) << result.status << result.reason;
        EXPECT_EQ(result.output.filename(), base + "_44.1kHz_16bit_mono.wav");
        EXPECT_EQ(test::readWav(result.output).samples, test::leftAligned(samples, 16)); // no header, fork or padding
        fs::remove(result.output);
    }
}

// A split-stereo pair whose halves kept their forks: their encoding and rate, bit-exact.
TEST_F(BounceMetadata, PairHalvesUseTheirOwnMetadata)
{
    const auto left = test::sine(4800, 20, 900000), right = test::sine(4800, 31, 700000);
    const fs::path l = dir.write("Pad.L.sd2", test::encode(left, SourceFormat::s24be));
    const fs::path r = dir.write("Pad.R.sd2", test::encode(right, SourceFormat::s24be));
    dir.write("._Pad.L.sd2", test::appleDouble(test::resourceFork({"3", "48000.000000", "1"})));
    dir.write("._Pad.R.sd2", test::appleDouble(test::resourceFork({"3", "48000.000000", "1"})));
    settings.targetRate = 48000;
    const BounceItem pair{l, [] { return SourceFormat(SourceFormat::s16le); }, [] { return std::int64_t{1}; }, r};
    const BounceResult result = bounceFile(pair, settings, lines);
    ASSERT_TRUE(result.ok) << result.status;
    EXPECT_EQ(lines.line, "Heard 24-bit big-endian · stereo · 48 kHz");
    const test::Wav wav = test::readWav(result.output);
    EXPECT_EQ(wav.info.samplerate, 48000);
    EXPECT_EQ(wav.samples, test::leftAligned(test::interleave(left, right), 24));

    dir.write("._Pad.R.sd2", test::appleDouble(test::resourceFork({"3", "44100.000000", "1"})));
    const BounceResult mixed = bounceFile(pair, settings, lines);
    EXPECT_FALSE(mixed.ok);
    EXPECT_EQ(mixed.status, "L and R read differently — L 24-bit BE mono 48 kHz, R 24-bit BE mono 44.1 kHz; "
                            "split them to bounce each at its own rate");
    // A half of loud noise under its fork is valid audio too.
    dir.write("._Pad.R.sd2", test::appleDouble(test::resourceFork({"3", "48000.000000", "1"})));
    dir.write("Pad.R.sd2", test::encode(test::noise(4800, 8000000), SourceFormat::s24be));
    EXPECT_TRUE(bounceFile(pair, settings, lines).ok);
}
