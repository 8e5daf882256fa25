#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include <stdlib.h> // mkdtemp

namespace quorvel::fuzz {

// A fresh folder under $TMPDIR for one fuzzing process, removed with all it holds at exit.
struct ScratchFolder {
    std::filesystem::path root;

    explicit ScratchFolder(std::string_view name)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / ("quorvel-" + std::string(name) + "-XXXXXX")).string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        root = pattern;
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
};

} // namespace quorvel::fuzz
