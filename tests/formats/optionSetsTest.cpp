#include "core/formats/OutputOptions.hpp"
#include "core/formats/SourceFormat.hpp"

#include <gtest/gtest.h>

using namespace quorvel;

TEST(SourceFormat, CasesTextsAndRawValues)
{
    const auto all = SourceFormat::allCases();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0], SourceFormat::s16be);
    EXPECT_EQ(all[1], SourceFormat::s24be);
    EXPECT_EQ(all[2], SourceFormat::s16le);
    EXPECT_EQ(all[3], SourceFormat::s24le);

    EXPECT_EQ(SourceFormat(SourceFormat::s24be).bytesPerSample(), 3);
    EXPECT_FALSE(SourceFormat(SourceFormat::s16le).isBigEndian());
    EXPECT_EQ(SourceFormat(SourceFormat::s16be).shortText(), "16-bit BE");
    EXPECT_EQ(SourceFormat(SourceFormat::s24le).shortText(), "24-bit LE");
    EXPECT_EQ(SourceFormat(SourceFormat::s24le).longText(), "24-bit little-endian  (s24le)");
    EXPECT_EQ(SourceFormat(SourceFormat::s16be).longText(), "16-bit big-endian  (s16be)");

    EXPECT_EQ(SourceFormat::fromRaw("s24le"), SourceFormat::s24le);
    for (const char* bad : {"S16BE", " s16be", "s16", ""})
        EXPECT_FALSE(SourceFormat::fromRaw(bad)) << bad;
}

TEST(SourceFormatChoice, PickerOrderIdsAndLabels)
{
    const auto all = SourceFormatChoice::allCases();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_TRUE(all[0].isAuto());
    EXPECT_EQ(all[0].id(), "auto");
    EXPECT_EQ(all[0].label(), "Auto-detect per file — recommended");
    EXPECT_EQ(all[3], SourceFormatChoice::fixed(SourceFormat::s16le));
    EXPECT_EQ(all[3].id(), "s16le");
    EXPECT_EQ(all[4].label(), "24-bit little-endian  (s24le)");
    EXPECT_NE(SourceFormatChoice::fixed(SourceFormat::s16be), SourceFormatChoice::fixed(SourceFormat::s24be));
    EXPECT_EQ(SourceFormatChoice::fromId("s24be"), SourceFormatChoice::fixed(SourceFormat::s24be));
    EXPECT_FALSE(SourceFormatChoice::fromId("Auto"));
}

TEST(OutputOptions, RawValuesLabelsAndRejectedValues)
{
    EXPECT_EQ(SourceRate::fromRaw(22050), SourceRate::r22050);
    EXPECT_EQ(SourceRate(SourceRate::r44100).label(), "44.1 kHz — default");
    EXPECT_EQ(SourceRate::allCases()[2], SourceRate::r22050);

    EXPECT_FALSE(TargetRate::fromRaw(44000));
    EXPECT_FALSE(TargetRate::fromRaw(22050));
    EXPECT_EQ(TargetRate::fromRaw(88200), TargetRate::r88200);
    EXPECT_EQ(TargetRate(TargetRate::r44100).label(), "44.1 kHz");
    EXPECT_EQ(TargetRate(TargetRate::r48000).label(), "48 kHz");
    EXPECT_EQ(TargetRate(TargetRate::r88200).label(), "88.2 kHz");
    EXPECT_EQ(TargetRate(TargetRate::r96000).label(), "96 kHz");

    EXPECT_FALSE(TargetDepth::fromRaw(8));
    EXPECT_FALSE(TargetDepth::fromRaw(20));
    EXPECT_EQ(TargetDepth::fromRaw(32), TargetDepth::d32);
    EXPECT_EQ(TargetDepth(TargetDepth::d24).label(), "24-bit");

    EXPECT_FALSE(TargetChannels::fromRaw("stereo"));
    EXPECT_EQ(TargetChannels::fromRaw("Stereo deliverable"), TargetChannels::stereo);
    EXPECT_EQ(TargetChannels(TargetChannels::preserve).rawValue(), "Preserve source");

    EXPECT_EQ(ChannelOverride::fromRaw("Auto"), ChannelOverride::automatic);
    EXPECT_FALSE(ChannelOverride::fromRaw("auto"));
}
