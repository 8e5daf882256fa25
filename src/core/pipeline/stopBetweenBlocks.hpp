#pragma once

#include <atomic>

namespace quorvel {

// Lets another thread stop the conversion this thread is running: while one of these is
// alive on a thread, a block-by-block conversion there fails before its next block once
// `stop` is set, and its partial file is removed as on any failed write.
class StopBetweenBlocks {
public:
    explicit StopBetweenBlocks(const std::atomic<bool>& stop);
    ~StopBetweenBlocks();
    StopBetweenBlocks(const StopBetweenBlocks&) = delete;
    StopBetweenBlocks& operator=(const StopBetweenBlocks&) = delete;

    // Whether the conversion on the calling thread has been asked to stop.
    static bool requested();

private:
    const std::atomic<bool>* outer_;
};

} // namespace quorvel
