#pragma once

#include "core/metadata/FileSource.hpp"

#include <filesystem>
#include <string>

namespace quorvel {

// The name an output is based on: a MacBinary's stored name when it has one that does not
// start with a dot, else the file's own; without its ".sd2", or a container's extension. A
// classic Mac name such as "Mix 3.1" keeps its dot. A stored name is Mac OS Roman, turned
// into UTF-8, its slashes and NULs into "_"; a file's own name keeps its bytes.
std::string sourceBaseName(const std::filesystem::path& file, const FileSource& source);

} // namespace quorvel
