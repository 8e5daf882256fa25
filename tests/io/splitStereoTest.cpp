#include "core/io/splitStereo.hpp"

#include <gtest/gtest.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace quorvel { // "s/G.L + s/G.R" in failure messages rather than raw bytes
void PrintTo(const QueuedSource& s, std::ostream* os) { *os << s.path.string() << (s.right ? " + " + s.right->string() : ""); }
} // namespace quorvel

namespace {

using Sources = std::vector<QueuedSource>;

QueuedSource one(const fs::path& path) { return {path, std::nullopt}; }
QueuedSource pair(const fs::path& left, const fs::path& right) { return {left, right}; }

} // namespace

TEST(SplitStereo, JoinsTrueHalvesAndNeverGuesses)
{
    const std::pair<std::vector<fs::path>, Sources> cases[] = {
        // With or without an extension, in any identifier case.
        {{"s/Gtr.L.sd2", "s/Gtr.R.sd2"}, {pair("s/Gtr.L.sd2", "s/Gtr.R.sd2")}},
        {{"s/Gtr.L", "s/Gtr.R"}, {pair("s/Gtr.L", "s/Gtr.R")}},
        {{"s/Mix 1.L.sd2", "s/Mix 1.r.sd2"}, {pair("s/Mix 1.L.sd2", "s/Mix 1.r.sd2")}},
        // The right half met first still puts the left half first; the pair takes its place.
        {{"s/a.sd2", "s/Vox.r.SD2", "s/b.sd2", "s/Vox.l.SD2"}, {one("s/a.sd2"), pair("s/Vox.l.SD2", "s/Vox.r.SD2"), one("s/b.sd2")}},
        // The same half given twice is still one pair.
        {{"s/G.L", "s/G.R", "s/G.L"}, {pair("s/G.L", "s/G.R")}},
        // Lone halves, other folders, other names.
        {{"s/Gtr.L.sd2", "s/Bass.R.sd2"}, {one("s/Gtr.L.sd2"), one("s/Bass.R.sd2")}},
        {{"a/Gtr.L.sd2", "b/Gtr.R.sd2"}, {one("a/Gtr.L.sd2"), one("b/Gtr.R.sd2")}},
        // The extension must match exactly: only the identifier's case is free.
        {{"s/Gtr.L.sd2", "s/Gtr.R.SD2"}, {one("s/Gtr.L.sd2"), one("s/Gtr.R.SD2")}},
        // An identifier is a whole dotted part, not a letter at the end of a name.
        {{"s/TakeL.sd2", "s/TakeR.sd2"}, {one("s/TakeL.sd2"), one("s/TakeR.sd2")}},
        {{"s/.L", "s/.R"}, {one("s/.L"), one("s/.R")}},
        // A.l.SD2 is not A.R.sd2's partner (its extension differs), so A.L + A.R still pair.
        {{"s/A.L.sd2", "s/A.R.sd2", "s/A.l.SD2"}, {pair("s/A.L.sd2", "s/A.R.sd2"), one("s/A.l.SD2")}},
        // Two left halves for one right: no pairing at all.
        {{"s/B.L", "s/B.l", "s/B.R"}, {one("s/B.L"), one("s/B.l"), one("s/B.R")}},
        // A 5.1 set: the front pair of a surround mix is not a stereo file.
        {{"s/Mix.C.sd2", "s/Mix.L.sd2", "s/Mix.LFE.sd2", "s/Mix.Ls.sd2", "s/Mix.R.sd2", "s/Mix.Rs.sd2"},
         {one("s/Mix.C.sd2"), one("s/Mix.L.sd2"), one("s/Mix.LFE.sd2"), one("s/Mix.Ls.sd2"), one("s/Mix.R.sd2"), one("s/Mix.Rs.sd2")}},
    };
    for (const auto& [paths, expected] : cases) {
        std::string input;
        for (const fs::path& p : paths)
            input += p.string() + "  ";
        EXPECT_EQ(joinSplitStereo(paths), expected) << input;
    }
    EXPECT_EQ(pair("s/Gtr.L.sd2", "s/Gtr.R.sd2").displayStem(), "Gtr");
    EXPECT_EQ(pair("s/Gtr.L", "s/Gtr.R").displayStem(), "Gtr");
    EXPECT_EQ(one("s/Gtr.L.sd2").displayStem(), "Gtr.L");
}
