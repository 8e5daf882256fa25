#pragma once

#include "core/metadata/FileSource.hpp"

#include <filesystem>
#include <optional>

namespace quorvel {

// Where a file's audio lies and what its own Sound Designer II metadata says about it.
// The resource fork is looked for, in this order, in the macOS named fork, in "._NAME"
// beside the file, in ".AppleDouble/NAME" (Netatalk), in "__MACOSX/…/._NAME" under the
// file's folder or any folder above it up to `root` (a Finder zip unpacked there), and in
// the file itself when it is a MacBinary or AppleSingle container; the first fork that
// parses and is trusted gives the description. `root` is the folder the file was found
// under, as given or dropped; for a file given by itself (none) only its own folder is
// looked in. A container's data fork is the audio whichever fork describes it. Reads only
// small pieces of files. Without metadata it describes the whole file as audio of unknown
// encoding; a sidecar that is there but cannot be read leaves it without a description
// and says so in `unreadable`.
FileSource findFileSource(const std::filesystem::path& file, const std::optional<std::filesystem::path>& root);

// Whether a sidecar (looked for as findFileSource does), or the file's own container header
// when `readHeader` is set, gives the Finder type 'Sd2f'. For intake, which only asks this
// of files without the extension.
bool hasSd2FinderType(const std::filesystem::path& file, bool readHeader,
                      const std::optional<std::filesystem::path>& root);

// A sidecar rather than a file of its own: "._NAME", or anything inside a ".AppleDouble"
// or "__MACOSX" folder.
bool isSidecarPath(const std::filesystem::path& path);

} // namespace quorvel
