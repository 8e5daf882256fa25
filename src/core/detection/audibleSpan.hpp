#pragma once

#include "core/detection/decodeSample.hpp"

#include <cstdint>
#include <optional>

namespace quorvel {

// Silence is what a recorder writes when nothing plays: zero samples, give or take a few
// steps of dither. Whatever the encoding, every byte of it lies within ±3 of zero.
inline constexpr int kSilentByteReach = 3;
// A probe reads one page; at most this many spread over the data (plus a bisection at each
// end) bound the work whatever the file's size.
inline constexpr std::int64_t kSilenceProbeBytes = 4096;
inline constexpr std::int64_t kSilenceProbeCount = 256;
// The span starts on a multiple of this, so samples and frames keep their places in every
// encoding and layout (2 or 3 bytes, one or two channels).
inline constexpr std::int64_t kSpanAlignment = 12;

// Byte offsets of the data between its leading and trailing silence.
struct AudibleSpan {
    std::int64_t begin = 0;
    std::int64_t end = 0;

    friend bool operator==(const AudibleSpan&, const AudibleSpan&) = default;
};

// True when every byte of [at, at + kSilenceProbeBytes), cut at the end of the data, is silence.
bool silentBlock(ByteView data, std::int64_t at);

// Found by probing, never by reading the whole file: silence shorter than a probe is kept,
// and audio between two silent probes can go unseen. Where silence is skipped, the span
// starts and ends at the audible bytes next to it. Nothing when no probe hears audio.
std::optional<AudibleSpan> findAudibleSpan(ByteView data);

// The part of the data the detection judges: its audible span, or all of it when the span
// is shorter than one probe (too little to judge on its own). Nothing when no audio is found.
std::optional<ByteView> audiblePart(ByteView data);

} // namespace quorvel
