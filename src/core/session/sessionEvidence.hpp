#pragma once

#include "core/detection/detectPair.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace quorvel {

// What a session (the folder its files sit in) settles for one of its sources.
struct SessionAnswer {
    std::optional<std::int64_t> rate;   // the rate every trusted fork of the folder agrees on
    std::optional<SourceFormat> format; // the encoding every confident reading and fork agree on…
    std::int64_t channels = 0;          // …and their layout

    bool any() const { return rate || format; }
    friend bool operator==(const SessionAnswer&, const SessionAnswer&) = default;
};

// Agreeing voices it takes to settle an unsure reading: two could be one take and its copy.
inline constexpr std::size_t kSessionQuorum = 3;
inline constexpr std::string_view kSessionConfidence = "session";

// One queued source of a folder as detected: a file, a split-stereo pair, or nothing (it
// could not be read, and has no say).
using SessionSource = std::variant<std::monostate, const FileDetection*, const PairDetection*>;

// Every file of a session shares its encoding and rate. A file without its own metadata
// takes the rate all the trusted forks of its folder agree on. With the choice on auto, a
// file whose reading is not "confident" and that has no fork takes the encoding and layout
// every confident reading and every fork agree on, when there are at least kSessionQuorum of
// them and none dissents. A confident reading is never changed, and split-stereo halves are
// the mono files they are: each votes as one, and they take only a mono answer. Pure: one
// answer per source, in order.
std::vector<SessionAnswer> settleSession(std::span<const SessionSource> folder, SourceFormatChoice choice);

// The detection as its session amends it: the settled encoding and layout with the
// confidence "session", and the settled rate in the status ("… · 48 kHz (session)").
void applySession(FileDetection& detection, const SessionAnswer& answer);
void applySession(PairDetection& pair, const SessionAnswer& answer);

} // namespace quorvel
