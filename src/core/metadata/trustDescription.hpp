#pragma once

#include "core/metadata/FileSource.hpp"
#include "core/metadata/resourceFork.hpp"

#include <optional>

namespace quorvel {

// The description a fork's strings give, when they can be trusted: 1–4 bytes per sample,
// one or two channels and 4–384 kHz, or up to 768 kHz with a Finder type of 'Sd2f'. Some
// writers swap size and rate; a size above 4 with a rate of at most 4 is read as that swap.
std::optional<SourceDescription> trustedDescription(const Sd2Strings& strings, bool typedSd2);

} // namespace quorvel
