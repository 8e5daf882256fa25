#pragma once

#include "core/metadata/FileSource.hpp"

#include <filesystem>

namespace quorvel {

// Where a file's audio lies and what its own Sound Designer II metadata says about it.
// The resource fork is looked for, in this order, in the macOS named fork, in "._NAME"
// beside the file, in ".AppleDouble/NAME" (Netatalk), in "__MACOSX/…/._NAME" under any
// ancestor folder (a Finder zip unpacked), and in the file itself when it is a MacBinary
// or AppleSingle container; the first fork that parses and is trusted gives the
// description. A container's data fork is the audio whichever fork describes it.
// Reads only small pieces of files; never fails: without metadata it describes the
// whole file as audio of unknown encoding.
FileSource findFileSource(const std::filesystem::path& file);

// Whether a sidecar, or the file's own container header when `readHeader` is set, gives
// the Finder type 'Sd2f'. For intake, which only asks this of files without the extension.
bool hasSd2FinderType(const std::filesystem::path& file, bool readHeader);

// A sidecar rather than a file of its own: "._NAME", or anything inside a ".AppleDouble"
// or "__MACOSX" folder.
bool isSidecarPath(const std::filesystem::path& path);

} // namespace quorvel
