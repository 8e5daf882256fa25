#include "core/session/sessionEvidence.hpp"
#include "support/printers.hpp"

#include <gtest/gtest.h>

using namespace quorvel;

namespace {

constexpr auto s16be = SourceFormat::s16be, s24be = SourceFormat::s24be, s16le = SourceFormat::s16le;

// One file's own reading; with `fork`, its trusted fork says the same at that rate.
struct Reading {
    SourceFormat format = s24be;
    std::int64_t channels = 2;
    std::string_view confidence = "confident";
    std::optional<std::int64_t> fork = std::nullopt;
    bool mismatched = false;
};

FileDetection detection(const Reading& r)
{
    FileDetection d{FormatDetection{}, r.format, {r.channels, r.fork ? "file info" : r.confidence, 0.0}, "as read", {}};
    d.format.best = r.format;
    if (r.fork)
        d.source.description = SourceDescription{r.format, r.channels, *r.fork};
    d.source.mismatched = r.mismatched;
    return d;
}

const Reading kStereo{}, kUnsure{.confidence = "verify by ear"}, kMono{.channels = 1},
    kUnsureMono{.channels = 1, .confidence = "verify by ear"}, kFork48{.fork = 48000};

// A folder of sources: one reading is a file, two are the halves of a pair, none is a file
// that could not be read.
using Folder = std::vector<std::vector<Reading>>;

std::vector<SessionAnswer> settle(const Folder& folder, SourceFormatChoice choice = SourceFormatChoice::automatic())
{
    std::vector<FileDetection> files;
    std::vector<PairDetection> pairs;
    files.reserve(folder.size());
    pairs.reserve(folder.size());
    std::vector<SessionSource> sources;
    for (const auto& readings : folder) {
        if (readings.size() == 1)
            sources.emplace_back(&files.emplace_back(detection(readings[0])));
        else if (readings.size() == 2)
            sources.emplace_back(&pairs.emplace_back(
                detectPair(detection(readings[0]), detection(readings[1]), SourceFormatChoice::automatic())));
        else
            sources.emplace_back();
    }
    return settleSession(sources, choice);
}

const SessionAnswer kNothing{};
SessionAnswer lifted(SourceFormat format, std::int64_t channels, std::optional<std::int64_t> rate = std::nullopt)
{
    return {rate, format, channels};
}
SessionAnswer rateOnly(std::int64_t rate) { return {rate, std::nullopt, 0}; }

} // namespace

namespace quorvel {
void PrintTo(const SessionAnswer& a, std::ostream* os)
{
    *os << "{rate " << a.rate.value_or(0) << ", " << (a.format ? a.format->rawValue() : "-") << " × " << a.channels << "}";
}
} // namespace quorvel

TEST(SessionEvidence, SettlesOnlyWhatEveryVoiceAgreesOn)
{
    const SourceFormatChoice fixed = SourceFormatChoice::fixed(s16be);
    const struct {
        const char* what;
        Folder folder;
        std::vector<SessionAnswer> expected;
        SourceFormatChoice choice = SourceFormatChoice::automatic();
    } cases[] = {
        {"three agreeing siblings lift an unsure file; the confident are never changed",
         {{kStereo}, {kStereo}, {kStereo}, {kUnsure}},
         {kNothing, kNothing, kNothing, lifted(s24be, 2)}},
        {"two do not", {{kStereo}, {kStereo}, {kUnsure}}, {kNothing, kNothing, kNothing}},
        {"silent, too short and wrongly laid-out readings are unsure too",
         {{kStereo}, {kStereo}, {kStereo}, {{.format = s16le, .channels = 1, .confidence = "silent/constant"}},
          {{.confidence = "too short"}}},
         {kNothing, kNothing, kNothing, lifted(s24be, 2), lifted(s24be, 2)}},
        {"one dissenting encoding decides nothing",
         {{kStereo}, {kStereo}, {kStereo}, {{.format = s16le}}, {kUnsure}},
         {kNothing, kNothing, kNothing, kNothing, kNothing}},
        {"one dissenting layout decides nothing",
         {{kStereo}, {kStereo}, {kStereo}, {kMono}, {kUnsure}},
         {kNothing, kNothing, kNothing, kNothing, kNothing}},
        {"a fork votes and gives its rate to every file without one",
         {{kStereo}, {kStereo}, {kFork48}, {kUnsure}},
         {rateOnly(48000), rateOnly(48000), kNothing, lifted(s24be, 2, 48000)}},
        {"one fork is enough for the rate; forks at two rates give none",
         {{kFork48}, {kUnsure}, {kMono}},
         {kNothing, rateOnly(48000), rateOnly(48000)}},
        {"", {{kFork48}, {{.fork = 44100}}, {kStereo}, {kUnsure}}, {kNothing, kNothing, kNothing, lifted(s24be, 2)}},
        {"a fixed source format keeps its encoding; the forks' rate still holds",
         {{kStereo}, {kStereo}, {kFork48}, {kUnsure}},
         {rateOnly(48000), rateOnly(48000), kNothing, rateOnly(48000)},
         fixed},
        {"split halves vote as the mono files they are and take a mono answer",
         {{kMono, kUnsureMono}, {kMono}, {kMono}, {kUnsure}},
         {lifted(s24be, 1), kNothing, kNothing, lifted(s24be, 1)}},
        {"two halves are two voices", {{kMono, kMono}, {kMono}, {kUnsure}}, {kNothing, kNothing, lifted(s24be, 1)}},
        {"halves never take a stereo answer",
         {{kStereo}, {kStereo}, {kStereo}, {kUnsureMono, kUnsureMono}, {kUnsureMono}},
         {kNothing, kNothing, kNothing, kNothing, lifted(s24be, 2)}},
        {"an unreadable file has no say and gets nothing; nor does a fork that did not match",
         {{}, {kStereo}, {kStereo}, {{.confidence = "verify by ear", .mismatched = true}}},
         {kNothing, kNothing, kNothing, kNothing}},
    };
    for (const auto& c : cases) {
        const std::vector<SessionAnswer> answers = settle(c.folder, c.choice);
        ASSERT_EQ(answers.size(), c.expected.size()) << c.what;
        for (std::size_t i = 0; i < answers.size(); ++i)
            EXPECT_EQ(answers[i], c.expected[i]) << c.what << ", source " << i;
    }
}

TEST(SessionEvidence, AnAnswerShowsInTheStatus)
{
    FileDetection unsure = detection({.format = s16be, .channels = 1, .confidence = "verify by ear"});
    applySession(unsure, lifted(s24be, 2, 48000));
    EXPECT_EQ(unsure.format.best, s24be);
    EXPECT_EQ(unsure.channels, (ChannelDetection{2, "session", 0.0}));
    EXPECT_EQ(unsure.status, "24-bit BE (auto) · Stereo · session · 48 kHz (session)");

    FileDetection confident = detection(kMono);
    applySession(confident, rateOnly(48000));
    EXPECT_EQ(confident.status, "as read · 48 kHz (session)");

    // Halves that read differently agree once the session settles the unsure one.
    PairDetection pair = detectPair(detection(kMono), detection({.format = s16le, .channels = 1, .confidence = "verify by ear"}),
                                    SourceFormatChoice::automatic());
    ASSERT_FALSE(pair.agree);
    applySession(pair, lifted(s24be, 1, 48000));
    EXPECT_TRUE(pair.agree);
    EXPECT_EQ(pair.format, s24be);
    EXPECT_EQ(pair.rate, 48000);
    EXPECT_EQ(pair.status, "24-bit BE (auto) · Stereo (L + R) · session · 48 kHz (session)");
}
