#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
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

// Every file and folder below `folder`, relative to it; folders end in "/".
inline std::set<std::string> tree(const std::filesystem::path& folder)
{
    std::set<std::string> entries;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        entries.insert(entry.path().lexically_relative(folder).string() + (entry.is_directory() ? "/" : ""));
    return entries;
}

inline std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

} // namespace quorvel::test
