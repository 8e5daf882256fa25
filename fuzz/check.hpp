#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace quorvel::fuzz {

// A broken invariant ends the run with a line naming it, so libFuzzer keeps the input and
// the run script can tell one finding from another by that line.
[[noreturn]] __attribute__((format(printf, 2, 3))) inline void fail(const char* condition, const char* format, ...)
{
    std::fprintf(stderr, "INVARIANT FAILED: %s\n  ", condition);
    std::va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
    std::abort();
}

} // namespace quorvel::fuzz

// FUZZ_CHECK(condition, "printf format", args...): the condition's text names the finding.
#define FUZZ_CHECK(cond, ...)                                                                                          \
    do {                                                                                                               \
        if (!(cond))                                                                                                   \
            ::quorvel::fuzz::fail(#cond, __VA_ARGS__);                                                                 \
    } while (0)
