#include "core/metadata/checkedSource.hpp"
#include "core/pipeline/staticCheck.hpp"

#include <utility>

namespace quorvel {

FileSource checkedSource(FileSource found, std::span<const std::uint8_t> file, SourceFormatChoice choice)
{
    if (!found.description || !choice.isAuto())
        return found;
    // Judged as stereo whatever the description says: its layout may be as wrong as its
    // encoding, and a reading clean channel by channel is audio.
    if (checkEncoding(found.audio(file), found.description->format, 2, false).corrected) {
        found.overruled = std::exchange(found.description, std::nullopt);
        found.container.clear();
    }
    return found;
}

} // namespace quorvel
