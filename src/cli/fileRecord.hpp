#pragma once

#include "cli/options.hpp"
#include "core/io/splitStereo.hpp"
#include "core/pipeline/bounceFile.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace quorvel::cli {

// A source file as a record knows it: size in bytes and modification time, UTC to the
// nanosecond ("2024-05-01T12:00:00.123456789Z"). None when it cannot be looked at.
struct FileStamp {
    std::int64_t size = 0;
    std::string modified;
};
std::optional<FileStamp> fileStamp(const std::filesystem::path& path);

// Everything one converted (or failed) file's line says: what `--json` prints and `--report`
// keeps. A run reads the report back to know what is done, so the line carries all that
// decides it: the source and its stamp, the settings, the output and its size. Facts added
// later belong here, so every form of the line comes from this one record.
struct FileRecord {
    QueuedSource source;
    BounceResult result;
    std::optional<FileStamp> stamp, rightStamp; // rightStamp: a pair's right half
    std::optional<std::int64_t> outputBytes;    // when it converted
    std::string settings;                       // the run's settings, as settingsJson gives them
    std::string from; // where its encoding, layout and rate came from (answerFrom); empty: unread
};

// The record of `source` about to be converted under `settings`, with its stamps taken now.
FileRecord recordBefore(const QueuedSource& source, const std::string& settings);

// One line of JSON: path (and pair), output, ok, status (error), format, channels,
// autoCorrected, from, size, modified (rightSize, rightModified), outputSize, settings. Paths whose
// bytes are not UTF-8 add rawPath, rawRight or rawOutput.
std::string jsonLine(const FileRecord& record);

// The settings that decide what a file's output is, as a JSON object.
std::string settingsJson(const ConvertOptions& options);

} // namespace quorvel::cli
