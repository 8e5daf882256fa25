#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace quorvel {

// A file being written under a clearly marked temporary name ("name.wav.partial-XXXXXX")
// beside its final place, so a failed or interrupted write never leaves a half file under
// a final name. Removed on destruction unless it has been published.
class PartialFile {
public:
    // Creates it exclusively in final.parent_path(). On failure fd() < 0 and error() says why.
    static PartialFile create(const std::filesystem::path& final);

    PartialFile(PartialFile&& other) noexcept;
    PartialFile& operator=(PartialFile&&) = delete;
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;
    ~PartialFile();

    int fd() const { return fd_; }
    const std::string& error() const { return error_; }

    // Closes the file and moves it to `target` without replacing anything; while the target
    // exists, tries next(target). Returns the path it landed at, or empty with error() set.
    std::filesystem::path publish(std::filesystem::path target,
                                  const std::function<std::filesystem::path(const std::filesystem::path&)>& next);

    // Closes the file and moves it to `target`, replacing what is there: for scratch files
    // such as audition excerpts. False with error() set when it cannot.
    bool publishReplacing(const std::filesystem::path& target);

private:
    PartialFile() = default;
    void closeFd();

    int fd_ = -1;
    std::filesystem::path path_;
    std::string error_;
};

} // namespace quorvel
