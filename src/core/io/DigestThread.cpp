#include "core/io/DigestThread.hpp"

#include <system_error>

namespace quorvel {

namespace {
constexpr std::size_t kInFlight = 3;
} // namespace

DigestThread::DigestThread(Digest::Kind kind) : digest_(kind)
{
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        // No thread to be had (a process at its limit): the blocks are hashed as they come.
    }
}

DigestThread::~DigestThread()
{
    if (!thread_.joinable())
        return;
    {
        std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void DigestThread::add(std::vector<std::uint8_t>& block, std::size_t size)
{
    if (!thread_.joinable()) {
        digest_.add(std::span(block).first(size));
        return;
    }
    const std::size_t capacity = block.size();
    std::vector<std::uint8_t> next;
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return waiting_.size() < kInFlight; });
        if (!free_.empty()) {
            next = std::move(free_.back());
            free_.pop_back();
        }
        waiting_.push_back({std::move(block), size});
    }
    changed_.notify_all();
    next.resize(capacity);
    block = std::move(next);
}

std::vector<std::uint8_t> DigestThread::finish()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return waiting_.empty(); });
    return digest_.finish();
}

void DigestThread::run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [&] { return ending_ || !waiting_.empty(); });
        if (waiting_.empty())
            return;
        Block& block = waiting_.front();
        lock.unlock();
        digest_.add(std::span(block.bytes).first(block.size));
        lock.lock();
        free_.push_back(std::move(block.bytes));
        waiting_.pop_front();
        changed_.notify_all();
    }
}

} // namespace quorvel
