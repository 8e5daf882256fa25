#pragma once

#include "core/pipeline/bounceFile.hpp"

namespace quorvel::test {

// A queued file as detection left it: read as `detected`, with `channels`.
inline BounceItem itemFor(const std::filesystem::path& path, SourceFormat detected, std::int64_t channels)
{
    return {path, [=] { return detected; }, [=] { return channels; }, std::nullopt};
}

} // namespace quorvel::test
