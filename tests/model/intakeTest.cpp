#include "core/pipeline/keptTree.hpp"
#include "model/intake.hpp"
#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

class Intake : public ::testing::Test {
protected:
    fs::path touch(const std::string& relative) const { return dir.write(relative, {}); }

    // Paths relative to the scratch folder, for readable expectations.
    std::vector<std::string> names(const PathList& paths) const
    {
        std::vector<std::string> out;
        for (const fs::path& p : paths)
            out.push_back(p.lexically_relative(dir.path()).string());
        return out;
    }
    using Names = std::vector<std::string>;

    test::ScratchDir dir;
};

} // namespace

// The given paths are ordered as if side by side in one folder: loose files by name, a
// folder's files under its name and then by their path below it, level by level, as a file
// browser lists them; folders of one name keep the order given. A folder is walked deeply,
// hidden entries included, and a folder named like a file is a candidate too.
TEST_F(Intake, OrdersAsAFileBrowserListsWhatWasGiven)
{
    struct Case {
        std::vector<std::string> files, given;
        Names expected;
    };
    const Case cases[] = {
        {{"Take 10.sd2", "take 2.SD2", "Take 1.sd2"}, {"Take 10.sd2", "take 2.SD2", "Take 1.sd2"},
         {"Take 1.sd2", "take 2.SD2", "Take 10.sd2"}},
        {{"A/PT Session 10/Audio Files/a.sd2", "A/PT Session 2/z.sd2", "A/PT Session 2/Audio Files/Vox 10.sd2",
          "A/PT Session 2/Audio Files/vox 2.sd2"},
         {"A"},
         {"A/PT Session 2/Audio Files/vox 2.sd2", "A/PT Session 2/Audio Files/Vox 10.sd2", "A/PT Session 2/z.sd2",
          "A/PT Session 10/Audio Files/a.sd2"}},
        {{"B/x/Set/c.sd2", "B/x/Set/b.sd2", "B/Loose.sd2", "B/y/Set/a.sd2", "B/a.sd2", "B/z/Set 2/a.sd2"},
         {"B/z/Set 2", "B/x/Set", "B/Loose.sd2", "B/y/Set", "B/a.sd2"},
         {"B/a.sd2", "B/Loose.sd2", "B/x/Set/b.sd2", "B/x/Set/c.sd2", "B/y/Set/a.sd2", "B/z/Set 2/a.sd2"}},
        {{"drop/b/x.sd2", "drop/a/x.sd2", "drop/.hidden.sd2", "drop/.cache/deep/y.Sd2", "drop/notes.txt", "drop/mix.wav",
          "drop/folder.sd2/inner/z.sd2"},
         {"drop"},
         {"drop/.cache/deep/y.Sd2", "drop/.hidden.sd2", "drop/a/x.sd2", "drop/b/x.sd2", "drop/folder.sd2",
          "drop/folder.sd2/inner/z.sd2"}},
    };
    for (const Case& c : cases) {
        PathList given;
        for (const std::string& file : c.files)
            touch(file);
        for (const std::string& path : c.given)
            given.push_back(dir / path);
        EXPECT_EQ(names(collectSd2Paths(given, {}).paths), c.expected) << c.given[0];
    }
}

TEST_F(Intake, NamesAGivenFolderHoweverItIsSpelled)
{
    for (const char* spelled : {"Session/", "./Session/.", "a/../Session", "Session"})
        EXPECT_EQ(folderName(spelled), "Session") << spelled;
    EXPECT_EQ(folderName("."), fs::current_path().filename());
    EXPECT_EQ(pathBelowRoot("Session/Audio Files/x.sd2", fs::path("Session/")), "Audio Files/x.sd2");
}

TEST_F(Intake, TakesEachFileOnceWhateverItsSpelling)
{
    const fs::path take = touch("set/take.sd2");
    fs::create_hard_link(take, dir / "hard.sd2");
    fs::create_symlink(take, dir / "soft.sd2");
    const fs::path spelled = dir / "set" / "." / ".." / "set" / "take.sd2";
    // The first spelling met stays, with the folder it was found under: here the walk of the
    // folder, given first; a file given by itself has none.
    const CollectedPaths walked = collectSd2Paths({dir / "set", take, spelled, dir / "soft.sd2", dir / "hard.sd2"}, {});
    EXPECT_EQ(walked.paths, PathList{take});
    EXPECT_EQ(walked.rootOf(take), dir / "set");
    const CollectedPaths alone = collectSd2Paths({spelled, dir / "set"}, {});
    EXPECT_EQ(alone.paths, PathList{spelled});
    EXPECT_EQ(alone.rootOf(spelled), std::nullopt);

    // Already queued, under any spelling, or byte for byte when the queued file is gone.
    EXPECT_TRUE(collectSd2Paths({spelled, dir / "soft.sd2"}, {take.string()}).paths.empty());
    EXPECT_TRUE(collectSd2Paths({dir / "gone.sd2"}, {(dir / "gone.sd2").string()}).paths.empty());
    // Missing files are one file when their spellings normalise to one path.
    EXPECT_EQ(collectSd2Paths({dir / "gone.sd2", dir / "set" / ".." / "gone.sd2"}, {}).paths, PathList{dir / "gone.sd2"});
    EXPECT_TRUE(collectSd2Paths({touch("mix.wav"), dir / "empty-folder"}, {}).paths.empty());
}

TEST_F(Intake, KeepsOddNamesMissingFilesAndSurvivesSymlinkLoops)
{
    EXPECT_EQ(collectSd2Paths({dir / "gone.sd2"}, {}).paths, PathList{dir / "gone.sd2"});

    touch("loop/real.sd2");
    fs::create_directory_symlink(dir / "loop", dir / "loop" / "again");
    fs::create_symlink(dir / "nowhere.sd2", dir / "loop" / "dangling.sd2");
    EXPECT_EQ(names(collectSd2Paths({dir / "loop"}, {}).paths), (Names{"loop/dangling.sd2", "loop/real.sd2"}));

    // Bytes that are not UTF-8, quotes and a line break: the exact name comes back, and
    // survives the trip through a file URL.
    const fs::path odd = touch("odd/caf\xe9 \"take\"\n1.sd2");
    const PathList found = collectSd2Paths({dir / "odd"}, {}).paths;
    ASSERT_EQ(found, PathList{odd});
    EXPECT_EQ(pathForUrl(urlForPath(odd)), odd);
}

// Classic Mac files without the extension are queued when their sidecar or container says
// Sd2f; sidecars never are, even when their names end in ".sd2".
TEST_F(Intake, QueuesSd2fFilesByTheirTypeAndNeverTheirSidecars)
{
    const test::Bytes fork = test::resourceFork({});
    touch("drop/Mix 3");
    dir.write("drop/._Mix 3", test::appleDouble(fork));
    touch("drop/Mix 3.1");
    dir.write("drop/.AppleDouble/Mix 3.1", test::appleDouble(fork));
    touch("drop/notes");
    dir.write("drop/._notes", test::appleContainer(0x00051607, {{9, test::finderInfo("TEXT", "ttxt")}}));
    dir.write("drop/Take.bin", test::macBinary("Take", {1, 2, 3, 4}, fork));
    dir.write("drop/Other.bin", test::macBinary("Other", {1, 2}, fork, "TEXT"));
    dir.write("drop/Single", test::appleSingle({1, 2, 3, 4}, fork));
    touch("drop/take.sd2");
    dir.write("drop/._take.sd2", test::appleDouble(fork));
    touch("drop/Session/Audio Files/Mix 4");
    dir.write("drop/__MACOSX/Session/Audio Files/._Mix 4", test::appleDouble(fork));
    touch("drop/__MACOSX/Session/Audio Files/stray.sd2");

    EXPECT_EQ(names(collectSd2Paths({dir / "drop"}, {}).paths),
              (Names{"drop/Mix 3", "drop/Mix 3.1", "drop/Session/Audio Files/Mix 4", "drop/Single", "drop/Take.bin",
                     "drop/take.sd2"}));
    // Given one by one, the same rules hold; and a bare name given is always taken.
    EXPECT_EQ(names(collectSd2Paths({dir / "drop/Mix 3", dir / "drop/._take.sd2", dir / "drop/notes"}, {}).paths),
              (Names{"drop/Mix 3", "drop/notes"}));
}

// A walk sniffs bare names (no extension, or only a channel suffix): audio, quiet audio
// (peaking at −75 dBFS) included, is queued, other files (silence too) are counted and left out. Named explicitly, a bare name is always taken.
TEST_F(Intake, SniffsBareNamesInAWalk)
{
    const auto tone = [](double period) { return test::encode(test::sine(40000, period, 9000), SourceFormat::s16be); };
    test::Bytes wav = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E'};
    const test::Bytes data = tone(20);
    wav.insert(wav.end(), data.begin(), data.end());
    std::string text;
    while (text.size() < 60000)
        text += "Session notes: comp the second verse from takes 3 and 7, ride the vocal up 2 dB.\n";
    dir.write("drop/Audio 1_01", tone(20));
    dir.write("drop/Cue", test::encode(test::joined(test::ditheredSilence(20000), test::sine(40000, 50, 6)), SourceFormat::s16be));
    dir.write("drop/Gtr.L", tone(27));
    dir.write("drop/Gtr.r", tone(31));
    dir.write("drop/Gtr.v2.L", tone(33));
    dir.write("drop/Take", wav);
    dir.write("drop/readme", test::Bytes(text.begin(), text.end()));
    dir.write("drop/room", std::vector<std::uint8_t>(60000, 0));

    const CollectedPaths walked = collectSd2Paths({dir / "drop"}, {});
    EXPECT_EQ(names(walked.paths), (Names{"drop/Audio 1_01", "drop/Cue", "drop/Gtr.L", "drop/Gtr.r"}));
    EXPECT_EQ(walked.sniffed, std::set<fs::path>(walked.paths.begin(), walked.paths.end()));
    EXPECT_EQ(walked.notAudio, 3u);
    const std::vector<QueuedSource> pair = queuedSources(walked, true);
    ASSERT_EQ(pair.size(), 3u);
    EXPECT_TRUE(pair[2].isPair() && pair[2].sniffed);

    const CollectedPaths given = collectSd2Paths({dir / "drop/Take", dir / "drop/readme", dir / "drop/Gtr.v2.L"}, {});
    EXPECT_EQ(names(given.paths), (Names{"drop/readme", "drop/Take"}));
    EXPECT_TRUE(given.sniffed.empty());
}
