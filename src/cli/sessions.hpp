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

} // namespace quorvel::cli
