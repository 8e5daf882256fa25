// POSIX implementation of PartialFile, and the signal-time removal of the partial files
// being written.
#include "core/io/PartialFile.hpp"
#include "core/io/writeAll.hpp"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <random>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quorvel {

namespace {

std::string lastError() { return std::generic_category().message(errno); }

// Partial files being written, for a signal handler to remove when a signal ends the
// process. The handler may only use async-signal-safe calls, so this is a fixed table whose
// slots, each holding a path, change hands through atomics: the one piece of global state
// the core keeps. A path is only read or freed by whoever moved its slot out of kLive.
enum SlotState : int { kFree, kOwned, kLive, kRemoving };
struct LiveSlot {
    std::atomic<int> state{kFree};
    std::unique_ptr<char[]> path;
};
static_assert(std::atomic<int>::is_always_lock_free);
// More than sd2wav's most jobs at once (-j 1024), each writing one file, and an audition.
constexpr int kLiveSlots = 2048;
LiveSlot liveSlots[kLiveSlots];

// Every signal whose default action ends the process; SIGKILL cannot be caught. Faults
// (SIGSEGV, SIGABRT …) remove the files too: a crash leaves no half file behind either.
constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGUSR1,
                                  SIGSEGV, SIGUSR2, SIGPIPE, SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ, SIGVTALRM,
                                  SIGPROF, SIGSYS,
#ifdef __linux__
                                  SIGIO, SIGPWR, SIGSTKFLT, // elsewhere SIGIO is ignored by default
#endif
};

extern "C" void removePartialsAndDie(int signal)
{
    removeLivePartialFiles();
    // SA_RESETHAND has put the default action back: this ends the process as the signal would have.
    ::raise(signal);
}

void installCleanupHandler(int signal)
{
    struct sigaction current {};
    // An ignored signal stays ignored, and a handler someone else installed stays theirs.
    if (::sigaction(signal, nullptr, &current) != 0 || (current.sa_flags & SA_SIGINFO) != 0 ||
        current.sa_handler != SIG_DFL)
        return;
    struct sigaction action {};
    action.sa_handler = removePartialsAndDie;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND;
    ::sigaction(signal, &action, nullptr);
}

void installCleanupHandlers()
{
    static std::once_flag once;
    std::call_once(once, [] {
        for (const int signal : kEndingSignals)
            installCleanupHandler(signal);
#ifdef SIGRTMIN
        for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal)
            installCleanupHandler(signal);
#endif
    });
}

int track(const std::string& path)
{
    installCleanupHandlers();
    auto copy = std::make_unique<char[]>(path.size() + 1);
    std::memcpy(copy.get(), path.c_str(), path.size() + 1);
    for (int i = 0; i < kLiveSlots; ++i) {
        int free = kFree;
        if (liveSlots[i].state.compare_exchange_strong(free, kOwned)) {
            liveSlots[i].path = std::move(copy);
            liveSlots[i].state.store(kLive);
            return i;
        }
    }
    return -1;
}

void untrack(int slot)
{
    if (slot < 0)
        return;
    int live = kLive;
    // When the handler holds the slot the process is ending; leave it be.
    if (liveSlots[slot].state.compare_exchange_strong(live, kOwned)) {
        liveSlots[slot].path.reset();
        liveSlots[slot].state.store(kFree);
    }
}

constexpr std::string_view kPartialSuffix = ".partial-";
constexpr std::size_t kRandomChars = 6;
constexpr std::string_view kCutMarker = "…";

// "name.wav.partial-" to which the random characters are added, its name cut (and marked)
// when the whole would not fit in a file name, never inside a UTF-8 character.
std::string partialPrefix(const std::filesystem::path& final)
{
    const std::filesystem::path dir = final.parent_path();
    long nameMax = ::pathconf(dir.empty() ? "." : dir.c_str(), _PC_NAME_MAX);
    if (nameMax <= 0)
        nameMax = NAME_MAX;
    std::string name = final.filename().string();
    const auto limit = static_cast<std::size_t>(nameMax);
    const std::size_t suffix = kPartialSuffix.size() + kRandomChars;
    if (name.size() + suffix > limit && limit > suffix + kCutMarker.size()) {
        std::size_t cut = limit - suffix - kCutMarker.size();
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
            --cut;
        name.resize(cut);
        name += kCutMarker;
    }
    return (dir / (name + std::string(kPartialSuffix))).string();
}

std::string randomChars()
{
    static constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    thread_local std::mt19937_64 random{std::random_device{}()};
    std::string chars(kRandomChars, ' ');
    for (char& c : chars)
        c = kAlphabet[random() % kAlphabet.size()];
    return chars;
}

// Test seam: QUORVEL_TEST_PUBLISH=rename publishes as on a file system without hard links,
// =claim as on one that also lacks an atomic no-replace rename.
enum class Fallback { none, rename, claim };
Fallback forcedFallback()
{
    const char* forced = std::getenv("QUORVEL_TEST_PUBLISH");
    if (!forced)
        return Fallback::none;
    const std::string_view value = forced;
    return value == "rename" ? Fallback::rename : value == "claim" ? Fallback::claim : Fallback::none;
}

bool linksUnsupported(int error) { return error == EPERM || error == ENOTSUP || error == EOPNOTSUPP || error == EMLINK; }

// Moves `from` to `to` unless something is there already; 0 or an errno (EEXIST when taken).
int renameWithoutReplacing(const char* from, const char* to, Fallback forced)
{
#if defined(__linux__) && defined(RENAME_NOREPLACE)
    if (forced != Fallback::claim) {
        if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
            return 0;
        if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP && errno != EOPNOTSUPP)
            return errno;
    }
#else
    (void)forced;
#endif
    // No atomic no-replace rename: claim the name exclusively, then rename over our own
    // claim. Only an empty file can ever be seen under the final name.
    const int claim = ::open(to, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (claim < 0)
        return errno;
    ::close(claim);
    if (::rename(from, to) != 0) {
        const int error = errno;
        ::unlink(to);
        return error;
    }
    return 0;
}

bool samePlace(int fd, const char* name)
{
    struct stat open {}, named {};
    return ::fstat(fd, &open) == 0 && ::lstat(name, &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

// A partial file is locked (flock) while it is written, so a later run can tell one abandoned
// by a killed process from one in use. False when a sweep holds it or has already taken its
// name away; where locks are not supported, sweeps leave every file alone.
bool lockedInPlace(int fd, const std::string& name)
{
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0)
        return errno != EWOULDBLOCK;
    return samePlace(fd, name.c_str());
}

} // namespace

void removeLivePartialFiles() noexcept
{
    for (LiveSlot& slot : liveSlots) {
        int live = kLive;
        if (slot.state.compare_exchange_strong(live, kRemoving))
            ::unlink(slot.path.get());
    }
}

PartialFile PartialFile::create(const std::filesystem::path& final)
{
    PartialFile file;
    const std::string prefix = partialPrefix(final);
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string name = prefix + randomChars();
        // Listed before it exists, so a signal at any moment finds it. Only another partial
        // file can have this name, so a signal while it is taken removes nothing else.
        const int slot = track(name);
        // The user's umask applies: the output becomes an ordinary file of theirs.
        const int fd = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 && !lockedInPlace(fd, name)) {
            // A sweep for abandoned files took it the moment it appeared; it removes it.
            ::close(fd);
            untrack(slot);
            continue;
        }
        if (fd >= 0) {
            file.fd_ = fd;
            file.slot_ = slot;
            file.path_ = std::move(name);
            return file;
        }
        const int error = errno;
        untrack(slot);
        if (error != EEXIST) {
            file.error_ = std::generic_category().message(error);
            return file;
        }
    }
    file.error_ = std::generic_category().message(EEXIST);
    return file;
}

PartialFile::PartialFile(PartialFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), slot_(std::exchange(other.slot_, -1)), path_(std::move(other.path_)),
      error_(std::move(other.error_))
{
    other.path_.clear();
}

PartialFile::~PartialFile()
{
    closeFd();
    if (!path_.empty())
        ::unlink(path_.c_str());
    untrack(slot_);
}

void PartialFile::closeFd()
{
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

void PartialFile::removeAbandoned(const std::filesystem::path& folder)
{
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        const std::size_t suffix = name.rfind(kPartialSuffix);
        if (suffix == std::string::npos || name.size() != suffix + kPartialSuffix.size() + kRandomChars)
            continue;
        const int fd = ::open(it->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            continue;
        struct stat info {};
        if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && ::flock(fd, LOCK_EX | LOCK_NB) == 0 &&
            samePlace(fd, it->path().c_str()))
            ::unlink(it->path().c_str());
        ::close(fd);
    }
}

std::int64_t PartialFile::syncedSize()
{
    struct stat info {};
    if (::fsync(fd_) != 0 || ::fstat(fd_, &info) != 0) {
        error_ = lastError();
        return -1;
    }
    return static_cast<std::int64_t>(info.st_size);
}

bool PartialFile::writeAll(std::span<const std::uint8_t> bytes)
{
    error_ = quorvel::writeAll(fd_, bytes);
    return error_.empty();
}

bool PartialFile::readAt(std::int64_t offset, std::span<std::uint8_t> out)
{
    const auto got = ::pread(fd_, out.data(), out.size(), offset);
    if (got == static_cast<ssize_t>(out.size()))
        return true;
    error_ = got < 0 ? lastError() : std::string("the file is shorter than its header says");
    return false;
}

bool PartialFile::writeAt(std::int64_t offset, std::span<const std::uint8_t> bytes)
{
    const auto put = ::pwrite(fd_, bytes.data(), bytes.size(), offset);
    if (put == static_cast<ssize_t>(bytes.size()))
        return true;
    error_ = put < 0 ? lastError() : std::string("short write");
    return false;
}

std::int64_t PartialFile::size()
{
    struct stat info {};
    if (::fstat(fd_, &info) != 0) {
        error_ = lastError();
        return -1;
    }
    return static_cast<std::int64_t>(info.st_size);
}

void PartialFile::published()
{
    closeFd();
    untrack(std::exchange(slot_, -1));
    path_.clear();
}

std::filesystem::path PartialFile::publish(
    std::filesystem::path target, const std::function<std::filesystem::path(const std::filesystem::path&)>& next)
{
    // The file stays open, and locked, until its partial name is gone: a sweep for abandoned
    // files must never see it unlocked.
    const Fallback forced = forcedFallback();
    for (;;) {
        if (target.empty()) {
            error_ = std::generic_category().message(EEXIST);
            return {};
        }
        // link() fails rather than replace an existing file, which rename() would not.
        const int linked = forced != Fallback::none ? (errno = EPERM, -1) : ::link(path_.c_str(), target.c_str());
        if (linked == 0) {
            ::unlink(path_.c_str());
            published();
            return target;
        }
        int error = errno;
        // File systems without hard links (FAT, exFAT, some network shares).
        if (linksUnsupported(error)) {
            error = renameWithoutReplacing(path_.c_str(), target.c_str(), forced);
            if (error == 0) {
                published();
                return target;
            }
        }
        if (error != EEXIST) {
            error_ = std::generic_category().message(error);
            return {};
        }
        target = next(target);
    }
}

bool PartialFile::publishReplacing(const std::filesystem::path& target)
{
    closeFd();
    if (::rename(path_.c_str(), target.c_str()) != 0) {
        error_ = lastError();
        return false;
    }
    published();
    return true;
}

} // namespace quorvel
