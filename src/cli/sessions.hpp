#pragma once

#include "cli/queue.hpp"
#include "core/session/sessionEvidence.hpp"

#include <functional>

namespace quorvel::cli {

// A source's detection, with what its session settled already applied to it.
struct SessionDetection {
    Detection detection;
    SessionAnswer session;
};

// Detects every source on `jobs` threads and hands each to deliver(i, …) in order, as soon as
// it and all before it are detected and, with `useSession` on, its folder (the one it sits
// in) is complete and settled.
void detectInSessions(const std::vector<QueuedSource>& sources, SourceFormatChoice choice, unsigned jobs,
                      bool useSession, const std::function<void(std::size_t, SessionDetection&)>& deliver);

// The detections of `part`, some of the sources of `all` in their order, each settled by the
// whole of its folder among `all`: the folder's other sources are detected for their evidence
// only, so a shard or a resumed run gives a file the answer a run of everything would.
std::vector<SessionDetection> detectPart(const std::vector<QueuedSource>& all, const std::vector<QueuedSource>& part,
                                         SourceFormatChoice choice, unsigned jobs, bool useSession);

// Where a source's answer came from: "content" (a bare name taken for what its data reads as),
// "session", "metadata" (its own, with the source format on auto) or "detection" (its samples);
// empty when it could not be read.
std::string_view answerFrom(const QueuedSource& source, const SessionDetection& detected, bool autoChoice);

} // namespace quorvel::cli
