// quorvel-docs OUTPUT_FOLDER: writes the man pages and sd2wav's shell completions from
// the programs' usage tables, at build time.
#include "app/quorvelUsage.hpp"
#include "cli/docs.hpp"
#include "core/version.hpp"

#include <filesystem>
#include <fstream>
#include <iostream>

int main(int argc, char** argv)
{
    using namespace quorvel::cli;
    if (argc != 2) {
        std::cerr << "usage: quorvel-docs OUTPUT_FOLDER\n";
        return 2;
    }
    const std::filesystem::path folder = argv[1];
    const ProgramDoc sd2wav = sd2wavUsage();
    const std::pair<std::string, std::string> files[] = {
        {"sd2wav.1", manPage(sd2wav, quorvel::quorvelVersion(), QUORVEL_RELEASE_DATE)},
        {"quorvel.1", manPage(quorvel::quorvelUsage(), quorvel::quorvelVersion(), QUORVEL_RELEASE_DATE)},
        {"sd2wav.bash", bashCompletion(sd2wav)},
        {"_sd2wav", zshCompletion(sd2wav)},
        {"sd2wav.fish", fishCompletion(sd2wav)},
    };
    std::filesystem::create_directories(folder);
    for (const auto& [name, text] : files) {
        std::ofstream out(folder / name, std::ios::binary);
        if (!(out << text).flush()) {
            std::cerr << "quorvel-docs: couldn't write " << (folder / name).string() << '\n';
            return 1;
        }
    }
    return 0;
}
