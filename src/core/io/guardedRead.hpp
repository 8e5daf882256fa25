#pragma once

#include <functional>
#include <string_view>

namespace quorvel {

// What the user is told when guardedRead comes back false.
inline constexpr std::string_view kChangedWhileRead = "the file changed while it was being read";

// Runs `read`, which reads memory-mapped file data. If the file shrinks underneath the
// mapping, touching a page past its new end raises a bus error; here that ends the read
// instead of the process, and the call returns false. `read` must hold nothing that needs
// destroying across the bytes it reads (plain loops and trivially destructible values),
// since a fault unwinds it without running destructors.
bool guardedRead(const std::function<void()>& read);

// Lets a write past the file-size limit (ulimit -f) fail with an error the user can be
// shown, instead of the signal killing the process.
void reportFileSizeLimitAsError();

} // namespace quorvel
