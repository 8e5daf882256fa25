#include "core/formats/OutputOptions.hpp"
#include "core/io/PartialFile.hpp"
#include "core/pipeline/decodeToBuffer.hpp"
#include "core/pipeline/outputNaming.hpp"
#include "core/pipeline/writeWAV.hpp"
#include "support/files.hpp"
#include "support/signals.hpp"
#include "support/wav.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <thread>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

PcmBufferPtr floats(std::vector<float> values)
{
    auto buffer = PcmBuffer::make(48000, 1, static_cast<std::int64_t>(values.size()));
    buffer->setFrameLength(static_cast<std::int64_t>(values.size()));
    std::copy(values.begin(), values.end(), buffer->channel(0));
    return buffer;
}

} // namespace

TEST(OutputNaming, NamesAndCollisions)
{
    test::ScratchDir dir;
    EXPECT_EQ(uniqueOutput(dir.path(), "take", 44100, 16, 1).filename(), "take_44.1kHz_16bit_mono.wav");
    EXPECT_EQ(uniqueOutput(dir.path(), "take", 96000, 32, 2).filename(), "take_96kHz_32bit_stereo.wav");
    EXPECT_EQ(uniqueOutput(dir.path(), "take", 88200, 24, 3).filename(), "take_88.2kHz_24bit_stereo.wav");

    dir.write("x_48kHz_24bit_stereo (2).wav", {});
    EXPECT_EQ(uniqueOutput(dir.path(), "x", 48000, 24, 2).filename(), "x_48kHz_24bit_stereo.wav");
    dir.write("x_48kHz_24bit_stereo.wav", {});
    EXPECT_EQ(uniqueOutput(dir.path(), "x", 48000, 24, 2).filename(), "x_48kHz_24bit_stereo (3).wav");
    EXPECT_EQ(uniqueOutput(dir.path(), "Kick (2)", 48000, 24, 2).filename(), "Kick (2)_48kHz_24bit_stereo.wav");

    EXPECT_EQ(nextOutputCandidate("/o/x_48kHz_24bit_stereo.wav"), fs::path("/o/x_48kHz_24bit_stereo (2).wav"));
    EXPECT_EQ(nextOutputCandidate("/o/x_48kHz_24bit_stereo (9).wav"), fs::path("/o/x_48kHz_24bit_stereo (10).wav"));

    EXPECT_EQ(khz(22050), "22.1 kHz");
    EXPECT_EQ(khz(11025), "11.0 kHz");
    EXPECT_EQ(khz(96000), "96 kHz");

    // Names too long for the file system are cut and marked; the next of the series is cut
    // from the same place, and still fits.
    const std::string stem = outputStem(std::string(250, 'n'), 48000, 24, 2);
    EXPECT_EQ(outputCandidate("/o", stem, 1).filename(), std::string(229, 'n') + "…_48kHz_24bit_stereo.wav");
    EXPECT_EQ(nextOutputCandidate(outputCandidate("/o", stem, 9)).filename(), std::string(224, 'n') + "…_48kHz_24bit_stereo (10).wav");
    EXPECT_EQ(outputCandidate("/o", "short", 10).filename(), "short (10).wav");
}

// Integer sources round-trip bit-exactly; out-of-range values saturate and NaN writes as 0;
// 32-bit is integer PCM, never float.
TEST(WriteWAV, WritesEachDepthExactlyAndSaturates)
{
    test::ScratchDir dir;
    const auto decoded = [](int depth) {
        const std::int32_t full = depth == 16 ? 32768 : 8388608;
        std::vector<std::int32_t> samples = test::sine(1000, 37, full * 0.9);
        samples.insert(samples.end(), {-full, full - 1, 0, -1, 1});
        const SourceFormat format = depth == 16 ? SourceFormat::s16le : SourceFormat::s24be;
        return std::pair{decodeToBuffer(test::encode(samples, format), format, 44100, 1), samples};
    };
    const auto extremes = floats({1.0f, -1.0f, 1.5f, -3.0f, 0.5f, std::numeric_limits<float>::quiet_NaN()});
    const struct {
        std::pair<PcmBufferPtr, std::vector<std::int32_t>> in;
        int depth, format;
    } cases[] = {
        {decoded(16), 16, SF_FORMAT_PCM_16},
        {decoded(24), 24, SF_FORMAT_PCM_24},
        {{extremes, {32767, -32768, 32767, -32768, 16384, 0}}, 16, SF_FORMAT_PCM_16},
        {{extremes, {2147483647, -2147483647 - 1, 2147483647, -2147483647 - 1, 1073741824, 0}}, 32, SF_FORMAT_PCM_32},
    };
    for (int i = 0; const auto& c : cases) {
        const test::Wav wav = test::readWav(writeWAV(*c.in.first, dir / (std::to_string(i++) + ".wav"), c.depth));
        EXPECT_EQ(wav.info.format, SF_FORMAT_WAV | c.format) << i;
        EXPECT_EQ(wav.info.samplerate, c.in.first->sampleRate()) << i;
        EXPECT_EQ(wav.samples, test::leftAligned(c.in.second, c.depth)) << i;
    }

    // A 16-bit file's data chunk is the little-endian source bytes themselves.
    const auto source = test::encode(test::sine(500, 21, 30000), SourceFormat::s16le);
    const auto written = writeWAV(*decodeToBuffer(source, SourceFormat::s16le, 44100, 1), dir / "raw.wav", 16);
    const std::string file = test::slurp(written);
    EXPECT_EQ(file.substr(file.size() - source.size()), std::string(source.begin(), source.end()));
}

TEST(WriteWAV, NeverReplacesAndLeavesNoPartialFile)
{
    test::ScratchDir dir;
    const auto buffer = floats({0.25f, -0.25f});
    const fs::path wanted = dir / "x_48kHz_16bit_mono.wav";
    dir.write(wanted.filename().string(), {'k', 'e', 'e', 'p'});

    const fs::path written = writeWAV(*buffer, wanted, 16);
    EXPECT_EQ(written, dir / "x_48kHz_16bit_mono (2).wav");
    EXPECT_EQ(test::slurp(wanted), "keep");
    EXPECT_EQ(test::readWav(written).info.frames, 2);

    try {
        writeWAV(*buffer, dir / "missing" / "y.wav", 16);
        ADD_FAILURE() << "writing into a missing folder must fail";
    } catch (const WriteError& error) {
        EXPECT_NE(std::string(error.what()).find((dir / "missing").string()), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("No such file or directory"), std::string::npos) << error.what();
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), {}), 2) << "only the kept file and the new one: no partial file left behind";
}

// Where hard links are missing (FAT, exFAT, some network shares), publishing falls back to a
// no-replace rename, or to an exclusive claim of the name; forced here through the test
// seam. Writers racing for one series of names must each land on a name of their own.
TEST(PartialFile, RacingPublishersNeverReplaceEachOtherWithoutHardLinks)
{
    for (const char* fallback : {"rename", "claim"}) {
        test::ScratchDir dir;
        ::setenv("QUORVEL_TEST_PUBLISH", fallback, 1);
        constexpr int kThreads = 4, kEach = 40;
        std::vector<std::vector<fs::path>> landed(kThreads);
        {
            std::vector<std::jthread> writers;
            for (int t = 0; t < kThreads; ++t)
                writers.emplace_back([&, t] {
                    for (int i = 0; i < kEach; ++i) {
                        PartialFile file = PartialFile::create(dir / "x.wav");
                        const std::string text = std::to_string(t) + "/" + std::to_string(i);
                        ASSERT_TRUE(file.writeAll({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}));
                        landed[t].push_back(file.publish(dir / "x.wav", nextOutputCandidate));
                    }
                });
        }
        ::unsetenv("QUORVEL_TEST_PUBLISH");
        EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), {}), kThreads * kEach) << fallback << ": no file replaced, no partial file left";
        for (int t = 0; t < kThreads; ++t)
            for (int i = 0; i < kEach; ++i)
                EXPECT_EQ(test::slurp(landed[t][i]), std::to_string(t) + "/" + std::to_string(i)) << fallback;
    }
}
