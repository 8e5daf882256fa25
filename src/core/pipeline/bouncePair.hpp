#pragma once

#include "core/pipeline/bounceFile.hpp"

namespace quorvel {

// bounceFile for a split-stereo pair (item.right set): both halves are read, checked in
// one encoding, joined as left and right and converted as any stereo file would be.
BounceResult bouncePair(const BounceItem& item, const BounceSettings& settings, BounceObserver& observer);

} // namespace quorvel
