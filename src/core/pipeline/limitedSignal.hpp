#pragma once

#include "core/pipeline/PcmBuffer.hpp"

#include <cstdint>
#include <vector>

namespace quorvel {

// `gain` × the buffer, through limitPeaks' limiter, read from the start a block at a time
// without changing the buffer: the samples are those limitPeaks would leave after the
// buffer had been multiplied by `gain` in place.
class LimitedSignal {
public:
    LimitedSignal(const PcmBuffer& source, float gain, float ceiling);

    // The next `frames` frames into out[c] for every channel.
    void read(std::int64_t frames, float* const* out);

private:
    float required(std::int64_t frame) const;

    struct Pending {
        std::int64_t frame;
        float need;
    };
    const PcmBuffer& source_;
    float gain_, ceiling_, step_;
    std::int64_t lookahead_;
    // A ring of at most lookahead + 1 entries: the queue limitPeaks keeps in a deque.
    std::vector<Pending> window_;
    std::size_t front_ = 0, size_ = 0;
    std::int64_t next_ = 0, seen_ = 0;
    float g_ = 1.0f;
};

} // namespace quorvel
