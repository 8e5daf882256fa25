// What sd2wav makes of hostile inputs and failing disks: a message naming the file and the
// reason, no crash, no hang, nothing overwritten, no half file under a final name.
#include "support/files.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

struct Result {
    int exitCode;
    std::string out;
};

class Hostile : public ::testing::Test {
protected:
    // Runs a shell command line with sd2wav as $S; stdout and stderr together.
    Result sh(const std::string& script) const
    {
        const std::string text = "cd '" + dir.path().string() + "' || exit 99\nS='" + SD2WAV_PATH + "'\n" + script + "\n";
        dir.write("script.sh", std::vector<std::uint8_t>(text.begin(), text.end()));
        const std::string command = "timeout 60 bash '" + (dir / "script.sh").string() + "' > '" +
                                    (dir / "out.txt").string() + "' 2>&1 < /dev/null";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, test::slurp(dir / "out.txt")};
    }
    fs::path take(const std::string& name, int seconds = 1) const
    {
        return dir.write(name, test::encode(test::interleave(test::sine(44100 * seconds, 40, 9000),
                                                             test::sine(44100 * seconds, 25, 7000)),
                                            SourceFormat::s16be));
    }
    // The output line for `name`, whatever the column padding.
    static std::string lineFor(const std::string& out, const std::string& name)
    {
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(name + " "))
                return line;
        return "(no line for " + name + " in:\n" + out + ")";
    }
    std::vector<std::string> listing(const fs::path& folder) const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    test::ScratchDir dir;
};

} // namespace

TEST_F(Hostile, TinyEmptyAndNonFileInputs)
{
    dir.write("empty.sd2", {});
    dir.write("one.sd2", {0x42});
    fs::create_directories(dir / "in" / "x.sd2");
    fs::create_symlink(dir / "nowhere.sd2", dir / "in" / "dangling.sd2");
    ASSERT_EQ(mkfifo((dir / "in" / "pipe.sd2").c_str(), 0644), 0);

    const Result detect = sh("$S detect empty.sd2 one.sd2 in");
    EXPECT_EQ(detect.exitCode, 1);
    EXPECT_TRUE(lineFor(detect.out, "empty.sd2").ends_with("16-bit BE (auto) · Stereo · too short")) << detect.out;
    EXPECT_TRUE(lineFor(detect.out, "in/dangling.sd2").ends_with("Unreadable file (No such file or directory)"));
    EXPECT_TRUE(lineFor(detect.out, "in/pipe.sd2").ends_with("Unreadable file (Not a regular file)"));
    EXPECT_TRUE(lineFor(detect.out, "in/x.sd2").ends_with("Unreadable file (Is a folder)"));

    const Result convert = sh("$S convert -o out empty.sd2 one.sd2 in");
    EXPECT_EQ(convert.exitCode, 1);
    EXPECT_TRUE(lineFor(convert.out, "one.sd2")
                    .ends_with("Reads as static — try another source format in Advanced (too short to hold audio (1 bytes))"))
        << convert.out;
    EXPECT_TRUE(lineFor(convert.out, "in/pipe.sd2").ends_with("Couldn't read the file (Not a regular file)"));
    EXPECT_TRUE(fs::is_empty(dir / "out"));
}

TEST_F(Hostile, OddNamesKeepTheirBytes)
{
    // Quotes, a line break and a byte that is not UTF-8, inside a dropped folder.
    take("in/caf\xe9 \"take\"\n1.sd2");
    const Result r = sh("$S convert -o out in");
    EXPECT_EQ(r.exitCode, 0) << r.out;
    EXPECT_NE(r.out.find("in/caf\xe9 \"take\"\\n1.sd2  Bounced → "), std::string::npos) << "one escaped line: " << r.out;
    EXPECT_TRUE(fs::exists(dir / "out" / "caf\xe9 \"take\"\n1_48kHz_24bit_stereo.wav"));
}

TEST_F(Hostile, OutputFoldersThatCannotBeUsed)
{
    take("a.sd2");
    dir.write("plain-file", {1});
    for (const std::string& folder : {"plain-file", "plain-file/below"}) {
        const Result r = sh("$S convert -o " + folder + " a.sd2");
        EXPECT_EQ(r.exitCode, 1) << folder;
        EXPECT_EQ(lineFor(r.out, "a.sd2"), "a.sd2  Choked: couldn't create a file in " + folder + ": Not a directory");
    }
}

TEST_F(Hostile, FullDiskLeavesNoFileBehind)
{
    take("a.sd2", 5);
    fs::create_directory(dir / "out");
    // ulimit -f makes writes past 64 KiB fail as a full disk would.
    const Result r = sh("ulimit -f 128 && $S convert -o out a.sd2");
    EXPECT_EQ(r.exitCode, 1) << r.out;
    EXPECT_NE(r.out.find("a.sd2  Choked: couldn't "), std::string::npos) << r.out;
    EXPECT_TRUE(fs::is_empty(dir / "out")) << "no partial file may stay behind";
}

TEST_F(Hostile, ConvertsAudioLargerThanItsMemoryLimit)
{
    // 128 MiB of 16-bit mono at 44.1 kHz is 256 MiB as floats (279 MiB at 48 kHz), more than
    // the whole address space allowed here, which must also hold the mapped source, the
    // libraries and the threads' stacks.
    constexpr std::int64_t frames = std::int64_t{64} << 20;
    constexpr std::int64_t limitKiB = 240 << 10;
    static_assert(frames * 4 / 1024 > limitKiB);
    constexpr double period = 100.0, amplitude = 20000.0;
    {
        const auto cycle = test::encode(test::sine(100, period, amplitude), SourceFormat::s16be);
        std::ofstream out(dir / "long.sd2", std::ios::binary);
        for (std::int64_t at = 0; at < frames; at += 100)
            out.write(reinterpret_cast<const char*>(cycle.data()),
                      static_cast<std::streamsize>(std::min<std::int64_t>(100, frames - at) * 2));
    }
    const Result r = sh("ulimit -v " + std::to_string(limitKiB) +
                        " && $S convert -j 1 --mono --channels preserve --rate 48000 --depth 16 -o out long.sd2");
    ASSERT_EQ(r.exitCode, 0) << r.out;

    // Every frame is there, and each is the tone at the new rate to within the rounding.
    SF_INFO info{};
    SNDFILE* file = sf_open((dir / "out" / "long_48kHz_16bit_mono.wav").c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    EXPECT_EQ(info.frames, frames * 48000 / 44100);
    EXPECT_EQ(info.samplerate, 48000);
    EXPECT_EQ(info.channels, 1);
    std::vector<short> block(1 << 16);
    double worst = 0;
    sf_count_t at = 0;
    for (sf_count_t got; (got = sf_readf_short(file, block.data(), static_cast<sf_count_t>(block.size()))) > 0; at += got)
        for (sf_count_t i = 0; i < got; ++i) {
            if (at + i < 1000 || at + i >= info.frames - 1000)
                continue; // the filter's edges
            const double t = static_cast<double>(at + i) * 44100.0 / 48000.0;
            const double ideal = amplitude * std::sin(2 * std::numbers::pi * t / period);
            worst = std::max(worst, std::abs(block[static_cast<std::size_t>(i)] - ideal));
        }
    sf_close(file);
    EXPECT_EQ(at, info.frames);
    EXPECT_LT(worst, 2.0) << "largest difference from the ideal tone, in 16-bit steps";
}

TEST_F(Hostile, KilledMidWriteLeavesOnlyAClearlyNamedPartialFile)
{
    take("long.sd2", 300);
    fs::create_directory(dir / "out");
    // Kill the conversion as soon as its file is being written.
    sh("$S convert --rate 96000 --depth 32 -o out long.sd2 & pid=$!; "
       "for i in $(seq 2000); do ls out | grep -q partial && break; sleep 0.005; done; kill -9 $pid; wait $pid");
    const auto left = listing(dir / "out");
    ASSERT_EQ(left.size(), 1u) << "the write was not caught in the act";
    EXPECT_TRUE(left[0].starts_with("long_96kHz_32bit_stereo.wav.partial-")) << left[0];

    // The next run writes the real file beside it, under the final name.
    const Result again = sh("$S convert --rate 96000 --depth 32 -o out long.sd2");
    EXPECT_EQ(again.exitCode, 0) << again.out;
    EXPECT_TRUE(fs::exists(dir / "out" / "long_96kHz_32bit_stereo.wav"));
}

TEST_F(Hostile, UnreadableFile)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root reads any file, so permissions cannot be taken away here";
    take("locked.sd2");
    fs::permissions(dir / "locked.sd2", fs::perms::none);
    const Result r = sh("$S convert -o out locked.sd2");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("locked.sd2  Couldn't read the file (Permission denied)"), std::string::npos) << r.out;
}
