#include "core/pipeline/channelCrew.hpp"

namespace quorvel {

ChannelCrew::ChannelCrew(std::int64_t channels)
{
    for (std::int64_t c = 0; c < channels; ++c)
        threads_.emplace_back([this, c] { work(c); });
}

ChannelCrew::~ChannelCrew()
{
    {
        // A job left running (the caller threw before waiting) still uses the caller's data.
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return running_ == 0; });
        stopping_ = true;
    }
    changed_.notify_all();
}

void ChannelCrew::start(const Job& job)
{
    {
        std::lock_guard lock(mutex_);
        job_ = &job;
        running_ = static_cast<std::int64_t>(threads_.size());
        ok_ = true;
        ++round_;
    }
    changed_.notify_all();
}

bool ChannelCrew::wait()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return running_ == 0; });
    return ok_;
}

void ChannelCrew::work(std::int64_t channel)
{
    std::uint64_t done = 0;
    for (;;) {
        const Job* job = nullptr;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return stopping_ || round_ != done; });
            if (stopping_)
                return;
            done = round_;
            job = job_;
        }
        bool ok = false;
        try {
            ok = (*job)(channel);
        } catch (...) { // std::bad_alloc above all: the block fails, the process goes on
        }
        {
            std::lock_guard lock(mutex_);
            ok_ = ok_ && ok;
            --running_;
        }
        changed_.notify_all();
    }
}

} // namespace quorvel
