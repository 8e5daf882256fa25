#include "core/session/sessionEvidence.hpp"

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
    bool overruled = false; // the fork's encoding, not its rate
};

FileDetection detection(const Reading& r)
{
    FileDetection d{FormatDetection{}, r.format, {r.channels, r.fork ? "file info" : r.confidence, 0.0}, "as read", {}};
    d.format.best = r.format;
    if (r.fork)
        (r.overruled ? d.source.overruled : d.source.description) = SourceDescription{r.format, r.channels, *r.fork};
    return d;
}

const Reading S{}, unsure{.confidence = "verify by ear"}, M{.channels = 1},
    unsureMono{.channels = 1, .confidence = "verify by ear"}, fork48{.fork = 48000};

// "s24be×2 48000": what the session settled for a source; "" for nothing.
std::string text(const SessionAnswer& a)
{
    std::string t = a.format ? std::string(a.format->rawValue()) + "×" + std::to_string(a.channels) : "";
    return a.rate ? t + (t.empty() ? "" : " ") + std::to_string(*a.rate) : t;
}

// A folder's sources: one reading is a file, two the halves of a pair, none an unreadable file.
std::vector<std::string> settle(const std::vector<std::vector<Reading>>& folder, SourceFormatChoice choice)
{
    std::vector<FileDetection> files;
    std::vector<PairDetection> pairs;
    files.reserve(folder.size());
    pairs.reserve(folder.size());
    std::vector<SessionSource> sources;
    for (const auto& r : folder) {
        if (r.size() == 1)
            sources.emplace_back(&files.emplace_back(detection(r[0])));
        else if (r.size() == 2)
            sources.emplace_back(&pairs.emplace_back(detectPair(detection(r[0]), detection(r[1]), choice)));
        else
            sources.emplace_back();
    }
    std::vector<std::string> answers;
    for (const SessionAnswer& a : settleSession(sources, choice))
        answers.push_back(text(a));
    return answers;
}

} // namespace

TEST(SessionEvidence, SettlesOnlyWhatEveryVoiceAgreesOn)
{
    const auto automatic = SourceFormatChoice::automatic(), fixed = SourceFormatChoice::fixed(s16be);
    const struct {
        const char* what;
        std::vector<std::vector<Reading>> folder;
        std::vector<std::string> expected;
        SourceFormatChoice choice;
    } cases[] = {
        {"three agreeing siblings lift an unsure file, never a confident one", {{S}, {S}, {S}, {unsure}}, {"", "", "", "s24be×2"}, automatic},
        {"two do not", {{S}, {S}, {unsure}}, {"", "", ""}, automatic},
        {"silent and too short readings are unsure",
         {{S}, {S}, {S}, {{.format = s16le, .channels = 1, .confidence = "silent/constant"}}, {{.confidence = "too short"}}},
         {"", "", "", "s24be×2", "s24be×2"}, automatic},
        {"a dissenting encoding settles nothing", {{S}, {S}, {S}, {{.format = s16le}}, {unsure}}, {"", "", "", "", ""}, automatic},
        {"a dissenting layout settles nothing", {{S}, {S}, {S}, {M}, {unsure}}, {"", "", "", "", ""}, automatic},
        {"a fork votes, and gives its rate to every file without one", {{S}, {S}, {fork48}, {unsure}},
         {"48000", "48000", "", "s24be×2 48000"}, automatic},
        {"one fork is enough for the rate", {{fork48}, {unsure}, {M}}, {"", "48000", "48000"}, automatic},
        {"forks at two rates give none", {{fork48}, {{.fork = 44100}}, {S}, {unsure}}, {"", "", "", "s24be×2"}, automatic},
        {"a fixed source format keeps its encoding, the forks' rate holds", {{S}, {S}, {fork48}, {unsure}},
         {"48000", "48000", "", "48000"}, fixed},
        {"split halves vote as mono files and take a mono answer", {{M, unsureMono}, {M}, {M}, {unsure}},
         {"s24be×1", "", "", "s24be×1"}, automatic},
        {"two halves are two voices", {{M, M}, {M}, {unsure}}, {"", "", "s24be×1"}, automatic},
        {"halves never take a stereo answer", {{S}, {S}, {S}, {unsureMono, unsureMono}, {unsureMono}},
         {"", "", "", "", "s24be×2"}, automatic},
        {"an unreadable file has no say and gets nothing; a fork the audio overruled keeps its rate, not its vote",
         {{}, {S}, {S}, {{.confidence = "verify by ear", .fork = 48000, .overruled = true}}, {unsure}},
         {"", "48000", "48000", "", "48000"}, automatic},
    };
    for (const auto& c : cases)
        EXPECT_EQ(settle(c.folder, c.choice), c.expected) << c.what;
}

// Halves that read differently agree once the session settles the unsure one. (Files' texts
// are checked where sd2wav and the app show them.)
TEST(SessionEvidence, APairSettledShowsItInTheStatus)
{
    PairDetection pair = detectPair(detection(M), detection({.format = s16le, .channels = 1, .confidence = "verify by ear"}),
                                    SourceFormatChoice::automatic());
    ASSERT_FALSE(pair.agree);
    applySession(pair, {48000, s24be, 1});
    EXPECT_TRUE(pair.agree);
    EXPECT_EQ(pair.format, s24be);
    EXPECT_EQ(pair.rate, 48000);
    EXPECT_EQ(pair.status, "24-bit BE (auto) · Stereo (L + R) · session · 48 kHz (session)");
}
