#pragma once

#include "core/pipeline/bounceFile.hpp"
#include "core/session/sessionEvidence.hpp"

namespace quorvel {

// The run's settings for one source, with what its session settled: the rate for a source
// without its own, and the encoding for one whose reading was unsure (a pair's halves are
// read afresh when it is bounced, so the encoding travels as a fixed one).
inline BounceSettings withSession(BounceSettings settings, const SessionAnswer& session)
{
    if (session.rate) {
        settings.sourceRate = *session.rate;
        settings.sessionRate = true;
    }
    if (session.format) {
        settings.sourceFormat = SourceFormatChoice::fixed(*session.format);
        settings.sessionFormat = true;
    }
    return settings;
}

} // namespace quorvel
