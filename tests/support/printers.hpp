#pragma once

#include "core/formats/SourceFormat.hpp"

#include <ostream>

namespace quorvel {
// Readable failure messages: "s24le" rather than a raw byte.
inline void PrintTo(SourceFormat format, std::ostream* os) { *os << format.rawValue(); }
} // namespace quorvel
