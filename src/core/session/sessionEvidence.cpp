#include "core/session/sessionEvidence.hpp"
#include "core/formats/OutputOptions.hpp"

#include <algorithm>

namespace quorvel {

namespace {

struct Voice {
    SourceFormat format = SourceFormat::s16be;
    std::int64_t channels = 2;
    friend bool operator==(const Voice&, const Voice&) = default;
};

// One file of the folder as the rule sees it.
struct Member {
    std::optional<Voice> voice;          // a fork's description or a confident reading
    std::optional<std::int64_t> ownRate; // its fork's rate
    bool settleable = false;             // neither confident nor forked
    bool splitHalf = false;
};

Member member(const FileDetection& file, bool splitHalf)
{
    Member m;
    m.splitHalf = splitHalf;
    m.ownRate = file.source.rate();
    if (const auto& described = file.source.description)
        m.voice = Voice{described->format, described->channels};
    else if (file.channels.confidence == "confident")
        m.voice = Voice{file.used, file.channels.channels};
    // A fork whose encoding the audio overruled still says the file is not the session's to settle.
    m.settleable = !m.voice && !m.ownRate;
    return m;
}

// The value every member that has one agrees on, and how many have one; nothing when
// none has one or two differ.
template <class T, class Get>
std::pair<std::optional<T>, std::size_t> unanimous(const std::vector<Member>& members, Get get)
{
    std::optional<T> agreed;
    std::size_t count = 0;
    for (const Member& m : members) {
        const std::optional<T> value = get(m);
        if (!value)
            continue;
        if (agreed && *agreed != *value)
            return {std::nullopt, count};
        agreed = value;
        ++count;
    }
    return {agreed, count};
}

std::string sessionRateText(std::int64_t rate) { return " · " + khz(rate) + " (session)"; }

} // namespace

std::vector<SessionAnswer> settleSession(std::span<const SessionSource> folder, SourceFormatChoice choice)
{
    std::vector<Member> members;
    std::vector<std::size_t> firstOf;
    for (const SessionSource& source : folder) {
        firstOf.push_back(members.size());
        if (const auto* file = std::get_if<const FileDetection*>(&source)) {
            members.push_back(member(**file, false));
        } else if (const auto* pair = std::get_if<const PairDetection*>(&source)) {
            members.push_back(member((*pair)->left, true));
            members.push_back(member((*pair)->right, true));
        }
    }
    firstOf.push_back(members.size());

    const std::optional<std::int64_t> rate =
        unanimous<std::int64_t>(members, [](const Member& m) { return m.ownRate; }).first;
    const auto voices = unanimous<Voice>(members, [](const Member& m) { return m.voice; });
    std::optional<Voice> voice;
    if (voices.second >= kSessionQuorum && choice.isAuto())
        voice = voices.first;

    // Halves of a pair are mono files: a stereo answer is not theirs to take.
    const auto takes = [settlesMono = voice && voice->channels == 1](const Member& m) {
        return m.settleable && (!m.splitHalf || settlesMono);
    };
    std::vector<SessionAnswer> answers(folder.size());
    for (std::size_t i = 0; i < folder.size(); ++i) {
        const std::span<const Member> own(members.data() + firstOf[i], firstOf[i + 1] - firstOf[i]);
        if (own.empty())
            continue;
        SessionAnswer& answer = answers[i];
        if (std::none_of(own.begin(), own.end(), [](const Member& m) { return m.ownRate.has_value(); }))
            answer.rate = rate;
        if (voice && std::any_of(own.begin(), own.end(), takes)) {
            answer.format = voice->format;
            answer.channels = voice->channels;
        }
    }
    return answers;
}

void applySession(FileDetection& detection, const SessionAnswer& answer)
{
    if (answer.format) {
        detection.format.best = detection.used = *answer.format;
        detection.channels.channels = answer.channels;
        detection.channels.confidence = kSessionConfidence;
        detection.status = detectionStatus(detection.used, SourceFormatChoice::automatic(), detection.channels);
    }
    if (answer.rate)
        detection.status += sessionRateText(*answer.rate);
}

void applySession(PairDetection& pair, const SessionAnswer& answer)
{
    // Only a half without a fork is settled, so no two forks at different rates keep them apart.
    if (answer.format) {
        pair.agree = true;
        pair.format = *answer.format;
        pair.confidence = kSessionConfidence;
        pair.status = std::string(pair.format.shortText()) + " (auto) · Stereo (L + R) · session";
    }
    if (answer.rate) {
        pair.rate = answer.rate;
        if (pair.agree)
            pair.status += sessionRateText(*answer.rate);
    }
}

} // namespace quorvel
