#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>

namespace quorvel {

// A file that lines are appended to, each one written whole and put on disk (fsync) before
// append() returns, so a process killed at any moment leaves every line it wrote. Created when
// missing, with the mode the umask gives; a last line that a crash left without its line
// break is ended first, so the next one starts cleanly. Shared by the threads of a run.
class SyncedLog {
public:
    explicit SyncedLog(const std::filesystem::path& path);
    ~SyncedLog();
    SyncedLog(const SyncedLog&) = delete;
    SyncedLog& operator=(const SyncedLog&) = delete;

    bool ok() const { return fd_ >= 0; }
    // Why it could not be opened, or why the last append failed.
    const std::string& error() const { return error_; }

    // False with error() set when the line could not be written or synced.
    bool append(std::string_view line);

private:
    bool writeAll(std::string_view bytes);

    std::mutex mutex_;
    int fd_ = -1;
    std::string error_;
};

} // namespace quorvel
