#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvel {

// One thread per channel, kept for a whole conversion, so the channels of each block are
// worked on side by side while the caller prepares the next block and writes the last.
class ChannelCrew {
public:
    using Job = std::function<bool(std::int64_t channel)>;

    explicit ChannelCrew(std::int64_t channels);
    ~ChannelCrew();
    ChannelCrew(const ChannelCrew&) = delete;
    ChannelCrew& operator=(const ChannelCrew&) = delete;

    // Starts job(c) for every channel; the job must stay alive until wait() returns. A job
// that throws counts as failed. Destroying the crew waits for jobs still running.
    void start(const Job& job);
    // Waits for the started jobs; true when every one returned true.
    bool wait();

private:
    void work(std::int64_t channel);

    std::mutex mutex_;
    std::condition_variable changed_;
    const Job* job_ = nullptr;
    std::uint64_t round_ = 0;
    std::int64_t running_ = 0;
    bool ok_ = true;
    bool stopping_ = false;
    std::vector<std::jthread> threads_;
};

} // namespace quorvel
