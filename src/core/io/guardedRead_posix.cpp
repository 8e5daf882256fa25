// POSIX implementation of the guarded read: a bus-error handler that jumps back to the
// guard of the thread that faulted.
#include "core/io/guardedRead.hpp"
#include "core/io/PartialFile.hpp"

#include <csetjmp>
#include <csignal>
#include <mutex>

namespace quorvel {

namespace {

thread_local sigjmp_buf* activeGuard = nullptr;

// Sent by kill or sigqueue rather than raised by a faulting access.
bool sentByAProcess(const siginfo_t* info)
{
#ifdef SI_TKILL
    if (info->si_code == SI_TKILL)
        return true;
#endif
    return info->si_code == SI_USER || info->si_code == SI_QUEUE;
}

void onBusError(int signal, siginfo_t* info, void*)
{
    // Only a fault is a mapped file that shrank; a kill -BUS ends the run as any signal does.
    if (sigjmp_buf* guard = activeGuard; guard && !sentByAProcess(info)) {
        activeGuard = nullptr;
        siglongjmp(*guard, 1);
    }
    // A fault outside any guard is a real bug, or the signal was sent: end as usual, taking the
    // partial files along as any ending signal does.
    removeLivePartialFiles();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void installHandler()
{
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action {};
        action.sa_sigaction = onBusError;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_NODEFER | SA_SIGINFO;
        sigaction(SIGBUS, &action, nullptr);
    });
}

} // namespace

bool guardedRead(const std::function<void()>& read)
{
    installHandler();
    sigjmp_buf guard;
    sigjmp_buf* const outer = activeGuard;
    if (sigsetjmp(guard, 1) != 0) {
        activeGuard = outer;
        return false;
    }
    activeGuard = &guard;
    read();
    activeGuard = outer;
    return true;
}

void reportFileSizeLimitAsError() { std::signal(SIGXFSZ, SIG_IGN); }

} // namespace quorvel
