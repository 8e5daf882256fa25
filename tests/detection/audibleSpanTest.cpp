#include "core/detection/audibleSpan.hpp"
#include "core/detection/detectBestFormat.hpp"
#include "core/detection/detectChannels.hpp"
#include "core/detection/detectFile.hpp"
#include "core/detection/smoothness.hpp"
#include "core/io/MappedFile.hpp"
#include "support/files.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

using namespace quorvel;

namespace {

constexpr std::size_t kFramesPerSecond = 44100;

// Two unrelated tones, as interleaved stereo.
std::vector<std::int32_t> twoTones(std::size_t frames, double amplitude)
{
    return test::interleave(test::sine(frames, 40, amplitude), test::sine(frames, 25, amplitude * 0.8));
}

} // namespace

TEST(AudibleSpan, FoundToWithinOneProbeOrNotAtAll)
{
    // 2 s of dithered silence, 3 s of tones, 4 s of silence, as 24-bit: the audio's first
    // and last audible bytes are known.
    const auto tones = twoTones(3 * kFramesPerSecond, 1000000);
    const auto samples = test::joined(test::joined(test::ditheredSilence(4 * kFramesPerSecond), tones),
                                      test::ditheredSilence(8 * kFramesPerSecond, 2));
    const auto bytes = test::encode(samples, SourceFormat::s24le);
    const std::int64_t audioBegin = 4 * kFramesPerSecond * 3, audioEnd = audioBegin + std::ssize(tones) * 3;

    const auto span = findAudibleSpan(bytes);
    ASSERT_TRUE(span);
    // The tones' first sample is 0; the span starts on it, as a multiple of 12 keeps every
    // sample and frame in place.
    EXPECT_EQ(span->begin, audioBegin);
    EXPECT_EQ(span->end, audioEnd);

    // The span holds only audio and silence found next to it, so it is found again in place.
    const ByteView part = *audiblePart(bytes);
    EXPECT_EQ(part.data(), bytes.data() + span->begin);
    EXPECT_EQ(findAudibleSpan(part), (AudibleSpan{0, std::ssize(part)}));

    // A take that starts on a few hundred silent samples is judged whole, as it always was.
    const auto whole = test::encode(twoTones(20000, 9000), SourceFormat::s16be);
    EXPECT_EQ(findAudibleSpan(whole), (AudibleSpan{0, std::ssize(whole)}));
    const auto shortLead = test::encode(test::joined(test::ditheredSilence(1000), twoTones(20000, 9000)), SourceFormat::s16be);
    EXPECT_EQ(findAudibleSpan(shortLead), (AudibleSpan{0, std::ssize(shortLead)}));

    EXPECT_FALSE(findAudibleSpan({}));
    EXPECT_FALSE(findAudibleSpan(std::vector<std::uint8_t>(100000, 0)));
    EXPECT_FALSE(findAudibleSpan(test::encode(test::ditheredSilence(300000), SourceFormat::s16le)));
    // Four steps of dither is past the reach of silence.
    std::vector<std::uint8_t> quiet(100000, 0);
    quiet[77777] = 4;
    EXPECT_TRUE(findAudibleSpan(quiet));

    // A tiny file that is audio is its own span, too short to be anything but whole.
    const auto tiny = test::encode(test::sine(20, 20, 10000), SourceFormat::s16be);
    EXPECT_EQ(audiblePart(tiny)->size(), tiny.size());
}

// Silence longer than the 12 MB prefix once decided the layout ("Mono", so a WAV twice as
// long) and, for unrelated channels, made the file read as static.
TEST(AudibleSpan, LayoutIsJudgedOnTheAudioAfterALongSilence)
{
    const auto lead = test::ditheredSilence(70 * kFramesPerSecond * 2);
    const auto same = test::sine(5 * kFramesPerSecond, 200, 9000);
    const std::vector<std::int32_t> zeros(lead.size(), 0);
    // One tone in both channels, each dithered on its own, as a recorder writes it.
    auto left = same, right = same;
    std::ranges::transform(left, test::ditheredSilence(same.size(), 3), left.begin(), std::plus<>());
    std::ranges::transform(right, test::ditheredSilence(same.size(), 4), right.begin(), std::plus<>());
    const std::pair<const char*, std::vector<std::int32_t>> takes[] = {
        {"two tones after dither", test::joined(lead, twoTones(5 * kFramesPerSecond, 9000))},
        {"one tone twice after zeros", test::joined(zeros, test::interleave(same, same))},
        {"one tone dithered per channel after dither", test::joined(lead, test::interleave(left, right))},
    };
    for (const auto& [name, take] : takes) {
        SCOPED_TRACE(name);
        const FileDetection found = *detectFile(test::encode(take, SourceFormat::s16be), SourceFormatChoice::automatic());
        EXPECT_EQ(found.format.best, SourceFormat::s16be);
        EXPECT_EQ(found.channels.channels, 2);
        EXPECT_NE(found.channels.confidence, "silent/constant");
    }
}

// A short take in the middle of a long silence: windows spread over the whole file all
// land in silence, where every encoding scores alike.
TEST(AudibleSpan, EncodingWindowsSitOnTheAudio)
{
    const auto silence = test::ditheredSilence(60 * kFramesPerSecond);
    const auto take = test::joined(test::joined(silence, test::sine(2 * kFramesPerSecond, 31, 6000)), silence);
    for (SourceFormat format : SourceFormat::allCases()) {
        const auto bytes = test::encode(take, format);
        EXPECT_EQ(detectBestFormat(bytes), format);
        EXPECT_GT(smoothness(bytes, format), 0.9) << format.rawValue();
    }
}

// A sparse file: probing reads a few pages, not gigabytes, and finds nothing but silence.
TEST(AudibleSpan, HugeSparseFileIsSilent)
{
    test::ScratchDir dir;
    const auto path = dir / "sparse.sd2";
    dir.write("sparse.sd2", {});
    std::error_code error;
    std::filesystem::resize_file(path, std::uintmax_t{3} << 30, error);
    if (error)
        GTEST_SKIP() << "no sparse 3 GB file here: " << error.message();
    const MappedFile file = MappedFile::open(path);
    ASSERT_TRUE(file.ok()) << file.error();
    EXPECT_FALSE(findAudibleSpan(file.bytes()));
}
