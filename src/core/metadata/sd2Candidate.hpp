#pragma once

#include <filesystem>
#include <optional>

namespace quorvel {

// What intake does with a path.
enum class Candidacy {
    skipped,  // another kind of file, a folder or a sidecar
    taken,    // by its name or its metadata
    sniffed,  // met in a folder walk with a bare name, taken for what its data reads as
    notAudio, // met in a folder walk with a bare name, left out: its data does not read as audio
};

// A name ending ".sd2" in any letter case is taken, and so is a regular file whose sidecar
// or container header gives the Finder type 'Sd2f' (classic Mac names such as "Mix 3",
// MacBinary and AppleSingle files). A bare name, with no extension or only a channel
// suffix ("Audio 1_01", "Gtr.L"), is sniffed when met in a folder walk and taken when named
// explicitly and there. Headers are read only for names a container or a classic Mac file
// carries (".bin", ".as", bare), so a walk through a folder of other files costs little
// more than its listing. Sidecars themselves never are taken. `root` is the folder the path
// was found under in a walk, as for findFileSource; none for a path named explicitly.
Candidacy sd2Candidacy(const std::filesystem::path& path, const std::optional<std::filesystem::path>& root);

// True when the data is not another known format by its first bytes (RIFF, FORM, ID3,
// fLaC, OggS, PK, %PDF, …) and reads clearly as audio in some encoding (smoothness at
// least kCorrectionAtLeast, for stereo channel by channel), or one reading is quiet far
// below every other (quietReading). Digital silence holds no evidence either way, and is
// not taken.
bool readsAsAudio(const std::filesystem::path& file);

} // namespace quorvel
