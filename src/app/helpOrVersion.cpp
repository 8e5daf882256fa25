#include "app/quorvelUsage.hpp"
#include "core/version.hpp"

#include <QtGlobal>

#include <string_view>

namespace quorvel {

// Answered before any window system is reached, so both work without a display.
std::optional<int> printHelpOrVersion(int argc, char** argv)
{
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "--help" || first == "-h")
        return cli::printRequested("quorvel", cli::usageText(quorvelUsage()));
    if (first == "--version")
        return cli::printRequested("quorvel", "quorvel " + std::string(quorvelVersion()) + " (" +
                                                  audioLibraryVersions() + ", Qt " + qVersion() + ")\n");
    return std::nullopt;
}

} // namespace quorvel
