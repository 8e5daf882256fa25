#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"

#include <gtest/gtest.h>

using namespace quorvel;

// The texts other code takes apart or shows verbatim, and the raw values that must be refused.
TEST(OptionSets, TextsAndRawValues)
{
    EXPECT_EQ(SourceFormat::allCases()[2], SourceFormat::s16le) << "detection order";
    EXPECT_EQ(SourceFormat::fromRaw("s24le"), SourceFormat::s24le);
    for (const char* bad : {"S16BE", " s16be", "s16"})
        EXPECT_FALSE(SourceFormat::fromRaw(bad)) << bad;

    const auto choices = SourceFormatChoice::allCases();
    ASSERT_EQ(choices.size(), 5u);
    EXPECT_EQ(choices[0].label(), "Auto-detect per file — recommended");
    EXPECT_EQ(choices[3].id(), "s16le");
    EXPECT_EQ(choices[4].label(), "24-bit little-endian  (s24le)") << "a format's long text";

    EXPECT_EQ(SourceRate::fromRaw(22050), SourceRate::r22050);
    EXPECT_FALSE(TargetRate::fromRaw(22050)) << "22050 is a source rate only";
    EXPECT_FALSE(TargetRate::fromRaw(44000));
    EXPECT_EQ(TargetRate(TargetRate::r44100).label(), "44.1 kHz");
    EXPECT_EQ(TargetRate(TargetRate::r96000).label(), "96 kHz");
    EXPECT_FALSE(TargetDepth::fromRaw(20));
    EXPECT_EQ(TargetDepth(TargetDepth::d32).label(), "32-bit");
    EXPECT_FALSE(TargetChannels::fromRaw("stereo"));
    EXPECT_EQ(TargetChannels::fromRaw("Stereo deliverable"), TargetChannels::stereo);
    EXPECT_FALSE(ChannelOverride::fromRaw("auto"));
}
