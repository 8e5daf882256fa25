#include "core/detection/detectPair.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>

using namespace quorvel;

namespace {

FileDetection half(const std::vector<std::int32_t>& samples, SourceFormat format,
                   SourceFormatChoice choice = SourceFormatChoice::automatic())
{
    return *detectFile(test::encode(samples, format), choice);
}

} // namespace

TEST(DetectPair, MonoHalvesInOneEncodingAreOneStereoSourceElseSaidPlainly)
{
    const auto right = half(test::sine(40000, 31, 800000), SourceFormat::s24le);
    // A muted half has no say in the encoding, nor has a quiet one (−60 dBFS) against a loud one.
    for (const auto& left : {half(test::sine(40000, 20, 10000), SourceFormat::s24le), half(std::vector<std::int32_t>(40000, 0), SourceFormat::s24le),
                             half(test::noise(40000, 8389), SourceFormat::s24le)}) {
        SCOPED_TRACE("left: " + left.status);
        const PairDetection pair = detectPair(left, right, SourceFormatChoice::automatic());
        EXPECT_TRUE(pair.agree);
        EXPECT_EQ(pair.format, SourceFormat::s24le);
        EXPECT_EQ(pair.status, "24-bit LE (auto) · Stereo (L + R) · confident");
    }

    // Halves in two encodings are told plainly, until a fixed format settles them.
    const auto l16 = half(test::sine(40000, 20, 10000), SourceFormat::s16be);
    const PairDetection apart = detectPair(l16, half(test::sine(40000, 20, 1000000), SourceFormat::s24le), SourceFormatChoice::automatic());
    EXPECT_FALSE(apart.agree);
    EXPECT_EQ(apart.status, "L and R read differently — L 16-bit BE mono, R 24-bit LE mono; pick the source format in Advanced");
    // A half that reads as interleaved stereo is not a mono half.
    const auto stereo = half(test::interleave(test::sine(20000, 40, 10000), test::sine(20000, 25, 8000)), SourceFormat::s16be);
    EXPECT_FALSE(detectPair(l16, stereo, SourceFormatChoice::automatic()).agree);
    const auto fixed = SourceFormatChoice::fixed(SourceFormat::s16be);
    const PairDetection settled =
        detectPair(half(test::sine(40000, 20, 10000), SourceFormat::s16be, fixed),
                   half(test::sine(40000, 20, 1000000), SourceFormat::s24le, fixed), fixed);
    EXPECT_TRUE(settled.agree);
    EXPECT_EQ(settled.format, SourceFormat::s16be);
    EXPECT_TRUE(settled.status.starts_with("16-bit BE (set) · Stereo (L + R) · ")) << settled.status;
}
