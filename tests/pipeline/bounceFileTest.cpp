#include "core/pipeline/bounceFile.hpp"
#include "core/pipeline/stopBetweenBlocks.hpp"
#include "support/files.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <atomic>
#include <functional>
#include <random>
#include <system_error>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

// Records every step, as the app's worker posts them.
struct Recorder : BounceObserver {
    std::vector<std::string> steps;
    void corrected(SourceFormat f) override { steps.push_back("corrected " + std::string(f.rawValue())); }
    void analysed(const std::string& line) override { steps.push_back(line); }
    void printing(const std::string& title) override { steps.push_back(title); }
};

BounceItem itemFor(const fs::path& path, SourceFormat detected, std::int64_t channels)
{
    return {path, [=] { return detected; }, [=] { return channels; }, std::nullopt};
}

std::vector<std::int32_t> wideStereo(double scale)
{
    std::mt19937 random(11);
    std::normal_distribution<double> noise(0.0, 1.0);
    std::vector<std::int32_t> right(60000);
    double state = 0;
    for (auto& v : right) {
        state += 0.1 * (noise(random) - state);
        v = static_cast<std::int32_t>(std::lround(state * scale));
    }
    return test::interleave(test::sine(60000, 37, scale), right);
}

sf_count_t framesIn(const fs::path& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (file)
        sf_close(file);
    return file ? info.frames : -1;
}

class BounceFile : public ::testing::Test {
protected:
    BounceFile() { settings.outputFolder = dir / "_sd2_outputs"; fs::create_directories(settings.outputFolder); }
    test::ScratchDir dir;
    BounceSettings settings;
    Recorder recorder;
};

} // namespace

TEST_F(BounceFile, ConvertsAndReportsEachStep)
{
    const auto path = dir.write("Kick 01.sd2", test::encode(test::interleave(test::sine(44100, 40, 9000), test::sine(44100, 25, 7000)), SourceFormat::s16be));
    const BounceResult r = bounceFile(itemFor(path, SourceFormat::s16be, 2), settings, recorder);

    EXPECT_TRUE(r.ok) << r.status;
    EXPECT_EQ(r.status, "Bounced → Kick 01_48kHz_24bit_stereo.wav");
    EXPECT_EQ(recorder.steps, (std::vector<std::string>{"Heard 16-bit big-endian · stereo · 44.1 kHz",
                                                        "Printing to 48 kHz / 24-bit stereo…"}));
    EXPECT_EQ(framesIn(r.output), 48000);

    settings.normalize = true;
    settings.channels = TargetChannels::mono;
    settings.sourceRate = 48000;
    const BounceResult again = bounceFile(itemFor(path, SourceFormat::s16be, 2), settings, recorder);
    EXPECT_EQ(again.status, "Bounced → Kick 01_48kHz_24bit_mono.wav");
    EXPECT_EQ(recorder.steps[2], "Heard 16-bit big-endian · stereo · 48 kHz");
    EXPECT_EQ(recorder.steps[3], "Printing + matching to −14 LUFS…");
    EXPECT_EQ(framesIn(again.output), 44100) << "same rate: no resampling";
}

TEST_F(BounceFile, CorrectsAnEncodingThatReadsAsStatic)
{
    const auto path = dir.write("take.sd2", test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be));
    const BounceResult r = bounceFile(itemFor(path, SourceFormat::s16le, 1), settings, recorder);
    EXPECT_TRUE(r.ok) << r.status;
    EXPECT_TRUE(r.autoCorrected);
    EXPECT_EQ(r.format, SourceFormat::s16be);
    ASSERT_EQ(recorder.steps.size(), 3u);
    EXPECT_EQ(recorder.steps[0], "corrected s16be");
    EXPECT_EQ(recorder.steps[1], "Auto-corrected · 16-bit big-endian · mono · 44.1 kHz");

    // A fixed choice is checked the same way.
    settings.sourceFormat = SourceFormatChoice::fixed(SourceFormat::s24le);
    EXPECT_TRUE(bounceFile(itemFor(path, SourceFormat::s16be, 1), settings, recorder).autoCorrected);
}

TEST_F(BounceFile, RefusesStaticButNotWideStereo)
{
    std::mt19937 random(5);
    std::vector<std::uint8_t> noise(200000);
    for (auto& b : noise)
        b = static_cast<std::uint8_t>(random());
    const auto hiss = dir.write("hiss.sd2", noise);
    const BounceResult r = bounceFile(itemFor(hiss, SourceFormat::s16be, 2), settings, recorder);
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(r.analysed) << "no analysis line, so no pause after it";
    EXPECT_EQ(r.status, "Reads as static — try another source format in Advanced");
    EXPECT_TRUE(recorder.steps.empty());
    EXPECT_TRUE(fs::is_empty(settings.outputFolder));

    // Unrelated channels: neighbours alternate between them and the interleaved score is
    // low even in the right encoding; read as stereo the file converts, read as mono it is static.
    const auto wide = dir.write("wide.sd2", test::encode(wideStereo(6000), SourceFormat::s16be));
    const BounceResult stereo = bounceFile(itemFor(wide, SourceFormat::s16be, 2), settings, recorder);
    EXPECT_TRUE(stereo.ok) << stereo.status;
    EXPECT_FALSE(stereo.autoCorrected);
    EXPECT_EQ(recorder.steps.front(), "Heard 16-bit big-endian · stereo · 44.1 kHz");
    EXPECT_FALSE(bounceFile(itemFor(wide, SourceFormat::s16be, 1), settings, recorder).ok);
}

TEST_F(BounceFile, FailureTexts)
{
    const BounceResult missing = bounceFile(itemFor(dir / "gone.sd2", SourceFormat::s16be, 2), settings, recorder);
    EXPECT_EQ(missing.status, "Couldn't read the file");
    EXPECT_EQ(missing.reason, "No such file or directory");

    const auto path = dir.write("a.sd2", test::encode(test::sine(4000, 20, 10000), SourceFormat::s16be));
    dir.write("tiny.sd2", test::encode(test::sine(20, 20, 10000), SourceFormat::s16be));
    settings.outputFolder = dir / "not" / "there";
    const BounceResult choked = bounceFile(itemFor(path, SourceFormat::s16be, 2), settings, recorder);
    EXPECT_FALSE(choked.ok);
    EXPECT_TRUE(choked.status.starts_with("Choked: couldn't create a file in ")) << choked.status;
    EXPECT_TRUE(choked.analysed);

    const std::string longError = "\n  " + std::string(75, 'x') + "é́🎚️yz tail \n";
    EXPECT_EQ(chokedStatus(longError), "Choked: " + std::string(75, 'x') + "é́🎚️yz ") << "80 characters as a reader counts them";
    EXPECT_EQ(chokedStatus(" \n"), "Choked");
    EXPECT_EQ(chokedStatus("disk full"), "Choked: disk full");
}

TEST_F(BounceFile, RunningOutOfMemoryOrThreadsFailsOnlyThisFile)
{
    // Allocation and thread failures can come from any stage; the observer stands in for one.
    struct Failing : BounceObserver {
        std::function<void()> fail;
        void printing(const std::string&) override { fail(); }
    } observer;
    const auto path = dir.write("a.sd2", test::encode(test::sine(4000, 20, 10000), SourceFormat::s16be));
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[] { throw std::bad_alloc(); }, "Choked: not enough memory"},
        {[] { throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again)); },
         "Choked: couldn't start a thread (Resource temporarily unavailable)"},
    };
    for (const auto& [fail, status] : cases) {
        observer.fail = fail;
        const BounceResult result = bounceFile(itemFor(path, SourceFormat::s16be, 1), settings, observer);
        EXPECT_FALSE(result.ok);
        EXPECT_TRUE(result.analysed) << "the batch still pauses after its analysis line";
        EXPECT_EQ(result.status, status);
    }
    EXPECT_TRUE(fs::is_empty(settings.outputFolder));
}

// A run stopped from another thread drops the file being written: the conversion stops
// before its next block and its partial file goes.
TEST_F(BounceFile, StoppedBetweenBlocksLeavesNoFile)
{
    struct Stopping : BounceObserver {
        std::atomic<bool> stop{false};
        void printing(const std::string&) override { stop = true; } // just before the conversion
    } observer;
    const StopBetweenBlocks scope(observer.stop);
    const auto path = dir.write("a.sd2", test::encode(test::sine(400000, 20, 10000), SourceFormat::s16be));
    EXPECT_FALSE(bounceFile(itemFor(path, SourceFormat::s16be, 1), settings, observer).ok);
    EXPECT_TRUE(fs::is_empty(settings.outputFolder));
}

// Digital silence is audio (a muted track, a pre-roll): it converts to silence in the
// encoding in use, whichever that is, and is never called noise.
TEST_F(BounceFile, SilenceConvertsToSilence)
{
    const auto zeros = dir.write("muted.sd2", std::vector<std::uint8_t>(120000, 0));
    settings.sourceFormat = SourceFormatChoice::fixed(SourceFormat::s24le);
    settings.sourceRate = 48000;
    settings.channels = TargetChannels::preserve;
    const BounceResult r = bounceFile(itemFor(zeros, SourceFormat::s16be, 2), settings, recorder);
    ASSERT_TRUE(r.ok) << r.status << " " << r.reason;
    EXPECT_FALSE(r.autoCorrected);
    EXPECT_EQ(r.format, SourceFormat::s24le);
    SF_INFO info{};
    SNDFILE* wav = sf_open(r.output.c_str(), SFM_READ, &info);
    ASSERT_TRUE(wav);
    std::vector<int> samples(static_cast<std::size_t>(info.frames * info.channels));
    EXPECT_EQ(sf_read_int(wav, samples.data(), std::ssize(samples)), 20000 * 2);
    sf_close(wav);
    EXPECT_EQ(std::count(samples.begin(), samples.end(), 0), std::ssize(samples));

    // Dithered silence too, in any encoding.
    settings.sourceFormat = SourceFormatChoice::fixed(SourceFormat::s16le);
    const auto dithered = dir.write("preroll.sd2", test::encode(test::ditheredSilence(100000), SourceFormat::s16be));
    EXPECT_TRUE(bounceFile(itemFor(dithered, SourceFormat::s16be, 1), settings, recorder).ok);

    // Under sixteen samples nothing can be judged, silent or not.
    const auto tiny = dir.write("tiny.sd2", std::vector<std::uint8_t>(40, 0));
    EXPECT_EQ(bounceFile(itemFor(tiny, SourceFormat::s16be, 1), settings, recorder).reason,
              "too short to hold audio (40 bytes)");
}
