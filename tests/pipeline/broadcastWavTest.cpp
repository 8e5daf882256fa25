#include "core/version.hpp"
#include "support/bounce.hpp"
#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/hashes.hpp"
#include "support/riff.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <chrono>
#include <cstring>
#include <set>

using namespace quorvel;
namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kMadeAt = 857470272; // 1997-03-04 10:11:12 UTC
constexpr std::uint32_t kMacMadeAt = kMadeAt + 2082844800;

struct Bext {
    std::string description, originator, reference, date, time, history;
    int version = -1, loudness = 0, truePeak = 0;
};

std::string field(const char* text, std::size_t size) { return {text, strnlen(text, size)}; }

// The bext chunk as libsndfile reads it.
Bext bextOf(const fs::path& wav)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(wav.c_str(), SFM_READ, &info);
    SF_BROADCAST_INFO_VAR(4096) b{};
    Bext bext;
    if (file && sf_command(file, SFC_GET_BROADCAST_INFO, &b, sizeof b) == SF_TRUE)
        bext = {field(b.description, 256), field(b.originator, 32), field(b.originator_reference, 32),
                field(b.origination_date, 10), field(b.origination_time, 8),
                field(b.coding_history, b.coding_history_size), b.version, b.loudness_value, b.max_true_peak_level};
    if (file)
        sf_close(file);
    return bext;
}

// What every Broadcast WAV output holds, read independently: its chunks in order, an MD5
// chunk (BWF MetaEdit's byte order) of the data's payload, and the facts the report takes.
void expectArchival(const BounceResult& r, const fs::path& source, std::int64_t frameBytes)
{
    ASSERT_TRUE(r.ok) << r.status;
    auto chunks = test::chunksOf(r.output);
    EXPECT_EQ(chunks["order"], "fmt bextdataMD5 ");
    EXPECT_EQ(test::littleEndian(test::slurp(r.output), 4, 4) + 8, fs::file_size(r.output));
    const std::string md5 = test::hexDigest(chunks["data"], QCryptographicHash::Md5);
    const std::string stored(chunks["MD5 "].rbegin(), chunks["MD5 "].rend());
    EXPECT_EQ(QByteArray::fromStdString(stored).toHex().toStdString(), md5);
    EXPECT_EQ(r.facts.audioMD5, md5);
    EXPECT_EQ(r.facts.frames * frameBytes, static_cast<std::int64_t>(chunks["data"].size()));
    EXPECT_EQ(r.facts.bytes, static_cast<std::int64_t>(fs::file_size(r.output)));
    EXPECT_EQ(r.facts.sourceSHA256, std::vector{test::hexDigest(test::slurp(source), QCryptographicHash::Sha256)});
}

// Each sample's bytes in the opposite order: big-endian source bytes as a WAV holds them.
std::string swapped(const std::vector<std::uint8_t>& bytes, std::size_t width)
{
    std::string out(bytes.begin(), bytes.end());
    for (std::size_t i = 0; i + width <= out.size(); i += width)
        std::reverse(out.begin() + static_cast<std::ptrdiff_t>(i), out.begin() + static_cast<std::ptrdiff_t>(i + width));
    return out;
}

class BroadcastWav : public ::testing::Test {
protected:
    BroadcastWav() { settings.outputFolder = dir / "out"; fs::create_directories(settings.outputFolder); }
    test::ScratchDir dir;
    BounceSettings settings;
    BounceObserver observer;
};

} // namespace

TEST_F(BroadcastWav, ChunksAtEveryDepthAndLayoutNormalisedOrNot)
{
    const auto audio = test::encode(test::interleave(test::sine(88200, 40, 9000), test::sine(88200, 31, 7000)),
                                    SourceFormat::s16be);
    const fs::path source = dir.write("Take 7.sd2", test::macBinary("Take 7.sd2", audio,
                                                                    test::resourceFork({"2", "44100.000000", "2"}),
                                                                    "Sd2f", kMacMadeAt));
    const std::string version(quorvelVersion());
    struct Case {
        std::int64_t depth;
        TargetChannels channels;
        bool normalize;
    };
    std::set<std::string> references;
    for (const Case c : {Case{16, TargetChannels::mono, false}, Case{24, TargetChannels::stereo, false},
                         Case{32, TargetChannels::stereo, false}, Case{24, TargetChannels::mono, true},
                         Case{16, TargetChannels::stereo, true}}) {
        const std::string mode = c.channels == TargetChannels::mono ? "mono" : "stereo", what = std::to_string(c.depth) + " " + mode;
        settings.depth = c.depth;
        settings.channels = c.channels;
        settings.normalize = c.normalize;
        settings.broadcastWav = true;
        const BounceResult r = bounceFile(test::itemFor(source, SourceFormat::s16be, 2), settings, observer);
        expectArchival(r, source, c.depth / 8 * (mode == "mono" ? 1 : 2));

        const Bext bext = bextOf(r.output);
        EXPECT_EQ(bext.version, 2) << what;
        EXPECT_EQ(bext.description, "Take 7.sd2, 16-bit BE, stereo, 44.1 kHz (MacBinary fork)");
        EXPECT_EQ(bext.originator, "Quorvel");
        EXPECT_EQ(bext.date + " " + bext.time, "1997-03-04 10:11:12");
        const std::string out = "A=PCM,F=48000,W=" + std::to_string(c.depth) + ",M=" + mode + ",T=";
        const std::string ours = "A=PCM,F=44100,W=16,M=stereo,T=Sound Designer II data, 16-bit BE, from MacBinary fork\r\n" +
                                 out + "Quorvel " + version + "; libsoxr very high quality\r\n" +
                                 (c.normalize ? out + "Quorvel " + version + "; loudness normalised to -14 LUFS, true peak -1 dBTP\r\n" : "");
        EXPECT_TRUE(bext.history.starts_with(ours)) << what << "\n" << bext.history;
        EXPECT_EQ(bext.history.substr(ours.size()).find(out + "libsndfile-"), 0u) << what; // libsndfile's own row
        // Measured when normalised, else 0x7FFF: unknown.
        EXPECT_NEAR(bext.loudness, c.normalize ? -1400 : 0x7FFF, c.normalize ? 50 : 0) << what;
        EXPECT_TRUE(c.normalize ? bext.truePeak <= -95 : bext.truePeak == 0x7FFF) << what << ": " << bext.truePeak;
        EXPECT_EQ(bext.reference.size(), 32u);
        references.insert(bext.reference);

        // Plain, the same fmt and data chunks and nothing else.
        settings.broadcastWav = false;
        const BounceResult plain = bounceFile(test::itemFor(source, SourceFormat::s16be, 2), settings, observer);
        auto plainChunks = test::chunksOf(plain.output), chunks = test::chunksOf(r.output);
        EXPECT_EQ(plainChunks["order"], "fmt data") << what;
        EXPECT_EQ(plainChunks["fmt "], chunks["fmt "]) << what;
        EXPECT_TRUE(plainChunks["data"] == chunks["data"]) << what;
        EXPECT_EQ(plain.facts.audioMD5, r.facts.audioMD5) << what;
    }
    EXPECT_EQ(references.size(), 5u) << "each output's reference is its own";
}

// Preservation masters, each dated by its container, else by the file's modification time;
// the last with a name so long that the description cuts it and keeps the reading.
TEST_F(BroadcastWav, MastersDatedByTheirContainerElseTheFileTime)
{
    settings.targetRate = kSourceOwn;
    settings.depth = kSourceOwn;
    settings.channels = TargetChannels::preserve;
    const auto sine = test::interleave(test::sine(30000, 40, 9000), test::sine(30000, 31, 7000));
    const auto s16 = test::encode(sine, SourceFormat::s16be), s24 = test::encode(test::sine(30000, 40, 900000), SourceFormat::s24be);
    std::vector<std::int32_t> wide(sine.size());
    std::transform(sine.begin(), sine.end(), wide.begin(), [](std::int32_t v) { return v * 65536 + 12345; });
    const auto s32 = test::encode(wide, SourceFormat::s32be);
    const std::string longName = std::string(230, 'x') + " Caf\xC3\xA9\xC2\xB7mix.sd2";
    struct Case {
        std::string name;
        std::vector<std::uint8_t> file, audio;
        std::int64_t width, channels;
        std::string description;
    };
    const Case cases[] = {
        {"Mac.sd2", test::macBinary("Mac.sd2", s16, test::resourceFork({"2", "44100.000000", "2"}), "Sd2f", kMacMadeAt),
         s16, 2, 2, "Mac.sd2, 16-bit BE, stereo, 44.1 kHz (MacBinary fork)"},
        {"Double.sd2", s24, s24, 3, 1, "Double.sd2, 24-bit BE, mono, 48 kHz (AppleDouble fork)"},
        {"Single.sd2",
         test::appleContainer(0x00051600, {{9, test::finderInfo("Sd2f")}, {2, test::resourceFork({"4", "44100.000000", "2"})},
                                           test::fileDates(kMadeAt), {1, s32}}),
         s32, 4, 2, "Single.sd2, 32-bit BE, stereo, 44.1 kHz (AppleSingle fork)"},
        {longName, s16, s16, 2, 2, std::string(213, 'x') + "..., 16-bit BE, stereo, 44.1 kHz (detected)"},
    };
    dir.write("._Double.sd2", test::appleContainer(0x00051607, {{9, test::finderInfo("Sd2f")},
                                                                {2, test::resourceFork({"3", "48000.000000", "1"})},
                                                                test::fileDates(kMadeAt)}));
    for (const Case& c : cases) {
        const fs::path source = dir.write(c.name, c.file);
        if (c.name == longName)
            fs::last_write_time(source, fs::file_time_type::clock::from_sys(
                                            std::chrono::sys_seconds(std::chrono::seconds(kMadeAt))));
        const BounceResult r = bounceFile(test::itemFor(source, SourceFormat::s16be, c.channels), settings, observer);
        expectArchival(r, source, c.width * c.channels);
        EXPECT_TRUE(test::chunksOf(r.output)["data"] == swapped(c.audio, static_cast<std::size_t>(c.width))) << c.name;
        const Bext bext = bextOf(r.output);
        EXPECT_EQ(bext.date + " " + bext.time, "1997-03-04 10:11:12") << c.name;
        EXPECT_EQ(bext.description, c.description);
    }
}

TEST(BextText, WritesAsciiOnly)
{
    const std::pair<std::string, std::string> cases[] = {
        {"Take 7 \xC2\xB7 mix", "Take 7, mix"}, {"Caf\xC3\xA9 Stra\xC3\x9F" "e", "Cafe Strasse"},
        {"\xE2\x80\x9C" "A\xE2\x80\x9D \xE2\x80\x94 B\xE2\x80\xA6", "\"A\" - B..."}, {"\xE6\x97\xA5\xE6\x9C\xAC", "??"},
        {"a\tb\xFF", "a?b?"}};
    for (const auto& [utf8, ascii] : cases)
        EXPECT_EQ(bextText(utf8, 256), ascii) << utf8;
    EXPECT_EQ(bextText("Caf\xC3\xA9", 3), "Caf");
}
