#pragma once

#include "core/metadata/FileSource.hpp"
#include "core/metadata/resourceFork.hpp"

#include <optional>

namespace quorvel {

// The description a fork's strings give, when they can be trusted: sane values (1–4
// bytes per sample, 4–384 kHz, one or two channels), or a Finder type of 'Sd2f' with values
// the converter can still use. Some writers swap size and rate; a size above 4 with a rate
// of at most 4 is read as that swap.
std::optional<SourceDescription> trustedDescription(const Sd2Strings& strings, bool typedSd2);

} // namespace quorvel
