#pragma once

#include "core/pipeline/BroadcastInfo.hpp"

#include <atomic>
#include <concepts>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorvel {

class SourceHash;

// What is known of a converted file once it is complete.
struct OutputFacts {
    std::int64_t bytes = 0;  // the whole file
    std::int64_t frames = 0;
    std::string audioMD5;    // of the data chunk's payload, hex
    std::vector<std::string> sourceSHA256; // each source file hashed on the way, hex, in order
};

// Where a converted file is to appear, what it records of its origin and, when set, what
// must happen just before it appears: the file is then complete and on disk, and
// `beforePublish` gets its facts, so a record of it can be made that a process killed at any
// later point cannot lose.
struct OutputTarget {
    // A plain path is a target too, whatever spells it: a plain WAV, nothing recorded.
    template <class Path>
        requires std::constructible_from<std::filesystem::path, Path>
    OutputTarget(Path&& to) : path(std::forward<Path>(to)) // NOLINT(google-explicit-constructor)
    {
    }
    OutputTarget(std::filesystem::path to, std::function<void(const OutputFacts&)> hook)
        : path(std::move(to)), beforePublish(std::move(hook))
    {
    }

    std::filesystem::path path;
    std::function<void(const OutputFacts&)> beforePublish;
    std::optional<BroadcastInfo> broadcast; // none: a plain WAV without bext and MD5 chunks
    // The source files being converted, hashed as the conversion reads them (not owned).
    std::vector<SourceHash*> sources;
    // When set and true, the conversion stops before its next block (see BounceSettings::stop).
    const std::atomic<bool>* stop = nullptr;
};

} // namespace quorvel
