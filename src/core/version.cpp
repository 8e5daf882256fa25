#include "core/version.hpp"

#include <sndfile.h>
#include <soxr.h>

namespace quorvel {

namespace {

// "libsndfile-1.2.0" → "libsndfile 1.2.0"
std::string spaced(std::string text)
{
    if (const auto dash = text.find('-'); dash != std::string::npos)
        text[dash] = ' ';
    return text;
}

} // namespace

std::string_view quorvelVersion()
{
    return QUORVEL_VERSION;
}

std::string audioLibraryVersions()
{
    return spaced(soxr_version()) + ", " + spaced(sf_version_string());
}

} // namespace quorvel
