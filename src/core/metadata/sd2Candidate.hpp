#pragma once

#include <filesystem>
#include <optional>

namespace quorvel {

// Whether intake queues this path: a name ending ".sd2" in any letter case, or a regular
// file whose sidecar or container header gives the Finder type 'Sd2f' (classic Mac names
// such as "Mix 3", MacBinary and AppleSingle files). Headers are read only for names a
// container or a classic Mac file carries (".bin", ".as", no dot), so a walk through a
// folder of other files costs little more than its listing. Sidecars themselves never are.
// `root` is the folder the path was found under, as for findFileSource.
bool isSd2Candidate(const std::filesystem::path& path, const std::optional<std::filesystem::path>& root);

} // namespace quorvel
