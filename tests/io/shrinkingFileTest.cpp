#include "core/detection/detectFile.hpp"
#include "core/io/MappedFile.hpp"
#include "core/pipeline/decodeToBuffer.hpp"
#include "support/files.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

using namespace quorvel;

// A file cut short after it was mapped: touching its lost pages raises a bus error, which
// must end in a failed read, not a crashed program.
TEST(ShrinkingFile, FailsCleanlyInsteadOfCrashing)
{
    test::ScratchDir dir;
    const auto path = dir.write("take.sd2", test::encode(test::sine(2000000, 40, 10000), SourceFormat::s16be));
    const MappedFile file = MappedFile::open(path);
    ASSERT_TRUE(file.ok());
    ASSERT_TRUE(detectFile(file.bytes(), SourceFormatChoice::automatic()));

    std::filesystem::resize_file(path, 1000);
    EXPECT_FALSE(detectFile(file.bytes(), SourceFormatChoice::automatic()));
    EXPECT_EQ(decodeToBuffer(file.bytes(), SourceFormat::s16be, 44100, 2), nullptr);

    // The guard is per read: the next file reads normally.
    const auto other = test::encode(test::sine(4000, 20, 10000), SourceFormat::s16be);
    EXPECT_TRUE(detectFile(other, SourceFormatChoice::automatic()));
}
