#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace quorvel::cli {

// Runs work(i) for i in [0, count) on `jobs` threads and hands each result to emit(i, r)
// on the calling thread in index order, as soon as it and all before it are done. Output
// order therefore never depends on the number of jobs. When threads cannot be started it
// runs with those it has, or on the calling thread alone.
template <class Work, class Emit>
void forEachInOrder(std::size_t count, unsigned jobs, Work work, Emit emit)
{
    using Result = decltype(work(std::size_t{}));
    if (jobs <= 1 || count <= 1) {
        for (std::size_t i = 0; i < count; ++i)
            emit(i, work(i));
        return;
    }

    std::vector<std::optional<Result>> results(count);
    std::mutex mutex;
    std::condition_variable ready;
    std::atomic<std::size_t> next{0};

    auto worker = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            Result r = work(i);
            const std::lock_guard lock(mutex);
            results[i] = std::move(r);
            ready.notify_one();
        }
    };
    std::vector<std::jthread> threads;
    try {
        for (unsigned t = 0; t < jobs && t < count; ++t)
            threads.emplace_back(worker);
    } catch (const std::system_error&) {
        // No threads left (ulimit -u, or no memory for a stack): fewer jobs, or none but this one.
        if (threads.empty()) {
            for (std::size_t i = 0; i < count; ++i)
                emit(i, work(i));
            return;
        }
    }

    for (std::size_t i = 0; i < count; ++i) {
        std::unique_lock lock(mutex);
        ready.wait(lock, [&] { return results[i].has_value(); });
        Result r = std::move(*results[i]);
        results[i].reset();
        lock.unlock();
        emit(i, std::move(r));
    }
}

} // namespace quorvel::cli
