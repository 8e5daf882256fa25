#pragma once

// Qt's thread pool and queued calls synchronise through futexes inside QtCore, which
// ThreadSanitizer cannot see, so every hand-off between threads would read as a race.
// These mark the hand-offs explicitly; they cost nothing in other builds.

#if defined(__SANITIZE_THREAD__)
#define QUORVEL_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QUORVEL_TSAN 1
#endif
#endif

#ifdef QUORVEL_TSAN
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

namespace quorvel {

// Everything this thread did so far happens before whatever follows takeOver(token) elsewhere.
inline void handOff([[maybe_unused]] const void* token)
{
#ifdef QUORVEL_TSAN
    __tsan_release(const_cast<void*>(token));
#endif
}

inline void takeOver([[maybe_unused]] const void* token)
{
#ifdef QUORVEL_TSAN
    __tsan_acquire(const_cast<void*>(token));
#endif
}

} // namespace quorvel
