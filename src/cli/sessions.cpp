#include "cli/parallel.hpp" // before Qt's headers, which define emit
#include "cli/sessions.hpp"

#include <map>
#include <set>

namespace quorvel::cli {

namespace fs = std::filesystem;

namespace {

// "a/x.sd2" and "./a/y.sd2" sit in one folder.
fs::path folderOf(const fs::path& path)
{
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    return (error ? path : absolute).lexically_normal().parent_path();
}

SessionSource sessionSource(const Detection& detection)
{
    if (const auto* file = std::get_if<FileDetection>(&detection))
        return file;
    if (const auto* pair = std::get_if<PairDetection>(&detection))
        return pair;
    return std::monostate{};
}

void settle(std::vector<std::optional<SessionDetection>>& held, const std::vector<std::size_t>& members,
            SourceFormatChoice choice)
{
    std::vector<SessionSource> sources;
    for (std::size_t i : members)
        sources.push_back(sessionSource(held[i]->detection));
    const std::vector<SessionAnswer> answers = settleSession(sources, choice);
    for (std::size_t k = 0; k < members.size(); ++k) {
        SessionDetection& source = *held[members[k]];
        source.session = answers[k];
        if (auto* file = std::get_if<FileDetection>(&source.detection))
            applySession(*file, answers[k]);
        else if (auto* pair = std::get_if<PairDetection>(&source.detection))
            applySession(*pair, answers[k]);
    }
}

} // namespace

void detectInSessions(const std::vector<QueuedSource>& sources, SourceFormatChoice choice, unsigned jobs,
                      bool useSession, const std::function<void(std::size_t, SessionDetection&)>& deliver)
{
    std::vector<std::size_t> folder(sources.size());
    std::vector<std::vector<std::size_t>> members;
    std::map<fs::path, std::size_t> folders;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        folder[i] = folders.try_emplace(folderOf(sources[i].path), folders.size()).first->second;
        if (folder[i] == members.size())
            members.emplace_back();
        members[folder[i]].push_back(i);
    }

    std::vector<std::optional<SessionDetection>> held(sources.size());
    std::vector<bool> settled(members.size(), !useSession);
    std::size_t next = 0;
    forEachInOrder(
        sources.size(), jobs, [&](std::size_t i) { return detectQueued(sources[i], choice); },
        [&](std::size_t i, Detection detection) {
            held[i] = SessionDetection{std::move(detection), {}};
            // Results arrive in order, so the folder's last source completes it.
            if (useSession && members[folder[i]].back() == i) {
                settle(held, members[folder[i]], choice);
                settled[folder[i]] = true;
            }
            for (; next <= i && settled[folder[next]]; ++next) {
                deliver(next, *held[next]);
                held[next].reset();
            }
        });
}

std::vector<SessionDetection> detectPart(const std::vector<QueuedSource>& all, const std::vector<QueuedSource>& part,
                                         SourceFormatChoice choice, unsigned jobs, bool useSession)
{
    std::set<fs::path> wanted, folders;
    for (const QueuedSource& source : part) {
        wanted.insert(source.path);
        folders.insert(folderOf(source.path));
    }
    std::vector<QueuedSource> read;
    for (const QueuedSource& source : all)
        if (wanted.contains(source.path) || (useSession && folders.contains(folderOf(source.path))))
            read.push_back(source);
    std::vector<SessionDetection> detected;
    detected.reserve(part.size());
    detectInSessions(read, choice, jobs, useSession, [&](std::size_t i, SessionDetection& source) {
        if (wanted.contains(read[i].path))
            detected.push_back(std::move(source));
    });
    return detected;
}

std::string_view answerFrom(const QueuedSource& source, const SessionDetection& detected, bool autoChoice)
{
    bool metadata = false;
    if (const auto* file = std::get_if<FileDetection>(&detected.detection))
        metadata = file->source.description.has_value();
    else if (const auto* pair = std::get_if<PairDetection>(&detected.detection))
        metadata = pair->rate.has_value();
    else
        return {};
    if (source.sniffed)
        return "content";
    return detected.session.any() ? "session" : metadata && autoChoice ? "metadata" : "detection";
}

} // namespace quorvel::cli
