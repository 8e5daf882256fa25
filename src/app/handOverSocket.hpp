#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvel {

using UserId = std::uint32_t;

UserId currentUser();

// Where a user's running window listens for later launches: "quorvel-UID" in
// $XDG_RUNTIME_DIR when that is a folder of the user's own with mode 0700, else in a folder
// "quorvel-UID" of the temporary folder, made with mode 0700 and checked the same way (the
// user's, not a link). None when neither can be had: then every launch opens its own window.
std::optional<std::string> handOverSocketPath(UserId user);

// The user at the other end of a connected local socket; none when it cannot be told.
std::optional<UserId> peerUser(int socket);

} // namespace quorvel
