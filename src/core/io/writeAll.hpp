#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quorvel {

// Writes all of `bytes` to the open file `fd`, through short writes and interruptions.
// Empty when it did, else why it could not.
std::string writeAll(int fd, std::span<const std::uint8_t> bytes);

} // namespace quorvel
