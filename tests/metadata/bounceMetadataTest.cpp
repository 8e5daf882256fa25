#include "core/pipeline/bounceFile.hpp"
#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

using namespace quorvel;
namespace fs = std::filesystem;
using test::Bytes;

namespace {

struct Lines : BounceObserver {
    std::string line;
    void analysed(const std::string& text) override { line = text; }
};

struct Wav {
    int rate = 0, channels = 0;
    std::vector<std::int32_t> samples; // full-scale 32-bit
};

Wav readWav(const fs::path& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    Wav wav;
    if (!file)
        return wav;
    wav.rate = info.samplerate;
    wav.channels = info.channels;
    wav.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    sf_read_int(file, wav.samples.data(), static_cast<sf_count_t>(wav.samples.size()));
    sf_close(file);
    return wav;
}

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
        const BounceItem item{path, [] { return SourceFormat(SourceFormat::s16le); }, [=] { return channels; }, std::nullopt};
        return bounceFile(item, settings, lines);
    }
    test::ScratchDir dir;
    BounceSettings settings; // sourceRate 44100: files with their own rate must not use it
    Lines lines;
};

} // namespace

TEST_F(BounceMetadata, ConvertsAtTheFilesOwnRateAndDropsAPartialFrame)
{
    Bytes audio = test::encode(test::interleave(test::sine(48000, 80, 3e6), test::sine(48000, 120, 3e6)),
                               SourceFormat::s24be);
    audio.insert(audio.end(), {1, 2, 3, 4}); // not a whole frame
    const fs::path take = dir.write("take.sd2", audio);
    dir.write("._take.sd2", test::appleDouble(test::resourceFork({"3", "48000.000000", "2"})));
    settings.targetRate = 48000;
    const BounceResult result = bounce(take, 2);
    ASSERT_TRUE(result.ok) << result.status << result.reason;
    EXPECT_EQ(lines.line, "Heard 24-bit big-endian · stereo · 48 kHz");
    const Wav wav = readWav(result.output);
    EXPECT_EQ(wav.rate, 48000);
    EXPECT_EQ(wav.samples.size(), 96000u); // not resampled from 44.1 kHz, partial frame gone
    EXPECT_EQ(wav.samples[2], test::sine(3, 80, 3e6)[1] * 256);
}

TEST_F(BounceMetadata, EightBitAndThirtyTwoBitSourcesComeThroughExactly)
{
    const auto eight = test::sine(30000, 50, 100);
    Bytes bytes;
    for (std::int32_t v : eight)
        bytes.push_back(static_cast<std::uint8_t>(static_cast<std::int8_t>(v)));
    const fs::path eightBit = dir.write("eight.sd2", bytes);
    dir.write("._eight.sd2", test::resourceFork({"1", "22050", "1"}));
    settings.targetRate = 22050;
    settings.depth = 16;
    BounceResult result = bounce(eightBit, 1);
    ASSERT_TRUE(result.ok) << result.status << result.reason;
    EXPECT_EQ(result.format, SourceFormat::s8);
    Wav wav = readWav(result.output);
    ASSERT_EQ(wav.samples.size(), eight.size());
    for (std::size_t i = 0; i < eight.size(); ++i)
        ASSERT_EQ(wav.samples[i], eight[i] << 24) << i; // 1/128 scale, written at 16 bits exactly

    // 32-bit samples using every bit, at their own rate, depth and layout.
    auto left = test::sine(20000, 70, 2147483000.0), right = test::sine(20000, 90, 2147483000.0);
    for (std::size_t i = 0; i < left.size(); ++i)
        left[i] ^= static_cast<std::int32_t>(i & 0xFF); // low bits a float cannot carry
    const auto frames = test::interleave(left, right);
    Bytes wide;
    for (std::int32_t v : frames)
        test::put(wide, static_cast<std::uint32_t>(v), 4);
    const fs::path thirtyTwo = dir.write("wide.sd2", wide);
    dir.write("._wide.sd2", test::appleDouble(test::resourceFork({"4", "96000", "2"})));
    settings.targetRate = 96000;
    settings.depth = 32;
    result = bounce(thirtyTwo, 2);
    ASSERT_TRUE(result.ok) << result.status << result.reason;
    wav = readWav(result.output);
    EXPECT_EQ(wav.rate, 96000);
    EXPECT_EQ(wav.samples, frames);
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
        const Wav wav = readWav(result.output);
        ASSERT_EQ(wav.samples.size(), samples.size()); // no header bytes, no fork, no padding
        EXPECT_EQ(wav.samples.front(), samples.front() << 16);
        EXPECT_EQ(wav.samples.back(), samples.back() << 16);
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
    const Wav wav = readWav(result.output);
    EXPECT_EQ(wav.rate, 48000);
    std::vector<std::int32_t> expected;
    for (std::int32_t v : test::interleave(left, right))
        expected.push_back(v * 256);
    EXPECT_EQ(wav.samples, expected);

    dir.write("._Pad.R.sd2", test::appleDouble(test::resourceFork({"3", "44100.000000", "1"})));
    const BounceResult mixed = bounceFile(pair, settings, lines);
    EXPECT_FALSE(mixed.ok);
    EXPECT_EQ(mixed.status, "L and R read differently — L 24-bit BE mono 48 kHz, R 24-bit BE mono 44.1 kHz; "
                            "split them to bounce each at its own rate");
}
