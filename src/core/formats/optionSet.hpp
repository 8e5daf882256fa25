#pragma once

#include <optional>

namespace quorvel {

// Every option type lists its cases in allCases(); construction from a raw value is a
// lookup in that list, so the table in each type is the single source of truth.
template <class Option, class Raw>
std::optional<Option> optionFromRaw(const Raw& raw)
{
    for (Option option : Option::allCases())
        if (option.rawValue() == raw)
            return option;
    return std::nullopt;
}

} // namespace quorvel
