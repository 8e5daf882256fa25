#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace quorvel::test {

// A fresh folder under the system's temporary folder, removed with everything in it.
class ScratchDir {
public:
    ScratchDir()
        : path_(std::filesystem::temp_directory_path() / ("quorvel-test-" + std::to_string(std::random_device{}())))
    {
        std::filesystem::create_directories(path_);
    }
    ~ScratchDir() { std::filesystem::remove_all(path_); }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    std::filesystem::path write(const std::string& name, const std::vector<std::uint8_t>& bytes) const
    {
        const auto file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return file;
    }

private:
    std::filesystem::path path_;
};

inline std::string slurp(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace quorvel::test
