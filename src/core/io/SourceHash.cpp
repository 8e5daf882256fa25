#include "core/io/SourceHash.hpp"
#include "core/io/guardedRead.hpp"

#include <algorithm>

namespace quorvel {

bool SourceHash::upTo(const std::uint8_t* end)
{
    const auto at = static_cast<std::size_t>(std::clamp(end - file_.data(), std::ptrdiff_t{0},
                                                        static_cast<std::ptrdiff_t>(file_.size())));
    if (at <= hashed_)
        return true;
    const std::span<const std::uint8_t> bytes = file_.subspan(hashed_, at - hashed_);
    if (!guardedRead([&] { digest_.add(bytes); }))
        return false;
    hashed_ = at;
    return true;
}

std::string SourceHash::finish()
{
    if (!upTo(file_.data() + file_.size()))
        return {};
    return hexText(digest_.finish());
}

} // namespace quorvel
