// sd2wav over whole archives: the kept folder structure, shards that split the work, and
// runs that resume after being killed.
#include "support/files.hpp"
#include "support/hashes.hpp"
#include "support/process.hpp"
#include "support/riff.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <random>
#include <regex>
#include <set>
#include <thread>

#include <sys/wait.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

using test::Outcome;

class Archive : public ::testing::Test {
protected:
    Outcome run(const std::vector<std::string>& args) const { return test::runSd2wav(dir.path(), args); }
    void take(const std::string& name, int seconds = 1) const
    {
        dir.write(name, test::stereoTake(SourceFormat::s16be, seconds));
    }
    std::set<std::string> tree(const fs::path& folder) const { return test::tree(dir / folder); }

    test::ScratchDir dir;
};

} // namespace

// Each given folder keeps its structure under its own name, two of one name included; a file
// given by itself lands at the top; a file that fails leaves no folder behind.
TEST_F(Archive, KeepsTheTreeOfEachGivenFolder)
{
    take("A/PT Session 2/Audio Files/Vox_07.sd2");
    take("A/PT Session 10/Audio Files/Vox_07.sd2");
    take("A/PT Session 10/Bounced Files/Mix.sd2");
    dir.write("A/PT Session 10/Fades/noise.sd2", test::randomBytes(100000, 7));
    take("B/PT Session 2/Audio Files/Vox_07.sd2");
    take("A/loose.sd2");

    const Outcome r = run({"convert", "--keep-tree", "A/PT Session 2", "B/PT Session 2", "A/PT Session 10", "A/loose.sd2"});
    EXPECT_EQ(r.exitCode, 1) << "the noise fails";
    std::vector<std::string> order;
    for (const std::string& line : test::lines(r.out))
        order.push_back(line.substr(0, line.find(".sd2") + 4));
    EXPECT_EQ(order, (std::vector<std::string>{"A/loose.sd2", "A/PT Session 2/Audio Files/Vox_07.sd2",
                                               "B/PT Session 2/Audio Files/Vox_07.sd2",
                                               "A/PT Session 10/Audio Files/Vox_07.sd2",
                                               "A/PT Session 10/Bounced Files/Mix.sd2", "A/PT Session 10/Fades/noise.sd2"}));
    const std::string wav = "_48kHz_24bit_stereo.wav";
    EXPECT_EQ(tree("A/_sd2_outputs"),
              (std::set<std::string>{"loose" + wav, "PT Session 2/", "PT Session 2/Audio Files/",
                                     "PT Session 2/Audio Files/Vox_07" + wav, "PT Session 2 (2)/",
                                     "PT Session 2 (2)/Audio Files/", "PT Session 2 (2)/Audio Files/Vox_07" + wav,
                                     "PT Session 10/", "PT Session 10/Audio Files/",
                                     "PT Session 10/Audio Files/Vox_07" + wav, "PT Session 10/Bounced Files/",
                                     "PT Session 10/Bounced Files/Mix" + wav}));
}

// Every machine computes the same split wherever the archive is mounted, and the parts
// together are the whole, each file once.
TEST_F(Archive, ShardsSplitTheArchiveExactlyOnce)
{
    for (const char* session : {"S 1", "S 2", "S 3"})
        for (const char* name : {"a", "b", "c", "d"})
            take(std::string("mnt/one/ARCH/") + session + "/" + name + ".sd2");
    take("mnt/one/loose.sd2");
    fs::create_directories(dir / "mnt/two/deeper");
    fs::copy(dir / "mnt/one", dir / "mnt/two/deeper", fs::copy_options::recursive);

    ASSERT_EQ(run({"convert", "--keep-tree", "-o", "whole", "mnt/one/ARCH", "mnt/one/loose.sd2"}).exitCode, 0);
    // The files a run wrote, none when it wrote nothing.
    const auto files = [&](const std::string& to) {
        std::multiset<std::string> found;
        for (const std::string& entry : fs::exists(dir / to) ? tree(to) : std::set<std::string>{})
            if (!entry.ends_with('/'))
                found.insert(entry);
        return found;
    };
    for (const int n : {1, 2, 3, 7}) {
        std::multiset<std::string> together;
        for (int k = 1; k <= n; ++k) {
            const std::string shard = std::to_string(k) + "/" + std::to_string(n), to = "parts/" + shard + "/";
            for (const std::string mount : {"mnt/one/", "mnt/two/deeper/"})
                EXPECT_EQ(run({"convert", "--keep-tree", "--shard", shard, "-o", to + mount, mount + "ARCH", mount + "loose.sd2"})
                              .exitCode, 0) << shard;
            EXPECT_EQ(files(to + "mnt/one/"), files(to + "mnt/two/deeper/")) << "shard " << shard << " differs between mount points";
            together.merge(files(to + "mnt/one/"));
        }
        EXPECT_EQ(together, files("whole")) << n << " parts";
    }

    for (const char* bad : {"0/3", "4/3", "3", "1/0", "a/2", "1/2x", "-1/2", "1/"})
        EXPECT_EQ(run({"convert", "--shard", bad, "mnt"}).exitCode, 2) << bad;
}

// A run killed at random points, then run again with its report until it finishes, ends with
// the files of a run never interrupted: no " (2)", no partial file. Run once more, it writes
// nothing.
TEST_F(Archive, KilledRunsResumeToTheSameFiles)
{
    for (const char* session : {"Session 1", "Session 2", "Session 10"})
        for (const char* name : {"Kick", "Snare", "Vox", "Caf\x8e"}) // the last is not UTF-8 (MacRoman)
            take(std::string("ARCH/") + session + "/" + name + ".sd2", 2);
    const auto args = [](const std::string& report, const std::string& out, const std::string& depth = "24") {
        return std::vector<std::string>{"convert", "--keep-tree", "-j", "3", "--rate", "96000", "--depth", depth,
                                        "--report", report, "-o", out, "ARCH"};
    };

    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(run(args("whole.jsonl", "whole")).exitCode, 0);
    const auto uninterrupted = std::chrono::steady_clock::now() - started;

    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    const auto half = std::chrono::duration_cast<std::chrono::microseconds>(uninterrupted) / 2;
    std::uniform_int_distribution<std::int64_t> at(0, half.count());
    int status = 0, kills = 0;
    for (int attempt = 0; attempt < 40; ++attempt) {
        const pid_t pid = test::startSd2wav(dir.path(), args("resumed.jsonl", "resumed"));
        std::this_thread::sleep_for(std::chrono::microseconds(at(random)));
        ::kill(pid, SIGKILL);
        ::waitpid(pid, &status, 0);
        if (WIFEXITED(status))
            break;
        ++kills;
    }
    // A crash can also leave a line cut short.
    std::ofstream(dir / "resumed.jsonl", std::ios::app) << "{\"path\":\"ARCH/Session 1/Kick.sd2\",\"ok\":tr";
    const Outcome finish = run(args("resumed.jsonl", "resumed"));
    EXPECT_EQ(finish.exitCode, 0) << finish.err << "seed " << seed;
    EXPECT_GT(kills, 0) << "no run was interrupted";
    EXPECT_EQ(tree("resumed"), tree("whole")) << "seed " << seed;

    const std::string report = test::slurp(dir / "resumed.jsonl");
    const Outcome again = run(args("resumed.jsonl", "resumed"));
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.err, "sd2wav: skipped 12 files that resumed.jsonl lists as converted\n");
    EXPECT_EQ(again.out, "");
    EXPECT_EQ(test::slurp(dir / "resumed.jsonl"), report);
    EXPECT_EQ(tree("resumed"), tree("whole"));

    // A source that changed since, or other settings, and the file is converted again.
    fs::last_write_time(dir / "ARCH/Session 2/Vox.sd2", fs::file_time_type::clock::now());
    EXPECT_EQ(run(args("resumed.jsonl", "resumed")).err, "sd2wav: skipped 11 files that resumed.jsonl lists as converted\n");
    EXPECT_EQ(run(args("resumed.jsonl", "resumed", "16")).err, "");

    // A report that cannot be read or made stops the run before it writes anything.
    for (const char* report : {"ARCH", "missing/report.jsonl"}) {
        const Outcome r = run(args(report, "never"));
        EXPECT_EQ(r.exitCode, 1) << report;
        EXPECT_TRUE(r.err.starts_with("sd2wav: couldn't ")) << r.err;
        EXPECT_FALSE(fs::exists(dir / "never")) << report;
    }
}

// What an archivist files and checks: each line gives the source's SHA-256, the audio's MD5
// (the MD5 chunk's), frames, rate and origins, the same in the CSV report, which a rerun
// resumes from; verify passes the outputs until one's audio changes. mediainfo reads the bext.
TEST_F(Archive, ReportsChecksumsAnArchivistCanVerify)
{
    take("A/Take 1.sd2");
    take("A/Take 2.sd2", 2);
    const std::vector<std::string> masters{"convert", "--json", "--report", "r.csv", "--originator", "US, Example Archive",
                                           "--rate", "source", "--depth", "source", "-o", "out", "A"};
    const Outcome r = run(masters);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string csv = test::slurp(dir / "r.csv");
    EXPECT_TRUE(csv.starts_with("path,rawPath,pair,rawRight,output,rawOutput,ok,status,error,format,channels,autoCorrected,"
                                "from,size,modified,rightSize,rightModified,outputSize,sha256,rightSha256,audioMD5,frames,"
                                "rate,encodingFrom,layoutFrom,rateFrom,settings\r\n")) << csv;
    std::vector<std::string> outputs;
    for (const std::string& line : test::lines(r.out)) {
        std::smatch m;
        ASSERT_TRUE(std::regex_search(line, m, std::regex(R"re("path":"([^"]+)","output":"([^"]+)".*"sha256":"(\w+)","audioMD5":"(\w+)","frames":(\d+),"rate":44100,"encodingFrom":"detection","layoutFrom":"detection","rateFrom":"set")re"))) << line;
        const std::string source = test::slurp(dir / m[1].str());
        auto chunks = test::chunksOf(dir / m[2].str());
        EXPECT_EQ(m[3].str(), test::hexDigest(source, QCryptographicHash::Sha256));
        EXPECT_EQ(m[4].str(), test::hexDigest(chunks["data"], QCryptographicHash::Md5));
        EXPECT_EQ(std::stoul(m[5].str()) * 4, source.size());
        EXPECT_NE(csv.find(m[3].str() + ",," + m[4].str() + "," + m[5].str() + ",44100,detection,detection,set,"), std::string::npos);
        outputs.push_back(m[2].str());
    }
    ASSERT_EQ(outputs.size(), 2u);
    const std::string info = test::commandOutput("mediainfo '" + (dir / outputs[0]).string() + "'");
    for (const char* shown : {"Producer                                 : US, Example Archive",
                              "Description                              : Take 1.sd2, 16-bit BE, stereo, 44.1 kHz (detected)",
                              "Encoding settings                        : A=PCM,F=44100,W=16,M=stereo,T=Sound Designer II"})
        EXPECT_NE(info.find(shown), std::string::npos) << info;

    EXPECT_EQ(run(masters).err, "sd2wav: skipped 2 files that r.csv lists as converted\n");
    const Outcome verified = run({"verify", outputs[0], outputs[1]});
    EXPECT_EQ(verified.exitCode, 0) << verified.err;
    EXPECT_EQ(verified.out, outputs[0] + "  MD5 matches\n" + outputs[1] + "  MD5 matches\n");
    {
        std::fstream wav(dir / outputs[0], std::ios::in | std::ios::out | std::ios::binary);
        wav.seekp(-1000, std::ios::end);
        wav.put('\x55');
    }
    const Outcome changed = run({"verify", outputs[1], outputs[0], outputs[1]});
    EXPECT_EQ(changed.exitCode, 1);
    EXPECT_EQ(changed.out, outputs[1] + "  MD5 matches\n");
    EXPECT_TRUE(changed.err.starts_with("sd2wav: " + outputs[0] + ": the audio's MD5 is ")) << changed.err;

    ASSERT_EQ(run({"convert", "--plain-wav", "-o", "plain", "A/Take 1.sd2"}).exitCode, 0);
    EXPECT_EQ(test::chunksOf(dir / "plain/Take 1_48kHz_24bit_stereo.wav")["order"], "fmt data");
    EXPECT_TRUE(run({"verify", "plain/Take 1_48kHz_24bit_stereo.wav"}).err.ends_with(": no MD5 chunk\n"));
}
