#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quorvel {

// `gain` × audio that arrives a block at a time, through limitPeaks' limiter: the samples
// are those limitPeaks would leave after the whole audio had been multiplied by `gain` in
// place. A frame comes out once the lookahead past it has arrived, so only that much of
// the audio is held.
class LimitedSignal {
public:
    LimitedSignal(double sampleRate, std::int64_t channels, float gain, float ceiling);

    // Takes `frames` more frames from in[c] and leaves in out[c] every frame now final.
    // With `last`, the audio ends here and every frame still held comes out.
    void push(std::span<const float* const> in, std::int64_t frames, bool last, std::vector<std::vector<float>>& out);

private:
    struct Pending {
        std::int64_t frame;
        float need;
    };
    float gain_, ceiling_, step_;
    std::int64_t lookahead_;
    // The frames that arrived and have not come out yet, from frame next_ on, with the
    // gain each needs; and the gain each frame of the current push comes out with.
    std::vector<std::vector<float>> held_;
    std::vector<float> needs_, gains_;
    // A ring of at most lookahead + 1 entries: the queue limitPeaks keeps in a deque.
    std::vector<Pending> window_;
    std::size_t front_ = 0, size_ = 0;
    std::int64_t next_ = 0, seen_ = 0;
    float g_ = 1.0f;
};

} // namespace quorvel
