#pragma once

#include <concepts>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <utility>

namespace quorvel {

// Where a converted file is to appear, and, when set, what must happen just before it does:
// the file is then complete and on disk, and `beforePublish` gets its size, so a record of it
// can be made that a process killed at any later point cannot lose.
struct OutputTarget {
    // A plain path is a target too, whatever spells it.
    template <class Path>
        requires std::constructible_from<std::filesystem::path, Path>
    OutputTarget(Path&& to) : path(std::forward<Path>(to)) // NOLINT(google-explicit-constructor)
    {
    }
    OutputTarget(std::filesystem::path to, std::function<void(std::int64_t bytes)> hook)
        : path(std::move(to)), beforePublish(std::move(hook))
    {
    }

    std::filesystem::path path;
    std::function<void(std::int64_t bytes)> beforePublish;
};

} // namespace quorvel
