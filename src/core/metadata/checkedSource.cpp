#include "core/metadata/checkedSource.hpp"
#include "core/pipeline/staticCheck.hpp"

namespace quorvel {

FileSource checkedSource(FileSource found, std::span<const std::uint8_t> file, SourceFormatChoice choice)
{
    if (!found.description || !choice.isAuto())
        return found;
    if (readsAsStatic(found.audio(file), found.description->format, found.description->channels)) {
        found.description.reset();
        found.container.clear();
        found.mismatched = true;
    }
    return found;
}

} // namespace quorvel
