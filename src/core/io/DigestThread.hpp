#pragma once

#include "core/io/Digest.hpp"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvel {

// A Digest taken on a thread of its own, so hashing what was just written overlaps making the
// next block instead of following it. Blocks are handed over whole and buffers come back to
// be filled again; a few at most are in flight. Without a thread to be had, it hashes in place.
class DigestThread {
public:
    explicit DigestThread(Digest::Kind kind);
    ~DigestThread();
    DigestThread(const DigestThread&) = delete;
    DigestThread& operator=(const DigestThread&) = delete;

    // Hashes the first `size` bytes of `block`, which is swapped for a buffer of the same size.
    void add(std::vector<std::uint8_t>& block, std::size_t size);
    // The digest of everything added.
    std::vector<std::uint8_t> finish();

private:
    struct Block {
        std::vector<std::uint8_t> bytes;
        std::size_t size;
    };
    void run();

    Digest digest_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Block> waiting_;
    std::vector<std::vector<std::uint8_t>> free_;
    bool ending_ = false;
    std::thread thread_;
};

} // namespace quorvel
