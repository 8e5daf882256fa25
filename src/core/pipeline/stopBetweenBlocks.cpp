#include "core/pipeline/stopBetweenBlocks.hpp"

namespace quorvel {

namespace {
// Per thread, so a conversion never sees the flag of another thread's run.
thread_local const std::atomic<bool>* current = nullptr;
} // namespace

StopBetweenBlocks::StopBetweenBlocks(const std::atomic<bool>& stop) : outer_(current) { current = &stop; }

StopBetweenBlocks::~StopBetweenBlocks() { current = outer_; }

bool StopBetweenBlocks::requested() { return current && current->load(); }

} // namespace quorvel
