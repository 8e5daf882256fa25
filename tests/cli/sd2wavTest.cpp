#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/process.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

using test::Outcome;

// What ffprobe says of a WAV file: "codec channels rate frames", or empty when it cannot read it.
std::string probe(const fs::path& wav)
{
    return test::commandOutput("ffprobe -v error -select_streams a:0 -count_packets -show_entries "
                               "stream=codec_name,channels,sample_rate,duration_ts -of csv=p=0 '" +
                               wav.string() + "' 2>/dev/null");
}

class Sd2wav : public ::testing::Test {
protected:
    Outcome run(const std::vector<std::string>& args) const { return test::runSd2wav(dir, args); }

    std::string write(const std::string& name, const std::vector<std::uint8_t>& bytes) const
    {
        return scratch.write(name, bytes).string();
    }

    test::ScratchDir scratch;
    const fs::path dir = scratch.path();
};

} // namespace

// One status line per file in queue order, a missing file an unreadable one; the JSON lines
// are the same whatever the job count.
TEST_F(Sd2wav, DetectPrintsOneLinePerFileInQueueOrder)
{
    const auto stereo = test::interleave(test::sine(20000, 40, 10000), test::sine(20000, 25, 8000));
    write("set/Take 10.sd2", test::encode(stereo, SourceFormat::s16le));
    const std::string take = write("set/take 2.SD2", test::encode(test::sine(40000, 20, 10000), SourceFormat::s16be));
    write("set/notes.txt", {1, 2, 3});
    write("set/b.sd2", test::encode(test::sine(40000, 20, 1000000), SourceFormat::s24le));
    write("set/c.sd2", {});
    const std::string folder = write("set/d.sd2/inner.sd2", {0, 1, 0, 2});
    fs::remove(folder);
    fs::create_directory(folder);
    const std::string set = (dir / "set").string(), missing = (dir / "gone.sd2").string();

    const Outcome r = run({"detect", set, missing});
    EXPECT_EQ(r.exitCode, 1) << "a missing file is an unreadable one";
    const auto out = test::lines(r.out);
    ASSERT_EQ(out.size(), 7u) << r.out;
    for (const auto& [line, name, status] : {std::tuple{0, "gone.sd2", "Unreadable file (No such file or directory)"},
                                             {5, "take 2.SD2", "16-bit BE (auto) · Mono · confident"},
                                             {6, "Take 10.sd2", "16-bit LE (auto) · Stereo · confident"}})
        EXPECT_TRUE(out[line].find(std::string("/") + name + "  ") != std::string::npos && out[line].ends_with(status)) << out[line];
    const Outcome fixed = run({"detect", "--source-format", "s24le", take});
    EXPECT_EQ(fixed.exitCode, 0);
    EXPECT_NE(fixed.out.find("24-bit LE (set) · "), std::string::npos) << fixed.out;

    const Outcome serial = run({"detect", "--json", "-j", "1", set});
    const Outcome parallel = run({"detect", "--json", "-j2", set});
    EXPECT_EQ(serial.out, parallel.out);
    const auto json = test::lines(serial.out);
    ASSERT_EQ(json.size(), 6u) << serial.out;
    EXPECT_NE(json[0].find("\"format\":\"s24le\""), std::string::npos) << json[0];
    EXPECT_NE(json[1].find("\"confidence\":\"too short\""), std::string::npos) << json[1];
    EXPECT_EQ(json[2], "{\"path\":\"" + set + "/d.sd2\",\"error\":\"Unreadable file: Is a folder\"}");
    EXPECT_EQ(json[3], "{\"path\":\"" + folder + "\",\"error\":\"Unreadable file: Is a folder\"}");
    EXPECT_EQ(json[4].substr(0, json[4].find(",\"corr\"")),
              "{\"path\":\"" + take + "\",\"format\":\"s16be\",\"channels\":1,\"confidence\":\"confident\"");
    EXPECT_TRUE(json[4].ends_with(",\"status\":\"16-bit BE (auto) · Mono · confident\",\"rate\":44100,\"from\":\"detection\"}"))
        << json[4];
}

TEST_F(Sd2wav, UsageErrorsHelpAndVersion)
{
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {}, {"detect"}, {"detect", "--source-format", "s32le", "x.sd2"}, {"detect", "-j", "0", "x.sd2"},
             {"detect", "--frobnicate", "x.sd2"}, {"convert-all"}, {"detect", "--source-format"},
             {"convert", "--rate", "44000", "x.sd2"}, {"convert", "--depth", "8", "x.sd2"},
             {"convert", "--channels", "Stereo", "x.sd2"}, {"convert", "-o", "", "x.sd2"}, {"convert"},
             {"convert", "--rate", "own", "x.sd2"}, {"convert", "--originator", "", "x.sd2"},
             {"convert", "--originator", std::string(33, 'o'), "x.sd2"}, {"verify"}, {"verify", "--all", "x.wav"}}) {
        const Outcome r = run(args);
        EXPECT_EQ(r.exitCode, 2) << r.err;
        EXPECT_TRUE(r.err.starts_with("sd2wav: ")) << r.err;
        EXPECT_NE(r.err.find("usage: sd2wav detect"), std::string::npos);
        EXPECT_TRUE(r.out.empty());
    }
    const Outcome help = run({"detect", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.starts_with("usage: ")) << help.out;

    const Outcome none = run({"detect", (dir / "nothing-here").string() + ".wav"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.err, "sd2wav: couldn't open " + (dir / "nothing-here").string() +
                            ".wav: No such file or directory\nsd2wav: no .sd2 files found in the given paths\n");

    // The project's version, and the audio libraries in use.
    const Outcome version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.starts_with("sd2wav " QUORVEL_VERSION " (libsoxr ")) << version.out;
    EXPECT_TRUE(version.out.ends_with(")\n") && version.out.find(", libsndfile ") != std::string::npos) << version.out;
}

TEST_F(Sd2wav, DemoWritesEveryEncodingAndLayoutAndDetectsThem)
{
    const Outcome r = run({"demo", (dir / "demo").string()});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    const auto out = test::lines(r.out);
    ASSERT_EQ(out.size(), 9u) << r.out;
    for (std::size_t i = 1; i < out.size(); ++i) {
        // Each name states its true encoding and layout; detection must agree.
        const std::string& line = out[i];
        const auto format = SourceFormat::fromRaw(line.substr(line.find("demo ") + 5, 5));
        ASSERT_TRUE(format) << line;
        const std::string expected = std::string(format->shortText()) + " (auto) · " +
                                     (line.find(" mono.sd2") != std::string::npos ? "Mono" : "Stereo");
        EXPECT_NE(line.find(expected), std::string::npos) << line;
    }
}

TEST_F(Sd2wav, ConvertWritesWavFilesThatOtherToolsRead)
{
    const auto stereo = test::interleave(test::sine(44100, 40, 10000), test::sine(44100, 25, 8000));
    write("a/take.sd2", test::encode(stereo, SourceFormat::s24le));
    write("b/take.sd2", test::encode(test::sine(22050, 30, 10000), SourceFormat::s16be));
    write("b/hiss.sd2", test::randomBytes(100000, 1));

    // Same-named sources in two folders: the "(2)" goes to the later one in queue order, whatever -j is.
    const Outcome serial = run({"convert", "--json", "-j", "1", "-o", (dir / "out1").string(), (dir / "a").string(), (dir / "b").string()});
    const Outcome parallel = run({"convert", "--json", "-j", "2", "-o", (dir / "out2").string(), (dir / "a").string(), (dir / "b").string()});
    EXPECT_EQ(serial.exitCode, 1) << "the static file fails";
    const auto out = test::lines(serial.out);
    ASSERT_EQ(out.size(), 3u) << serial.out << serial.err;
    EXPECT_NE(out[0].find("\"status\":\"Bounced → take_48kHz_24bit_stereo.wav\",\"format\":\"s24le\",\"channels\":2"), std::string::npos) << out[0];
    EXPECT_NE(out[1].find("\"ok\":false,\"status\":\"Reads as static — try another source format in Advanced\""), std::string::npos) << out[1];
    EXPECT_NE(out[2].find("\"status\":\"Bounced → take_48kHz_24bit_stereo (2).wav\",\"format\":\"s16be\",\"channels\":1"), std::string::npos) << out[2];

    for (const char* name : {"take_48kHz_24bit_stereo.wav", "take_48kHz_24bit_stereo (2).wav"}) {
        EXPECT_EQ(test::slurp(dir / "out1" / name), test::slurp(dir / "out2" / name)) << name << " differs between -j 1 and -j 2";
    }
    EXPECT_EQ(probe(dir / "out1" / "take_48kHz_24bit_stereo.wav"), "pcm_s24le,48000,2,48000\n");
    EXPECT_EQ(probe(dir / "out1" / "take_48kHz_24bit_stereo (2).wav"), "pcm_s24le,48000,2,24000\n");
}

TEST_F(Sd2wav, JoinsSplitStereoPairsUnlessAskedNotTo)
{
    const auto tone = [](double period) { return test::encode(test::sine(40000, period, 9000), SourceFormat::s16be); };
    write("session/Gtr.L.sd2", tone(20));
    write("session/Gtr.R.sd2", tone(27));
    write("session/Take.sd2", tone(19));
    const std::string session = (dir / "session").string();

    const auto detected = test::lines(run({"detect", session}).out);
    ASSERT_EQ(detected.size(), 2u);
    EXPECT_NE(detected[0].find("Gtr.L.sd2 + R  16-bit BE (auto) · Stereo (L + R) · "), std::string::npos) << detected[0];
    EXPECT_NE(run({"detect", "--json", session}).out.find(
                  "\"pair\":{\"left\":\"" + session + "/Gtr.L.sd2\",\"right\":\"" + session + "/Gtr.R.sd2\"}"),
              std::string::npos);

    const Outcome converted = run({"convert", "--channels", "preserve", "-o", (dir / "out-pairs").string(), session});
    EXPECT_EQ(converted.exitCode, 0) << converted.out;
    EXPECT_EQ(test::tree(dir / "out-pairs"), (std::set<std::string>{"Gtr_48kHz_24bit_stereo.wav", "Take_48kHz_24bit_mono.wav"}));
    EXPECT_EQ(test::lines(run({"detect", "--no-pairs", session}).out).size(), 3u);

    // Pro Tools names without the extension are found by their content in a walk, and sd2wav
    // says how many files it left out.
    write("bare/Gtr.L", tone(20));
    write("bare/Gtr.R", tone(27));
    write("bare/notes", std::vector<std::uint8_t>(5000, 'x'));
    const Outcome bare = run({"detect", "--json", (dir / "bare").string()});
    EXPECT_EQ(bare.err, "sd2wav: left out 1 file without an extension that did not read as audio\n");
    EXPECT_TRUE(bare.out.ends_with(",\"from\":\"content\"}\n")) << bare.out;
}

// A file's own metadata names its rate and where it came from, over the run's source rate.
TEST_F(Sd2wav, MetadataGivesTheRateDetectReports)
{
    const auto stereo = test::interleave(test::sine(48000, 40, 10000), test::sine(48000, 25, 8000));
    write("s/Mix 3", test::encode(stereo, SourceFormat::s16be));
    write("s/._Mix 3", test::appleDouble(test::resourceFork({"2", "48000.000000", "2"})));
    write("s/take.bin", test::macBinary("Take 1", test::encode(stereo, SourceFormat::s16be),
                                        test::resourceFork({"2", "22050", "2"})));
    const std::string bare = write("s/plain.sd2", test::encode(stereo, SourceFormat::s16be));

    const Outcome r = run({"detect", "--json", "--source-rate", "48000", (dir / "s").string()});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto out = test::lines(r.out);
    ASSERT_EQ(out.size(), 3u) << r.out;
    EXPECT_TRUE(out[0].ends_with("\"status\":\"16-bit BE (file info) · Stereo · 48 kHz\",\"rate\":48000,"
                                 "\"from\":\"metadata\",\"container\":\"AppleDouble\"}"))
        << out[0];
    EXPECT_NE(out[1].find("\"path\":\"" + bare + "\""), std::string::npos) << out[1];
    EXPECT_TRUE(out[1].ends_with("\"rate\":48000,\"from\":\"detection\"}")) << out[1];
    EXPECT_TRUE(out[2].ends_with("\"rate\":22050,\"from\":\"metadata\",\"container\":\"MacBinary\"}")) << out[2];
}

// The folder a file sits in is its session: forks there give the rate, and three confident
// readings settle the file that cannot tell. Folders never vote for each other.
TEST_F(Sd2wav, ASessionSettlesItsUnsureFilesBeforeAnythingIsPrinted)
{
    const auto take = test::encode(test::interleave(test::sine(24000, 40, 900000), test::sine(24000, 25, 700000)), SourceFormat::s24be);
    write("A/a.sd2", take);
    write("A/b.sd2", take);
    write("A/c.sd2", take);
    write("A/._c.sd2", test::appleDouble(test::resourceFork({"3", "48000.000000", "2"})));
    const std::string quiet = write("A/quiet.sd2", std::vector<std::uint8_t>(60000, 0));
    write("A/sub/lone.sd2", std::vector<std::uint8_t>(60000, 0));
    const std::string folder = (dir / "A").string();

    const auto detected = test::lines(run({"detect", folder}).out);
    ASSERT_EQ(detected.size(), 5u);
    EXPECT_TRUE(detected[0].ends_with("24-bit BE (auto) · Stereo · confident · 48 kHz (session)")) << detected[0];
    EXPECT_TRUE(detected[3].ends_with("quiet.sd2     24-bit BE (auto) · Stereo · session · 48 kHz (session)")) << detected[3];
    EXPECT_TRUE(detected[4].ends_with("lone.sd2  16-bit BE (auto) · Mono · silent/constant")) << detected[4];
    const std::string plain = run({"detect", "--no-session", quiet, folder + "/a.sd2"}).out;
    EXPECT_TRUE(plain.ends_with("a.sd2      24-bit BE (auto) · Stereo · confident\n" + quiet +
                                "  16-bit BE (auto) · Mono · silent/constant\n")) << plain;

    const auto json = test::lines(run({"detect", "--json", folder}).out);
    ASSERT_EQ(json.size(), 5u);
    EXPECT_NE(json[3].find("\"format\":\"s24be\",\"channels\":2,\"confidence\":\"session\""), std::string::npos) << json[3];
    EXPECT_TRUE(json[3].ends_with("\"rate\":48000,\"from\":\"session\"}")) << json[3];

    // Split in shards, each file still hears its whole folder: the fork's file is converted
    // by another shard than the quiet one.
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        const Outcome part =
            run({"convert", "--json", "--shard", shard, "--channels", "preserve", "-o", (dir / "wav").string(), folder});
        ASSERT_EQ(part.exitCode, 0) << part.out;
        if (part.out.find("quiet.sd2") == std::string::npos)
            continue;
        EXPECT_EQ(part.out.find("c.sd2"), std::string::npos) << part.out;
        EXPECT_NE(part.out.find("\"autoCorrected\":false,\"from\":\"session\""), std::string::npos) << part.out;
        EXPECT_NE(part.out.find("\"rate\":48000,\"encodingFrom\":\"session\",\"layoutFrom\":\"session\",\"rateFrom\":\"session\""),
                  std::string::npos) << part.out;
    }
    EXPECT_EQ(probe(dir / "wav/a_48kHz_24bit_stereo.wav"), "pcm_s24le,48000,2,24000\n") << "at the session's rate";
    EXPECT_EQ(probe(dir / "wav/quiet_48kHz_24bit_stereo.wav"), "pcm_s24le,48000,2,10000\n") << "in its encoding and layout";
    ASSERT_EQ(run({"convert", "--no-session", "--channels", "preserve", "-o", (dir / "wav-plain").string(), quiet}).exitCode, 0);
    EXPECT_EQ(probe(dir / "wav-plain/quiet_48kHz_24bit_mono.wav"), "pcm_s24le,48000,1,32653\n");
}
