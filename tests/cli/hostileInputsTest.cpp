// What sd2wav makes of hostile inputs and failing disks: a message naming the file and the
// reason, no crash, no hang, nothing overwritten, no half file under a final name.
#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/process.hpp"
#include "support/signals.hpp"
#include "support/wav.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <csignal>
#include <fstream>
#include <functional>
#include <numbers>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

using Result = test::Outcome;

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
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, test::slurp(dir / "out.txt"), {}};
    }
    fs::path take(const std::string& name, int seconds = 1) const
    {
        return dir.write(name, test::stereoTake(SourceFormat::s16be, seconds));
    }
    // The output line for `name`, whatever the column padding.
    static std::string lineFor(const std::string& out, const std::string& name)
    {
        for (const std::string& line : test::lines(out))
            if (line.starts_with(name + " "))
                return line;
        return "(no line for " + name + " in:\n" + out + ")";
    }
    static bool partialAppears(const fs::path& folder, const std::string& prefix)
    {
        for (int i = 0; i < 4000; ++i, ::usleep(5000))
            for (const auto& entry : fs::directory_iterator(folder))
                if (entry.path().filename().string().starts_with(prefix) &&
                    entry.path().filename().string().find(".partial-") != std::string::npos)
                    return true;
        return false;
    }
    // sd2wav as an ordinary user: root reads and writes anything, so under root the run
    // drops to nobody, with a copy of sd2wav that user can reach wherever the build is.
    std::string ordinaryUser() const
    {
        if (geteuid() != 0)
            return "$S";
        sh("cp \"$S\" sd2wav-copy");
        return "setpriv --reuid=65534 --regid=65534 --clear-groups '" + (dir / "sd2wav-copy").string() + "'";
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
    const std::string tooShort = "Reads as static — try another source format in Advanced (too short to hold audio (";
    // What detect and convert say of each.
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"empty.sd2", "16-bit BE (auto) · Stereo · too short", tooShort + "0 bytes))"},
        {"one.sd2", "16-bit BE (auto) · Stereo · too short", tooShort + "1 bytes))"},
        {"in/dangling.sd2", "Unreadable file (No such file or directory)", "Couldn't read the file (No such file or directory)"},
        {"in/pipe.sd2", "Unreadable file (Not a regular file)", "Couldn't read the file (Not a regular file)"},
        {"in/x.sd2", "Unreadable file (Is a folder)", "Couldn't read the file (Is a folder)"}};
    const Result detect = sh("$S detect empty.sd2 one.sd2 in");
    const Result convert = sh("$S convert -o out empty.sd2 one.sd2 in");
    EXPECT_EQ(detect.exitCode, 1);
    EXPECT_EQ(convert.exitCode, 1);
    for (const auto& [name, detected, converted] : cases) {
        EXPECT_TRUE(lineFor(detect.out, name).ends_with(detected)) << detect.out;
        EXPECT_TRUE(lineFor(convert.out, name).ends_with(converted)) << convert.out;
    }
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

// A folder named with -o that cannot be used fails every file with its reason, escaped as
// names are: each file stays one line and no terminal escape gets through.
TEST_F(Hostile, OutputFoldersThatCannotBeUsed)
{
    take("a.sd2");
    dir.write("plain-file", {1});
    // A name long enough that the status cuts the reason (at 80 characters) and the whole
    // reason follows it.
    const std::string escaped = "plain-file/" + std::string(90, 'x') + "\\n\\x1b[31mred";
    const std::pair<std::string, std::string> cases[] = {
        {"plain-file", "Choked: couldn't create a file in plain-file: Not a directory"},
        {"plain-file/below", "Choked: couldn't create a file in plain-file/below: Not a directory"},
        {"$'plain-file/" + std::string(90, 'x') + "\\n\\e[31mred'",
         "Choked: couldn't create a file in plain-file/" + std::string(43, 'x') + " (couldn't create a file in " +
             escaped + ": Not a directory)"}};
    for (const auto& [folder, status] : cases) {
        const Result r = sh("$S convert -o " + folder + " a.sd2");
        EXPECT_EQ(r.exitCode, 1) << folder;
        EXPECT_EQ(r.out, "a.sd2  " + status + "\n");
    }
}

// ulimit -f makes writes past 64 KiB fail as a full disk would: each output and demo file is
// complete or absent, and each failure is reported.
TEST_F(Hostile, FullDiskLeavesNoFileBehind)
{
    take("a.sd2", 5);
    fs::create_directory(dir / "out");
    const std::pair<std::string, std::string> cases[] = {
        {"convert -o out a.sd2", "a.sd2  Choked: couldn't "},
        {"demo full", "sd2wav: couldn't write full/demo s24le stereo.sd2: File too large"}};
    for (const auto& [command, reported] : cases) {
        const Result r = sh("ulimit -f 128 && $S " + command);
        EXPECT_EQ(r.exitCode, 1) << r.out;
        EXPECT_NE(r.out.find(reported), std::string::npos) << r.out;
    }
    EXPECT_TRUE(fs::is_empty(dir / "out") && fs::is_empty(dir / "full")) << "no partial file may stay behind";
}

TEST_F(Hostile, ConvertsAudioLargerThanItsMemoryLimit)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' shadow memory does not fit under an address-space limit";
#endif
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
    // Plain, then normalised: a tone is left unlimited, at the level where a sine reads
    // −14 LUFS (BS.1770: −0.691 + 10 log10 of its mean square, half its amplitude squared).
    const struct {
        std::string options;
        double level; // the output's amplitude in 16-bit steps
    } rows[] = {{"", amplitude}, {"--normalize ", 32768.0 * std::sqrt(2.0 * std::pow(10.0, (-14.0 + 0.691) / 10.0))}};
    for (const auto& row : rows) {
        fs::remove_all(dir / "out");
        const Result r = sh("ulimit -v " + std::to_string(limitKiB) + " && $S convert -j 1 " + row.options +
                            "--mono --channels preserve --rate 48000 --depth 16 -o out long.sd2");
        ASSERT_EQ(r.exitCode, 0) << row.options << r.out;

        // Every frame is there, and each is the tone at the new rate, scaled as a whole,
        // to within the rounding.
        SF_INFO info{};
        SNDFILE* file = sf_open((dir / "out" / "long_48kHz_16bit_mono.wav").c_str(), SFM_READ, &info);
        ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
        EXPECT_EQ(info.frames, frames * 48000 / 44100);
        EXPECT_EQ(info.samplerate, 48000);
        EXPECT_EQ(info.channels, 1);
        // Twice through the file, past the filter's edges: the least-squares scale of the tone,
        // then each frame against it. Returns the frames read.
        const auto eachFrame = [&](const auto& use) {
            sf_seek(file, 0, SEEK_SET);
            std::vector<short> block(1 << 16);
            sf_count_t at = 0;
            for (sf_count_t got; (got = sf_readf_short(file, block.data(), 1 << 16)) > 0; at += got)
                for (sf_count_t i = std::max<sf_count_t>(0, 1000 - at); i < got && at + i < info.frames - 1000; ++i)
                    use(block[static_cast<std::size_t>(i)],
                        amplitude * std::sin(2 * std::numbers::pi * static_cast<double>(at + i) * 44100.0 / 48000.0 / period));
            return at;
        };
        double product = 0, power = 0, worst = 0;
        eachFrame([&](double sample, double ideal) { product += sample * ideal, power += ideal * ideal; });
        const double scale = product / power;
        EXPECT_EQ(eachFrame([&](double sample, double ideal) { worst = std::max(worst, std::abs(sample - scale * ideal)); }),
                  info.frames);
        sf_close(file);
        EXPECT_NEAR(20 * std::log10(scale * amplitude / row.level), 0.0, 0.05) << row.options << "level, in dB";
        EXPECT_LT(worst, 2.0) << row.options << "largest difference from the tone, in 16-bit steps";
    }
}

// Runs stopped while writing. Every signal whose default action ends the process removes
// the partial files and ends it by that signal; only SIGKILL leaves one, clearly named.
// The first runs start with descriptor 0, 1 or 2 closed, which no output may take: a report
// line would land in the middle of a WAV.
TEST_F(Hostile, RunsStoppedMidWrite)
{
    take("long.sd2", 300);
    std::vector<int> signals(std::begin(test::kEndingSignals), std::end(test::kEndingSignals));
    signals.push_back(SIGKILL);
    for (std::size_t i = 0; i < signals.size(); ++i) {
        const int signal = signals[i], closed = i <= STDERR_FILENO ? static_cast<int>(i) : -1;
        if (signal == SIGPIPE)
            continue; // raised for real below
        const fs::path out = dir / ("out" + std::to_string(signal));
        fs::create_directory(out);
        const pid_t pid = test::startSd2wav(
            dir.path(), {"convert", "--json", "--rate", "96000", "--depth", "32", "-o", out.string(), "long.sd2"}, -1, -1, closed);
        const bool caught = partialAppears(out, "long_");
        std::error_code error;
        const fs::path held = fs::read_symlink("/proc/" + std::to_string(pid) + "/fd/" + std::to_string(closed), error);
        ::kill(pid, signal);
        int status = 0;
        ::waitpid(pid, &status, 0);
        ASSERT_TRUE(caught) << "the write was not caught in the act";
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << "ended by the signal: " << status;
        if (closed >= 0) {
            EXPECT_EQ(held, fs::path("/dev/null")) << "descriptor " << closed;
        }
        const auto left = test::tree(out);
        if (signal != SIGKILL) {
            EXPECT_EQ(left, std::set<std::string>{}) << "signal " << signal;
            continue;
        }
        ASSERT_EQ(left.size(), 1u);
        EXPECT_TRUE(left.begin()->starts_with("long_96kHz_32bit_stereo.wav.partial-")) << *left.begin();
        // The next run writes the real file under the final name and takes the abandoned one away.
        EXPECT_EQ(sh("$S convert --rate 96000 --depth 32 -o " + out.string() + " long.sd2").exitCode, 0);
        EXPECT_EQ(test::tree(out), std::set<std::string>{"long_96kHz_32bit_stereo.wav"});
    }

    // A closed pipe: the first file's report line waits on a full stdout pipe while the
    // second file is written; closing the pipe then raises SIGPIPE in the middle of it.
    take("a.sd2");
    fs::create_directory(dir / "piped");
    int pipeEnds[2];
    ASSERT_EQ(::pipe2(pipeEnds, O_CLOEXEC), 0);
    ::fcntl(pipeEnds[1], F_SETFL, O_NONBLOCK);
    const std::vector<char> filler(4096, 'x');
    while (::write(pipeEnds[1], filler.data(), filler.size()) > 0 || ::write(pipeEnds[1], filler.data(), 1) > 0) {
    }
    ::fcntl(pipeEnds[1], F_SETFL, 0);
    const pid_t pid = test::startSd2wav(
        dir.path(), {"convert", "--rate", "96000", "--depth", "32", "-j", "2", "-o", "piped", "a.sd2", "long.sd2"}, pipeEnds[1]);
    ::close(pipeEnds[1]);
    const bool caught = partialAppears(dir / "piped", "long_");
    ::close(pipeEnds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    ASSERT_TRUE(caught) << "the write was not caught in the act";
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE) << "ended by SIGPIPE: " << status;
    EXPECT_EQ(test::tree(dir / "piped"), std::set<std::string>{"a_96kHz_32bit_stereo.wav"});
}

TEST_F(Hostile, OutOfMemoryOrThreadsFailsThatFileNotTheBatch)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' shadow memory does not fit under an address-space limit";
#endif
    take("in/a.sd2");
    take("in/big.sd2", 300);
    fs::resize_file(dir / "in/big.sd2", std::uintmax_t{300} << 20); // a sparse tail of silence
    take("in/c.sd2");
    // 250 MB of address space: the small files fit, the big one cannot even be mapped.
    const Result memory = sh("ulimit -v 250000 && $S convert --normalize -j 1 -o out in");
    EXPECT_EQ(memory.exitCode, 1) << memory.out;
    EXPECT_EQ(lineFor(memory.out, "in/big.sd2"), "in/big.sd2  Choked: not enough memory");
    EXPECT_EQ(lineFor(memory.out, "in/c.sd2"), "in/c.sd2    Bounced → c_48kHz_24bit_stereo.wav");
    EXPECT_EQ(test::tree(dir / "out"), (std::set<std::string>{"a_48kHz_24bit_stereo.wav", "c_48kHz_24bit_stereo.wav"}));

    // A stack size no thread can be given: neither the -j workers nor a channel's resampler
    // can start. The jobs run on the main thread; resampling fails each file with its reason.
    const std::string noThreads = "ulimit -v 400000 && ulimit -s 1000000 && ";
    const Result resampled = sh(noThreads + "$S convert -j 2 -o threads in/a.sd2 in/c.sd2");
    EXPECT_EQ(resampled.exitCode, 1) << resampled.out;
    EXPECT_EQ(lineFor(resampled.out, "in/c.sd2"), "in/c.sd2  Choked: couldn't start a thread (Resource temporarily unavailable)");
    const Result copied = sh(noThreads + "$S convert --rate 44100 -j 2 -o threads in/a.sd2 in/c.sd2");
    EXPECT_EQ(copied.exitCode, 0) << copied.out;
}

TEST_F(Hostile, LongNamesAreShortenedNotRefused)
{
    // 230 bytes: the output's 250-byte name fits, its partial name must be cut to fit too.
    const std::string fits(226, 'f');
    take(fits + ".sd2");
    // 'x' and 124 two-byte characters: the output name must lose some, never half of one.
    std::string tooLong = "x";
    for (int i = 0; i < 124; ++i)
        tooLong += "é";
    take(tooLong + ".sd2");
    for (int run = 1; run <= 2; ++run) {
        const Result r = sh("$S convert -o out " + fits + ".sd2 " + tooLong + ".sd2");
        EXPECT_EQ(r.exitCode, 0) << r.out;
    }
    const std::set<std::string> found = test::tree(dir / "out");
    const std::vector<std::string> names(found.begin(), found.end());
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(names[0], fits + "_48kHz_24bit_stereo (2).wav");
    EXPECT_EQ(names[1], fits + "_48kHz_24bit_stereo.wav");
    for (const std::string tail : {"…_48kHz_24bit_stereo.wav", "…_48kHz_24bit_stereo (2).wav"}) {
        const std::string& name = names[2].ends_with(tail) ? names[2] : names[3];
        EXPECT_TRUE(name.ends_with(tail)) << name;
        EXPECT_GE(name.size(), 250u) << name;
        EXPECT_LE(name.size(), 255u) << name;
        const std::string head = name.substr(0, name.size() - tail.size());
        EXPECT_TRUE(tooLong.starts_with(head) && head.size() % 2 == 1) << "cut between whole characters: " << name;
    }
}

TEST_F(Hostile, DemoFilesAreWrittenLikeOutputs)
{
    // A dangling symlink under a demo name is left alone, not written through.
    fs::create_directories(dir / "d");
    fs::create_symlink(dir / "elsewhere.sd2", dir / "d" / "demo s16be mono.sd2");
    const Result linked = sh("$S demo d");
    EXPECT_EQ(linked.exitCode, 1) << linked.out;
    EXPECT_FALSE(fs::exists(dir / "elsewhere.sd2"));
    EXPECT_TRUE(lineFor(linked.out, "d/demo s16be mono.sd2").ends_with("Unreadable file (No such file or directory)"));
    EXPECT_EQ(test::tree(dir / "d").size(), 8u);
}

TEST_F(Hostile, OutputsFollowTheUmask)
{
    take("a.sd2");
    for (const std::string mask : {"077", "027", "002"}) {
        ASSERT_EQ(sh("umask " + mask + " && $S convert -o out" + mask + " a.sd2").exitCode, 0);
        EXPECT_EQ(fs::status(dir / ("out" + mask) / "a_48kHz_24bit_stereo.wav").permissions(),
                  fs::perms(0666 & ~std::stoi(mask, nullptr, 8)))
            << "umask " << mask;
    }
}

// Sidecars count only inside the folder given (for a file given alone, its own folder): a
// __MACOSX above it, in /tmp say, may be anyone's.
TEST_F(Hostile, SidecarsAboveTheGivenFolderAreNotTheUsers)
{
    take("zip/in/take.sd2");
    dir.write("zip/__MACOSX/in/._take.sd2", test::appleDouble(test::resourceFork({"2", "22050", "2"})));
    const std::pair<std::string, sf_count_t> cases[] = {{"zip/in", 48000}, {"zip/in/take.sd2", 48000}, {"zip", 96000}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& [given, frames] = cases[i];
        const fs::path out = dir / ("out" + std::to_string(i));
        const Result detect = sh("$S detect " + given);
        EXPECT_TRUE(lineFor(detect.out, "zip/in/take.sd2")
                        .ends_with(frames == 96000 ? "16-bit BE (file info) · Stereo · 22.1 kHz" : "(auto) · Stereo · confident"))
            << given << ": " << detect.out;
        ASSERT_EQ(sh("$S convert -o " + out.string() + " " + given).exitCode, 0) << given;
        EXPECT_EQ(test::readWav(out / "take_48kHz_24bit_stereo.wav").info.frames, frames)
            << given << ": the rate the app would use too";
    }
}

TEST_F(Hostile, HelpAfterDashDashOrAsAValueIsAPath)
{
    take("-h/a.sd2");
    take("--help/b.sd2");
    take("c.sd2");
    const std::pair<std::string, std::string> written[] = {
        {"convert -o out -- -h", "out/a_48kHz_24bit_stereo.wav"},
        {"convert -o -h c.sd2", "-h/c_48kHz_24bit_stereo.wav"},
        {"demo -- -h", "-h/demo s16be mono.sd2"}};
    for (const auto& [command, file] : written) {
        const Result r = sh("$S " + command);
        EXPECT_EQ(r.exitCode, 0) << command << ": " << r.out;
        EXPECT_TRUE(fs::exists(dir / file)) << command;
    }
    const Result detect = sh("$S detect -- --help");
    EXPECT_EQ(detect.exitCode, 0) << detect.out;
    EXPECT_TRUE(lineFor(detect.out, "--help/b.sd2").ends_with("16-bit BE (auto) · Stereo · confident")) << detect.out;

    // Only in an option's place does it print the usage.
    for (const std::string command : {"convert -j 2 --help c.sd2", "demo --help"}) {
        const Result help = sh("$S " + command);
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_TRUE(help.out.starts_with("usage: ")) << help.out;
    }
    EXPECT_FALSE(fs::exists(dir / "--help" / "demo s16be mono.sd2"));
}

// Folders, files and sidecars that cannot be read are reported and the rest goes ahead; a
// sidecar that is there but cannot be read fails its file: never a guess where metadata exists.
TEST_F(Hostile, WhatCannotBeReadIsReported)
{
    // Put back what the scratch folder's removal needs, however the test ends.
    struct Restore {
        std::function<void()> run;
        ~Restore() { run(); }
    } restore{[this] { sh("chmod -R u+rwx . && rm -rf drop/deep"); }};
    take("drop/ok.sd2");
    take("drop/locked/in.sd2");
    take("drop/odd\n\x1b[2J/in.sd2");
    take("shut/in.sd2");
    take("drop/locked.sd2");
    take("drop/take.sd2");
    dir.write("drop/._take.sd2", test::resourceFork({"2", "22050", "2"}));
    for (const char* path : {"drop/locked", "drop/odd\n\x1b[2J", "shut", "drop/locked.sd2", "drop/._take.sd2"})
        fs::permissions(dir / path, fs::perms::none);
    fs::create_directory(dir / "out");
    fs::permissions(dir / "out", fs::perms::all);
    // Below a tree deeper than PATH_MAX, made a step at a time.
    sh("n=$(printf 'n%.0s' $(seq 250)); cd drop && mkdir deep && cd deep && "
       "for i in $(seq 20); do mkdir $n && cd $n || exit 1; done && : > bottom.sd2");
    const std::string S = ordinaryUser();

    const Result detect = sh(S + " detect drop shut 2>&1 >/dev/null; echo \"exit $?\"");
    EXPECT_EQ(std::count(detect.out.begin(), detect.out.end(), '\n'), 5) << detect.out;
    EXPECT_TRUE(detect.out.starts_with("sd2wav: couldn't open drop/deep/nnnnn")) << detect.out;
    EXPECT_TRUE(detect.out.ends_with("nnn: File name too long\n"
                                     "sd2wav: couldn't open drop/locked: Permission denied\n"
                                     "sd2wav: couldn't open drop/odd\\n\\x1b[2J: Permission denied\n"
                                     "sd2wav: couldn't open shut: Permission denied\n"
                                     "exit 1\n"))
        << detect.out;

    const Result json = sh(S + " detect --json shut");
    EXPECT_EQ(json.exitCode, 1);
    EXPECT_EQ(json.out, "{\"path\":\"shut\",\"error\":\"Couldn't open: Permission denied\"}\n"
                        "sd2wav: no .sd2 files found in the given paths\n");

    const Result convert = sh(S + " convert -o out drop");
    EXPECT_EQ(convert.exitCode, 1) << convert.out;
    EXPECT_NE(convert.out.find("sd2wav: couldn't open drop/locked: Permission denied\n"), std::string::npos);
    EXPECT_TRUE(lineFor(convert.out, "drop/ok.sd2").ends_with("Bounced → ok_48kHz_24bit_stereo.wav")) << convert.out;
    EXPECT_TRUE(lineFor(convert.out, "drop/locked.sd2").ends_with("  Couldn't read the file (Permission denied)"));
    EXPECT_TRUE(lineFor(convert.out, "drop/take.sd2")
                    .ends_with("  Couldn't read the file's metadata (drop/._take.sd2: Permission denied)"));
    EXPECT_EQ(test::tree(dir / "out"), std::set<std::string>{"ok_48kHz_24bit_stereo.wav"});
    EXPECT_EQ(sh(S + " detect drop/take.sd2").out,
              "drop/take.sd2  Unreadable file (couldn't read the metadata in drop/._take.sd2: Permission denied)\n");
}

TEST_F(Hostile, DefaultOutputFolderIsMadeBesideAFileThatExistsAndNeverThroughALink)
{
    const std::string S = ordinaryUser();
    take("real/b.sd2");
    const Result r = sh("$S convert typo/nosuchdir/a.sd2 real/b.sd2");
    EXPECT_EQ(r.exitCode, 1) << r.out;
    EXPECT_TRUE(lineFor(r.out, "typo/nosuchdir/a.sd2").ends_with("  Couldn't read the file (No such file or directory)")) << r.out;
    EXPECT_TRUE(fs::exists(dir / "real" / "_sd2_outputs" / "b_48kHz_24bit_stereo.wav")) << r.out;
    EXPECT_FALSE(fs::exists(dir / "typo")) << "no folders along a mistyped path";

    // A link in its place (from an unpacked archive, say), or in a kept tree's place inside
    // it, is not followed; a folder the user names is theirs, link or not. A folder that
    // cannot be made gives its own reason.
    take("src/a.sd2");
    take("src/inner/a.sd2");
    take("arch/S/a.sd2");
    fs::create_directory(dir / "elsewhere");
    fs::create_symlink("../elsewhere", dir / "src/_sd2_outputs");
    fs::create_directory(dir / "_sd2_outputs");
    fs::create_symlink("../elsewhere", dir / "_sd2_outputs/arch");
    take("shut/a.sd2");
    fs::permissions(dir / "shut", fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                      fs::perms::others_exec);
    const std::pair<std::string, std::string> cases[] = {
        {"$S convert src/a.sd2", "src/a.sd2  Choked: couldn't use src/_sd2_outputs: it is a symbolic link\n"},
        {"$S convert --keep-tree src/inner",
         "src/inner/a.sd2  Choked: couldn't use src/_sd2_outputs: it is a symbolic link\n"},
        {"$S convert --keep-tree arch", "arch/S/a.sd2  Choked: couldn't use _sd2_outputs/arch: it is a symbolic link\n"},
        {"cd shut && " + S + " convert a.sd2", "a.sd2  Choked: couldn't create _sd2_outputs: Permission denied\n"},
        {"$S convert -o src/_sd2_outputs src/a.sd2", "src/a.sd2  Bounced → a_48kHz_24bit_stereo.wav\n"}};
    for (const auto& [command, out] : cases)
        EXPECT_EQ(sh(command).out, out) << command;
    fs::permissions(dir / "shut", fs::perms::owner_all);
    EXPECT_EQ(test::tree(dir / "elsewhere"), std::set<std::string>{"a_48kHz_24bit_stereo.wav"});
}

TEST_F(Hostile, AReportThatCannotBeWrittenIsAFailure)
{
    take("a.sd2");
    const Result r = sh("for run in 'detect a.sd2' 'convert -o out a.sd2' 'convert --json -o out a.sd2' --help; do "
                        "$S $run > /dev/full; echo \"exit $?\"; done");
    const std::string failed = "sd2wav: couldn't write the report to standard output: No space left on device\nexit 1\n";
    EXPECT_EQ(r.out, failed + failed + failed + "sd2wav: couldn't write to standard output: No space left on device\nexit 1\n");
    EXPECT_EQ(test::tree(dir / "out").size(), 2u) << "the files are still converted";
}
