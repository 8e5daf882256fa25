#include "core/io/splitStereo.hpp"

#include <gtest/gtest.h>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

using Sources = std::vector<QueuedSource>;

QueuedSource one(const fs::path& path) { return {path, std::nullopt}; }
QueuedSource pair(const fs::path& left, const fs::path& right) { return {left, right}; }

} // namespace

TEST(SplitStereo, JoinsHalvesWithOrWithoutAnExtensionInAnyIdentifierCase)
{
    EXPECT_EQ(joinSplitStereo({"s/Gtr.L.sd2", "s/Gtr.R.sd2"}), (Sources{pair("s/Gtr.L.sd2", "s/Gtr.R.sd2")}));
    EXPECT_EQ(joinSplitStereo({"s/Gtr.L", "s/Gtr.R"}), (Sources{pair("s/Gtr.L", "s/Gtr.R")}));
    // The right half met first still puts the left half first; the pair takes its place.
    EXPECT_EQ(joinSplitStereo({"s/a.sd2", "s/Vox.r.SD2", "s/b.sd2", "s/Vox.l.SD2"}),
              (Sources{one("s/a.sd2"), pair("s/Vox.l.SD2", "s/Vox.r.SD2"), one("s/b.sd2")}));
    EXPECT_EQ(joinSplitStereo({"s/Mix 1.L.sd2", "s/Mix 1.r.sd2"}), (Sources{pair("s/Mix 1.L.sd2", "s/Mix 1.r.sd2")}));
    EXPECT_EQ(pair("s/Gtr.L.sd2", "s/Gtr.R.sd2").displayStem(), "Gtr");
    EXPECT_EQ(pair("s/Gtr.L", "s/Gtr.R").displayStem(), "Gtr");
    EXPECT_EQ(one("s/Gtr.L.sd2").displayStem(), "Gtr.L");
}

TEST(SplitStereo, LeavesLoneHalvesOtherFoldersAndOtherNamesAlone)
{
    EXPECT_EQ(joinSplitStereo({"s/Gtr.L.sd2", "s/Bass.R.sd2"}), (Sources{one("s/Gtr.L.sd2"), one("s/Bass.R.sd2")}));
    EXPECT_EQ(joinSplitStereo({"a/Gtr.L.sd2", "b/Gtr.R.sd2"}), (Sources{one("a/Gtr.L.sd2"), one("b/Gtr.R.sd2")}));
    // The extension must match exactly: only the identifier's case is free.
    EXPECT_EQ(joinSplitStereo({"s/Gtr.L.sd2", "s/Gtr.R.SD2"}), (Sources{one("s/Gtr.L.sd2"), one("s/Gtr.R.SD2")}));
    // An identifier is a whole dotted part, not a letter at the end of a name.
    EXPECT_EQ(joinSplitStereo({"s/TakeL.sd2", "s/TakeR.sd2"}), (Sources{one("s/TakeL.sd2"), one("s/TakeR.sd2")}));
    EXPECT_EQ(joinSplitStereo({"s/.L", "s/.R"}), (Sources{one("s/.L"), one("s/.R")}));
}

TEST(SplitStereo, NeverGuessesBetweenClashingOrSurroundHalves)
{
    // A.l.SD2 is not A.R.sd2's partner (its extension differs), so A.L + A.R still pair.
    EXPECT_EQ(joinSplitStereo({"s/A.L.sd2", "s/A.R.sd2", "s/A.l.SD2"}),
              (Sources{pair("s/A.L.sd2", "s/A.R.sd2"), one("s/A.l.SD2")}));
    // Two left halves for one right: no pairing at all.
    EXPECT_EQ(joinSplitStereo({"s/B.L", "s/B.l", "s/B.R"}), (Sources{one("s/B.L"), one("s/B.l"), one("s/B.R")}));
    // A 5.1 set: the front pair of a surround mix is not a stereo file.
    const Sources surround = joinSplitStereo({"s/Mix.C.sd2", "s/Mix.L.sd2", "s/Mix.LFE.sd2", "s/Mix.Ls.sd2",
                                              "s/Mix.R.sd2", "s/Mix.Rs.sd2"});
    EXPECT_EQ(surround.size(), 6u);
    EXPECT_TRUE(std::none_of(surround.begin(), surround.end(), [](const QueuedSource& s) { return s.isPair(); }));
    // The same half given twice is still one pair.
    EXPECT_EQ(joinSplitStereo({"s/G.L", "s/G.R", "s/G.L"}), (Sources{pair("s/G.L", "s/G.R")}));
}
