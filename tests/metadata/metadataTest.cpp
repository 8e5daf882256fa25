#include "core/detection/detectSource.hpp"
#include "core/io/MappedFile.hpp"
#include "core/metadata/appleEntries.hpp"
#include "core/metadata/findFileSource.hpp"
#include "core/metadata/macBinary.hpp"
#include "core/metadata/resourceFork.hpp"
#include "core/metadata/trustDescription.hpp"
#include "support/files.hpp"
#include "support/forks.hpp"
#include "support/signals.hpp"

#include <gtest/gtest.h>
#include <sndfile.h>

using namespace quorvel;
namespace fs = std::filesystem;
using test::Bytes;

namespace {

const SourceDescription k24Stereo48{SourceFormat::s24be, 2, 48000};

Bytes stereoSine(SourceFormat format, std::size_t frames = 20000)
{
    const double amplitude = format.bytesPerSample() == 2 ? 12000 : 3000000;
    return test::encode(test::interleave(test::sine(frames, 61, amplitude), test::sine(frames, 89, amplitude)), format);
}

std::optional<FileDetection> detect(const fs::path& path, SourceFormatChoice choice = SourceFormatChoice::automatic())
{
    std::string unreadable;
    return detectSource(path, MappedFile::open(path).bytes(), choice, std::nullopt, unreadable);
}

} // namespace

TEST(Fork, TrustsUsableValuesAndUndoesTheSwap)
{
    struct Case {
        Sd2Strings strings;
        bool typedSd2;
        std::optional<SourceDescription> trusted;
    };
    const auto s16Mono = [](std::int64_t rate) { return SourceDescription{SourceFormat::s16be, 1, rate}; };
    const Case cases[] = {
        {{"3", "48000.000000", "2"}, false, k24Stereo48},
        {{"1", "22050", "1"}, false, SourceDescription{SourceFormat::s8, 1, 22050}},
        {{"4", "96000.0", "2"}, false, SourceDescription{SourceFormat::s32be, 2, 96000}},
        {{" 2", "22254.545454", "1 "}, false, s16Mono(22255)},
        {{"44100.000000", "2", "2"}, false, SourceDescription{SourceFormat::s16be, 2, 44100}}, // swapped by the writer
        // Rates from 4 kHz, whatever the type: 1 kHz would make a WAV a hundred times the source.
        {{"2", "4000", "1"}, false, s16Mono(4000)},
        {{"2", "3999", "1"}, true, std::nullopt},
        {{"2", "1000", "1"}, true, std::nullopt},
        // Past 384 kHz only an 'Sd2f' type is believed, up to 768 kHz.
        {{"2", "705600", "1"}, false, std::nullopt},
        {{"2", "705600", "1"}, true, s16Mono(705600)},
        {{"2", "1000000", "1"}, true, std::nullopt},
        {{"2", "44100", "6"}, true, std::nullopt},
        {{"5", "44100", "2"}, true, std::nullopt},
        {{"2.5", "44100", "2"}, false, std::nullopt},
        {{"2", "44100 Hz", "2"}, false, std::nullopt},
        {{"2", "nan", "2"}, true, std::nullopt},
        {{"2", "44100", std::nullopt}, true, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(trustedDescription(c.strings, c.typedSd2), c.trusted)
            << *c.strings.sampleSize << " " << *c.strings.sampleRate << " " << c.strings.channels.value_or("-");
}

// The strings are read wherever the map puts them; a malformed fork is rejected.
TEST(Fork, MalformedForksAreRejectedWithoutReadingOutside)
{
    const Bytes good = test::resourceFork({});
    const auto strings = parseResourceFork(good);
    ASSERT_TRUE(strings);
    EXPECT_EQ(std::tuple(strings->sampleSize, strings->sampleRate, strings->channels),
              std::tuple("3", "48000.000000", "2"));
    // Every truncation fails cleanly (run under ASan this also proves no read past the end).
    for (std::size_t n = 0; n < good.size(); ++n)
        EXPECT_FALSE(parseResourceFork(std::span(good).first(n))) << n;

    const std::size_t map = 256 + (good[11] | good[10] << 8);
    const auto mutated = [&](std::size_t at, std::uint64_t value, int width) {
        Bytes bad = good;
        test::poke(bad, at, value, width);
        return parseResourceFork(bad);
    };
    EXPECT_FALSE(mutated(4, 0xFFFFFFF0, 4));           // map outside the fork
    EXPECT_FALSE(mutated(map + 24, 0xFFF0, 2));        // type list outside the map
    Bytes manyTypes = good; // 65535 types claimed in a small map, none of them 'STR '
    test::poke(manyTypes, map + 28, 0xFFFE, 2);
    test::poke(manyTypes, map + 28 + 2 + 8, 0x58585858, 4);
    EXPECT_FALSE(parseResourceFork(manyTypes));
    EXPECT_FALSE(mutated(map + 28 + 2 + 8 + 4, 0xFFFE, 2)); // 65535 references claimed
    EXPECT_FALSE(mutated(map + 28 + 18 + 12 + 5, 0xFFFFFF, 3)); // resource data outside
    // A reference list pointing back into the type list reads garbage ids but ends.
    const auto looped = mutated(map + 28 + 2 + 8 + 6, 0, 2);
    EXPECT_TRUE(!looped || !looped->channels);
    // A Pascal string longer than its resource.
    Bytes longString = good;
    longString[256 + 4] = 200;
    EXPECT_FALSE(parseResourceFork(longString));
}

TEST(Containers, EntryTablesAndMacBinaryHeadersAreChecked)
{
    const Bytes fork = test::resourceFork({});
    const Bytes data = stereoSine(SourceFormat::s24be, 100);
    const Bytes single = test::appleSingle(data, fork);
    const auto entries = parseAppleEntries(single, static_cast<std::int64_t>(single.size()));
    ASSERT_TRUE(entries);
    // An entry past the container's end, or a table cut short.
    EXPECT_FALSE(parseAppleEntries(single, static_cast<std::int64_t>(single.size()) - 1));
    EXPECT_FALSE(parseAppleEntries(std::span(single).first(40), 40));
    Bytes version = single;
    version[5] = 1; // version 1 is read the same way
    EXPECT_TRUE(parseAppleEntries(version, static_cast<std::int64_t>(version.size())));
    version[5] = 3;
    EXPECT_FALSE(parseAppleEntries(version, static_cast<std::int64_t>(version.size())));

    // The published check value of CRC-16/XMODEM.
    const std::string check = "123456789";
    EXPECT_EQ(crc16Xmodem(std::span(reinterpret_cast<const std::uint8_t*>(check.data()), check.size())), 0x31C3);
    const Bytes bin = test::macBinary("Mix 3", data, fork);
    const auto header = parseMacBinary(bin, static_cast<std::int64_t>(bin.size()));
    ASSERT_TRUE(header);
    Bytes badCrc = bin;
    badCrc[124] ^= 1;
    EXPECT_FALSE(parseMacBinary(badCrc, static_cast<std::int64_t>(badCrc.size())));
    EXPECT_FALSE(parseMacBinary(bin, header->resourceFork.offset + 10)); // fork past the end
}

// Every place a fork survives, each found beside the same audio; in a container only the
// data fork is audio, whichever fork describes it.
TEST(FindFileSource, LooksInEveryPlaceTheForkSurvives)
{
    test::ScratchDir dir;
    const Bytes audio = stereoSine(SourceFormat::s24be);
    const Bytes fork = test::resourceFork({}), monoFork = test::resourceFork({"2", "44100", "1"});
    const SourceDescription mono16{SourceFormat::s16be, 1, 44100};
    struct Case {
        std::string file;
        Bytes bytes;
        std::string sidecar; // where a fork lies beside the file, if anywhere
        Bytes sidecarBytes;
        std::string container;
        std::optional<SourceDescription> description;
    };
    const Case cases[] = {
        {"bare/take.sd2", audio, "bare/._take.sd2", fork, "resource fork", k24Stereo48},
        {"double/take.sd2", audio, "double/._take.sd2", test::appleDouble(fork), "AppleDouble", k24Stereo48},
        {"netatalk/take.sd2", audio, "netatalk/.AppleDouble/take.sd2", test::appleDouble(fork), "AppleDouble", k24Stereo48},
        {"zip/Session/Audio Files/take.sd2", audio, "zip/__MACOSX/Session/Audio Files/._take.sd2",
         test::appleDouble(fork), "AppleDouble", k24Stereo48},
        {"none/take.sd2", audio, "", {}, "", std::nullopt},
        {"mb/Mix 3.bin", test::macBinary("Mix 3", audio, monoFork), "", {}, "MacBinary", mono16},
        {"as/Mix 3", test::appleSingle(audio, fork), "", {}, "AppleSingle", k24Stereo48},
        {"both/Mix 3.bin", test::macBinary("Mix 3", audio, monoFork), "both/._Mix 3.bin", test::appleDouble(fork),
         "AppleDouble", k24Stereo48},
    };
    for (const Case& c : cases) {
        const fs::path file = dir.write(c.file, c.bytes);
        if (!c.sidecar.empty())
            dir.write(c.sidecar, c.sidecarBytes);
        const FileSource source = findFileSource(file, dir.path());
        EXPECT_EQ(source.description, c.description) << c.file;
        EXPECT_EQ(source.container, c.container) << c.file;
        EXPECT_EQ(source.storedName, c.file.ends_with(".bin") ? "Mix 3" : "") << c.file;
        const MappedFile mapped = MappedFile::open(file);
        EXPECT_TRUE(std::ranges::equal(source.audio(mapped.bytes()), audio)) << c.file;
    }
}

TEST(FindFileSource, IgnoresUntrustedSidecarsAndReportsUnreadableOnes)
{
    test::ScratchDir dir;
    const Bytes audio = stereoSine(SourceFormat::s16be);
    const Bytes whole = test::appleDouble(test::resourceFork({}));
    // "._take.sd2" beside the audio, describing nothing the take can use.
    const std::pair<std::string, Bytes> sidecars[] = {
        {"other", test::appleContainer(0x00051607, {{9, test::finderInfo("TEXT", "ttxt")}})}, // a text file's
        {"insane", test::appleDouble(test::resourceFork({"9", "7", "6"}), "TEXT")},           // wrong type and values
        {"truncated", Bytes(whole.begin(), whole.end() - 20)}, // the fork entry runs past the end
    };
    for (const auto& [folder, bytes] : sidecars) {
        dir.write(folder + "/._take.sd2", bytes);
        EXPECT_EQ(findFileSource(dir.write(folder + "/take.sd2", audio), std::nullopt), FileSource{}) << folder;
    }
    // A sidecar that is a folder, and a name too long for a sidecar to exist.
    fs::create_directories(dir / "d/._take.sd2");
    for (const fs::path& file : {dir.write("d/take.sd2", audio), dir.write("e/" + std::string(254, 'n'), audio)})
        EXPECT_EQ(findFileSource(file, std::nullopt), FileSource{}) << file;

    // An untrusted sidecar does not hide a trusted one further down the list.
    dir.write("insane/.AppleDouble/take.sd2", whole);
    EXPECT_EQ(findFileSource(dir / "insane/take.sd2", std::nullopt).description, k24Stereo48);

    // One that is there but cannot be read (a link loop here) is reported, never guessed past.
    const fs::path looped = dir.write("f/take.sd2", audio);
    dir.write("f/.AppleDouble/take.sd2", whole);
    fs::create_symlink("._take.sd2", dir / "f/._take.sd2");
    const FileSource unread = findFileSource(looped, std::nullopt);
    EXPECT_EQ(unread.unreadable, (dir / "f/._take.sd2").string() + ": Too many levels of symbolic links");
    EXPECT_FALSE(unread.description);
}

TEST(DetectSource, UsesTrustedMetadataAndFallsBackWhenItDoesNotMatchTheAudio)
{
    test::ScratchDir dir;
    const fs::path take = dir.write("take.sd2", stereoSine(SourceFormat::s24be));
    dir.write("._take.sd2", test::appleDouble(test::resourceFork({})));
    const auto found = detect(take);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->status, "24-bit BE (file info) · Stereo · 48 kHz");
    EXPECT_EQ(found->format.best, SourceFormat::s24be);
    EXPECT_EQ(found->channels.channels, 2);

    // A fixed choice overrides the encoding; the file's rate stays its own.
    const auto fixed = detect(take, SourceFormatChoice::fixed(SourceFormat::s16le));
    ASSERT_TRUE(fixed);
    EXPECT_TRUE(fixed->status.starts_with("16-bit LE (set)")) << fixed->status;
    EXPECT_EQ(fixed->source.description->rate, 48000);

    // Metadata whose encoding reads as static where another reads clearly: detection takes over
    // the encoding and says so; the rate stays the file's.
    const fs::path lying = dir.write("lying.sd2", stereoSine(SourceFormat::s16le));
    dir.write("._lying.sd2", test::appleDouble(test::resourceFork({"3", "48000", "1"})));
    const auto detected = detect(lying);
    ASSERT_TRUE(detected);
    EXPECT_EQ(detected->status,
              "16-bit LE (auto) · Stereo · confident · 48 kHz (file info) · encoding corrected from 24-bit BE");
    EXPECT_FALSE(detected->source.description);
    EXPECT_EQ(detected->source.rate(), 48000);
}

// libsndfile's own SD2 writer puts a bare fork in "._NAME" on systems without forks: an
// independent writer of what we read.
TEST(DetectSource, ReadsTheForksLibsndfileWrites)
{
    test::ScratchDir dir;
    struct Case {
        int subformat, channels, rate;
        SourceFormat format;
    };
    for (const Case c : {Case{SF_FORMAT_PCM_16, 1, 22050, SourceFormat::s16be},
                         Case{SF_FORMAT_PCM_24, 2, 96000, SourceFormat::s24be},
                         Case{SF_FORMAT_PCM_S8, 1, 8000, SourceFormat::s8},
                         Case{SF_FORMAT_PCM_32, 2, 48000, SourceFormat::s32be}}) {
        const fs::path path = dir / ("take" + std::to_string(c.subformat) + ".sd2");
        SF_INFO info{};
        info.samplerate = c.rate;
        info.channels = c.channels;
        info.format = SF_FORMAT_SD2 | c.subformat;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        ASSERT_TRUE(file) << sf_strerror(nullptr);
        const auto samples = test::sine(40000, 97, 0.5 * 2147483647.0);
        sf_write_int(file, samples.data(), static_cast<sf_count_t>(samples.size() / c.channels * c.channels));
        sf_close(file);
        ASSERT_TRUE(fs::exists(dir / ("._" + path.filename().string())));

        const FileSource source = findFileSource(path, std::nullopt);
        EXPECT_EQ(source.description, (SourceDescription{c.format, c.channels, c.rate})) << c.subformat;
        EXPECT_EQ(source.container, "resource fork");
        // Its data fork reads as audio in the described encoding, so the description stands.
        const auto found = detect(path);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->status, metadataStatus(*source.description));
    }
}
