#include "support/bounce.hpp"
#include "support/files.hpp"
#include "support/printers.hpp"
#include "support/signals.hpp"
#include "support/wav.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <random>

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

sf_count_t framesIn(const fs::path& path) { return test::readWav(path).info.frames; }

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
    const auto path = dir.write("Kick 01.sd2", test::stereoTake());
    settings.normalize = true;
    settings.channels = TargetChannels::mono;
    settings.sourceRate = 48000;
    const BounceResult r = bounceFile(test::itemFor(path, SourceFormat::s16be, 2), settings, recorder);
    EXPECT_EQ(r.status, "Bounced → Kick 01_48kHz_24bit_mono.wav");
    EXPECT_EQ(recorder.steps, (std::vector<std::string>{"Heard 16-bit big-endian · stereo · 48 kHz",
                                                        "Printing + matching to −14 LUFS…"}));
    EXPECT_EQ(framesIn(r.output), 44100) << "same rate: no resampling";
}

// The encoding in use stands unless it reads as static, stereo judged channel by channel
// (wide stereo's neighbours belong to unrelated channels and score low even in the right
// encoding); then another encoding is taken if one reads clearly, judged the same way. Noise
// in the encoding its session settled converts as read; under a fixed choice it is refused.
TEST_F(BounceFile, ChecksTheEncodingAndCorrectsOnlyStatic)
{
    dir.write("hiss.sd2", test::randomBytes(200000, 5));
    dir.write("tone.sd2", test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be));
    dir.write("wide.sd2", test::encode(wideStereo(6000), SourceFormat::s16be));
    const std::string noEncoding = ", and no other encoding reads clearly as audio";
    struct Case {
        const char* file;
        SourceFormatChoice choice;
        SourceFormat inUse;
        std::int64_t channels;
        std::optional<SourceFormat> converted; // none: refused as static, for `reason`
        std::string reason;
        bool session = false;
    };
    const auto automatic = SourceFormatChoice::automatic();
    const Case cases[] = {
        {"tone.sd2", automatic, SourceFormat::s16le, 1, SourceFormat::s16be, ""},
        {"tone.sd2", SourceFormatChoice::fixed(SourceFormat::s24le), SourceFormat::s16be, 1, SourceFormat::s16be, ""},
        {"wide.sd2", automatic, SourceFormat::s16be, 2, SourceFormat::s16be, ""},
        {"wide.sd2", SourceFormatChoice::fixed(SourceFormat::s16le), SourceFormat::s16be, 2, SourceFormat::s16be, ""},
        {"wide.sd2", automatic, SourceFormat::s16be, 1, std::nullopt, "the data reads as noise in 16-bit BE" + noEncoding},
        {"hiss.sd2", SourceFormatChoice::fixed(SourceFormat::s24le), SourceFormat::s16be, 2, std::nullopt,
         "the data reads as noise in 24-bit LE" + noEncoding},
        {"hiss.sd2", SourceFormatChoice::fixed(SourceFormat::s16be), SourceFormat::s24le, 2, SourceFormat::s16be, "", true},
    };
    for (const Case& c : cases) {
        settings.sourceFormat = c.choice;
        settings.sessionFormat = c.session;
        recorder.steps.clear();
        const BounceResult r = bounceFile(test::itemFor(dir / c.file, c.inUse, c.channels), settings, recorder);
        const std::string label = std::string(c.file) + " as " + std::string(c.choice.fixedFormat().value_or(c.inUse).rawValue());
        EXPECT_EQ(r.ok, c.converted.has_value()) << label << ": " << r.status << " " << r.reason;
        EXPECT_EQ(r.reason, c.reason) << label;
        if (!c.converted) {
            EXPECT_EQ(r.status, "Reads as static — try another source format in Advanced");
            EXPECT_FALSE(r.analysed) << "no analysis line, so no pause after it";
            EXPECT_TRUE(recorder.steps.empty());
            continue;
        }
        const bool corrected = *c.converted != c.choice.fixedFormat().value_or(c.inUse);
        EXPECT_EQ(r.format, *c.converted) << label;
        EXPECT_EQ(r.autoCorrected, corrected) << label;
        const std::string heard = "16-bit big-endian · " + std::string(c.channels == 1 ? "mono" : "stereo") + " · 44.1 kHz";
        const std::vector<std::string> steps =
            corrected ? std::vector<std::string>{"corrected s16be", "Auto-corrected · " + heard, printingTitle(settings, 2)}
                      : std::vector<std::string>{"Heard " + heard, printingTitle(settings, 2)};
        EXPECT_EQ(recorder.steps, steps) << label;
        EXPECT_EQ(r.status, "Bounced → " + r.output.filename().string());
        const auto frames = static_cast<sf_count_t>(fs::file_size(dir / c.file)) / 2 / c.channels;
        EXPECT_EQ(framesIn(r.output), frames * 48000 / 44100) << label;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(settings.outputFolder), {}), 5) << "nothing written for static data";
}

// Quiet is not static: a take brought down 60 to 90 dB is dither and a whisper of signal,
// as rough as noise, and converts as it is read; noise louder than −50 dBFS is refused.
TEST_F(BounceFile, QuietTakesConvertAsRead)
{
    const struct {
        SourceFormat format;
        double dBFS;
    } cases[] = {{SourceFormat::s16be, -60}, {SourceFormat::s16le, -78}, {SourceFormat::s16be, -90}, {SourceFormat::s24be, -60},
                 {SourceFormat::s24le, -78}, {SourceFormat::s24be, -90}, {SourceFormat::s16le, -49}, {SourceFormat::s24le, -49}};
    for (const auto& c : cases) {
        const double fullScale = c.format.bytesPerSample() == 2 ? 32768 : 8388608;
        const auto amplitude = static_cast<std::int32_t>(std::lround(fullScale * std::pow(10.0, c.dBFS / 20)));
        const auto take = dir.write("take.sd2", test::encode(test::noise(60000, amplitude), c.format));
        const BounceResult r = bounceFile(test::itemFor(take, c.format, 1), settings, recorder);
        EXPECT_EQ(r.ok, c.dBFS < -50) << c.format.rawValue() << " at " << c.dBFS << " dBFS: " << r.status;
        EXPECT_EQ(r.format, c.format);
        EXPECT_FALSE(r.autoCorrected);
    }
}

TEST_F(BounceFile, FailureTexts)
{
    const auto path = dir.write("a.sd2", test::encode(test::sine(4000, 20, 10000), SourceFormat::s16be));
    settings.outputFolder = dir / "not" / "there";
    const BounceResult choked = bounceFile(test::itemFor(path, SourceFormat::s16be, 2), settings, recorder);
    EXPECT_FALSE(choked.ok);
    EXPECT_TRUE(choked.status.starts_with("Choked: couldn't create a file in ")) << choked.status;
    EXPECT_TRUE(choked.analysed);

    const std::string longError = "\n  " + std::string(75, 'x') + "é́🎚️yz tail \n";
    EXPECT_EQ(chokedStatus(longError), "Choked: " + std::string(75, 'x') + "é́🎚️yz ") << "80 characters as a reader counts them";
    EXPECT_EQ(chokedStatus(" \n"), "Choked");
    EXPECT_EQ(chokedStatus("disk full"), "Choked: disk full");
}

// A run stopped from another thread drops the file being written: the conversion stops
// before its next block and its partial file goes.
TEST_F(BounceFile, StoppedBetweenBlocksLeavesNoFile)
{
    struct Stopping : BounceObserver {
        std::atomic<bool> stop{false};
        void printing(const std::string&) override { stop = true; } // just before the conversion
    } observer;
    settings.stop = &observer.stop;
    const auto path = dir.write("a.sd2", test::encode(test::sine(400000, 20, 10000), SourceFormat::s16be));
    EXPECT_FALSE(bounceFile(test::itemFor(path, SourceFormat::s16be, 1), settings, observer).ok);
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
    const BounceResult r = bounceFile(test::itemFor(zeros, SourceFormat::s16be, 2), settings, recorder);
    ASSERT_TRUE(r.ok) << r.status << " " << r.reason;
    EXPECT_FALSE(r.autoCorrected);
    EXPECT_EQ(r.format, SourceFormat::s24le);
    EXPECT_EQ(test::readWav(r.output).samples, std::vector<std::int32_t>(20000 * 2, 0));

    // Dithered silence too, in any encoding.
    settings.sourceFormat = SourceFormatChoice::fixed(SourceFormat::s16le);
    const auto dithered = dir.write("preroll.sd2", test::encode(test::ditheredSilence(100000), SourceFormat::s16be));
    EXPECT_TRUE(bounceFile(test::itemFor(dithered, SourceFormat::s16be, 1), settings, recorder).ok);

    // Under sixteen samples nothing can be judged, silent or not.
    const auto tiny = dir.write("tiny.sd2", std::vector<std::uint8_t>(40, 0));
    EXPECT_EQ(bounceFile(test::itemFor(tiny, SourceFormat::s16be, 1), settings, recorder).reason,
              "too short to hold audio (40 bytes)");
}
