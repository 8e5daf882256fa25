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

void onBusError(int signal)
{
    if (sigjmp_buf* guard = activeGuard) {
        activeGuard = nullptr;
        siglongjmp(*guard, 1);
    }
    // A fault outside any guard is a real bug (or a kill -BUS): crash as usual, taking the
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
        action.sa_handler = onBusError;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_NODEFER;
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
