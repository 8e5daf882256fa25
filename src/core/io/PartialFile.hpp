#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>

namespace quorvel {

// A file being written under a clearly marked temporary name ("name.wav.partial-XXXXXX",
// the name cut and marked with "…" when the whole would be too long) beside its final
// place, so a failed or interrupted write never leaves a half file under a final name.
// Removed on destruction unless it has been published, and when a signal ends the process:
// every signal whose default action ends it, left at that default, gets a handler that
// removes the partial files, then ends the process by the same signal. Only SIGKILL, a
// power loss and a stack overflow (no stack left for the handler) can leave one.
class PartialFile {
public:
    // Creates it exclusively in final.parent_path(), with the mode the user's umask gives
    // new files. On failure fd() < 0 and error() says why.
    static PartialFile create(const std::filesystem::path& final);

    PartialFile(PartialFile&& other) noexcept;
    PartialFile& operator=(PartialFile&&) = delete;
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;
    ~PartialFile();

    int fd() const { return fd_; }
    const std::string& error() const { return error_; }

    // Writes all of `bytes` at the current offset. False with error() set when it cannot.
    bool writeAll(std::span<const std::uint8_t> bytes);
    // Reads or overwrites bytes at `offset`, leaving the current offset alone: for a header
    // filled in once the rest is written. False with error() set when they cannot.
    bool readAt(std::int64_t offset, std::span<std::uint8_t> out);
    bool writeAt(std::int64_t offset, std::span<const std::uint8_t> bytes);
    // The size written so far.
    std::int64_t size();

    // Removes the partial files in `folder` that no one is writing any more: those a process
    // killed while writing left behind. A writer locks its partial file (flock) from its first
    // byte, so one being written, by this process or another, is never touched.
    static void removeAbandoned(const std::filesystem::path& folder);

    // Puts what was written on disk (fsync) and gives its size in bytes; -1 with error() set
    // when it cannot.
    std::int64_t syncedSize();

    // Moves the file to `target` and closes it, without replacing anything, even where the
    // file system has no hard links; while the target exists, tries next(target), and
    // gives up ("File exists") when that is empty. Returns the path it landed at, or empty
    // with error() set.
    std::filesystem::path publish(std::filesystem::path target,
                                  const std::function<std::filesystem::path(const std::filesystem::path&)>& next);

    // Closes the file and moves it to `target`, replacing what is there: for scratch files
    // such as audition excerpts. False with error() set when it cannot.
    bool publishReplacing(const std::filesystem::path& target);

private:
    PartialFile() = default;
    void closeFd();
    void published();

    int fd_ = -1;
    int slot_ = -1; // in the signal handler's table of files to remove
    std::filesystem::path path_;
    std::string error_;
};

// Removes every partial file being written. Async-signal-safe: for a fault handler of
// someone else's that is about to end the process.
void removeLivePartialFiles() noexcept;

} // namespace quorvel
