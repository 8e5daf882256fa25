#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quorvel {

inline constexpr const char* kDefaultOutputFolderName = "_sd2_outputs";

// The default output folder in `location`, and why it cannot be used, if it cannot.
struct OutputFolder {
    std::filesystem::path path;
    std::string error; // "couldn't create DIR: reason", "couldn't use DIR: it is a symbolic link"
};

// Makes `_sd2_outputs` in `location` unless it is there, never through a link: one left in
// its place (by an unpacked archive, say) would send every output wherever it points. A
// folder the user names is theirs, link or not, and does not come through here.
OutputFolder makeDefaultOutputFolder(const std::filesystem::path& location);

// The run's output folder: the one the user chose, made if it is missing (a folder that
// cannot be made shows in every file's write error), else the default one in `location`.
OutputFolder prepareOutputFolder(const std::optional<std::filesystem::path>& chosen,
                                 const std::filesystem::path& location);

} // namespace quorvel
