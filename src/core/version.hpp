#pragma once

#include <string>
#include <string_view>

namespace quorvel {

// This build's version: the CMake project version.
std::string_view quorvelVersion();

// The audio libraries this process runs with, as they report themselves:
// "libsoxr 0.1.3, libsndfile 1.2.0".
std::string audioLibraryVersions();

} // namespace quorvel
