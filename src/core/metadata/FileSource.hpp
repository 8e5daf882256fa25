#pragma once

#include "core/formats/SourceFormat.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quorvel {

// What a file's own Sound Designer II metadata says its audio is. The encoding is
// always big-endian: s8, s16be, s24be or s32be.
struct SourceDescription {
    SourceFormat format = SourceFormat::s16be;
    std::int64_t channels = 2;
    std::int64_t rate = 44100;
    friend bool operator==(const SourceDescription&, const SourceDescription&) = default;
};

// One file's audio as known before any detection: where its bytes lie within the file
// and, when its metadata survived and is trusted, what they are.
struct FileSource {
    std::int64_t offset = 0;                      // the data fork of a MacBinary or AppleSingle file
    std::optional<std::int64_t> length;           // to the end of the file when absent
    std::optional<SourceDescription> description; // trusted metadata
    std::string container;    // where the description came from: "AppleDouble", "MacBinary", …
    std::string storedName;   // the name a MacBinary header keeps, if any
    // When the original was made, as its container (MacBinary, AppleSingle) or AppleDouble
    // sidecar dates it: seconds since 1970 as the recording machine's clock read.
    std::optional<std::int64_t> created;
    // Trusted metadata whose encoding read as static where another encoding reads clearly as
    // audio: the audio overrules its encoding and layout, but its rate stays the file's.
    std::optional<SourceDescription> overruled;
    std::string unreadable;   // a sidecar that is there but could not be read: "PATH: reason"

    // The file's own rate, from its metadata, even where the audio overruled the encoding.
    std::optional<std::int64_t> rate() const
    {
        const auto& own = description ? description : overruled;
        return own ? std::optional(own->rate) : std::nullopt;
    }

    // The audio bytes of the whole file's bytes, clamped to them.
    std::span<const std::uint8_t> audio(std::span<const std::uint8_t> file) const
    {
        const auto size = static_cast<std::int64_t>(file.size());
        const std::int64_t start = std::clamp<std::int64_t>(offset, 0, size);
        const std::int64_t count = std::min(size - start, length.value_or(size - start));
        return file.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(std::max<std::int64_t>(0, count)));
    }

    friend bool operator==(const FileSource&, const FileSource&) = default;
};

} // namespace quorvel
