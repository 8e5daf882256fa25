#include "core/formats/SourceFormat.hpp"
#include "core/formats/optionSet.hpp"

namespace quorvel {

namespace {
struct FormatTexts {
    std::string_view raw, shortText, longText;
};
constexpr std::array<FormatTexts, 6> kTexts{{
    {"s16be", "16-bit BE", "16-bit big-endian  (s16be)"},
    {"s24be", "24-bit BE", "24-bit big-endian  (s24be)"},
    {"s16le", "16-bit LE", "16-bit little-endian  (s16le)"},
    {"s24le", "24-bit LE", "24-bit little-endian  (s24le)"},
    {"s8", "8-bit", "8-bit signed  (s8)"},
    {"s32be", "32-bit BE", "32-bit big-endian  (s32be)"},
}};
} // namespace

std::optional<SourceFormat> SourceFormat::fromRaw(std::string_view raw)
{
    return optionFromRaw<SourceFormat>(raw);
}

std::string_view SourceFormat::rawValue() const { return kTexts[c_].raw; }
std::string_view SourceFormat::shortText() const { return kTexts[c_].shortText; }
std::string_view SourceFormat::longText() const { return kTexts[c_].longText; }

std::array<SourceFormatChoice, 5> SourceFormatChoice::allCases()
{
    return {automatic(), fixed(SourceFormat::s16be), fixed(SourceFormat::s24be),
            fixed(SourceFormat::s16le), fixed(SourceFormat::s24le)};
}

std::optional<SourceFormatChoice> SourceFormatChoice::fromId(std::string_view id)
{
    for (SourceFormatChoice choice : allCases())
        if (choice.id() == id)
            return choice;
    return std::nullopt;
}

std::string_view SourceFormatChoice::id() const
{
    return format_ ? format_->rawValue() : std::string_view{"auto"};
}

std::string SourceFormatChoice::label() const
{
    return std::string(format_ ? format_->longText() : "Auto-detect per file — recommended");
}

} // namespace quorvel
