#pragma once

// fuzz_intake's input is a little program that builds a folder tree: each step is one byte
// naming the operation, followed by what it needs (a name, a level). Shared with the seed
// writer so seeds build the trees they are meant to.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::fuzz {

enum IntakeOp : std::uint8_t {
    opFolder,   // name: make a folder here and go into it
    opUp,       // go back to the parent
    opFile,     // name: an empty regular file here
    opLoop,     // name, level: a symlink to this folder or an ancestor (level 0 is "." itself)
    opDangling, // name: a symlink to nothing
    opLink,     // name: a symlink to the last file or folder made (a folder link is no loop)
    opGive,     // kind: hand a path in (see giveKinds)
    opQueue,    // mark the last entry made as queued already
    opCount
};

// What opGive hands in: the folder we are in, the same with a trailing slash, the last
// entry made, a path that does not exist (name follows), or the tree's root again.
enum GiveKind : std::uint8_t { giveHere, giveHereSlash, giveLast, giveMissing, giveRoot, giveKindCount };

inline constexpr std::array<std::string_view, 36> kNameStems{
    "a", "B", "Take 1", "Take 2", "take 10", "Take 02", "with space", "two  spaces", " lead", "trail ",
    "quote\"d", "it's", "new\nline", "tab\t", "\xff\xfe", "\xc3\xa9t\xc3\xa9", "e\xcc\x81", "\xe2\x80\x8bzw",
    ".hidden", "-dash", "*?[", "%41", "#hash", "?q", "back\\slash", "\x01" "ctl", "\xc3", "\xe4\xb8\xad\xe6\x96\x87",
    "10", "9", "1e3", "", "x.sd2", "..", ".", "~"};

inline constexpr std::array<std::string_view, 16> kNameEnds{
    ".sd2", ".SD2", ".Sd2", ".sD2", ".wav", "", ".sd2.wav", ".wav.sd2", ".sd2 ", ".sd22", ".sd", "sd2", "..sd2",
    ".SD2\xff", ".s\xc4\x8f" "2", ".sd2~"};

struct IntakeCase {
    std::vector<std::string> given;
    std::set<std::string> queued;
};

class IntakeProgram {
public:
    IntakeProgram(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool done() const { return at_ >= size_; }
    std::uint8_t next() { return at_ < size_ ? data_[at_++] : 0; }

    // A name from the tables, or up to 32 raw bytes; never empty, ".", ".." or holding '/'.
    std::string name()
    {
        const std::uint8_t b = next();
        std::string text;
        if (b < 0xE0) {
            text = std::string(kNameStems[b % kNameStems.size()]) + std::string(kNameEnds[next() % kNameEnds.size()]);
        } else {
            for (int n = (b & 0x1F) + 1; n > 0 && !done(); --n) {
                const char c = static_cast<char>(next());
                text += c == '/' ? '_' : c == '\0' ? '0' : c;
            }
        }
        if (text.empty() || text == "." || text == "..")
            text = "n" + text;
        return text;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

inline std::string joinPath(const std::string& dir, const std::string& name)
{
    return !dir.empty() && dir.back() == '/' ? dir + name : dir + "/" + name;
}

// Builds the tree under `root` (an empty folder) and returns what is handed in and queued.
inline IntakeCase buildIntakeTree(const std::string& root, const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kMaxEntries = 96;
    constexpr std::size_t kMaxDepth = 12;

    IntakeCase out;
    IntakeProgram program(data, size);
    std::vector<std::string> folders{root}; // the folder we are in and its ancestors
    std::string last = root;
    std::size_t entries = 0;

    while (!program.done() && entries < kMaxEntries) {
        const std::string& here = folders.back();
        switch (program.next() % opCount) {
        case opFolder: {
            const std::string path = joinPath(here, program.name());
            if (folders.size() <= kMaxDepth && mkdir(path.c_str(), 0755) == 0) {
                folders.push_back(path);
                last = path;
                ++entries;
            }
            break;
        }
        case opUp:
            if (folders.size() > 1)
                folders.pop_back();
            break;
        case opFile: {
            const std::string path = joinPath(here, program.name());
            const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
            if (fd >= 0) {
                ::close(fd);
                last = path;
                ++entries;
            }
            break;
        }
        case opLoop: {
            const std::string path = joinPath(here, program.name());
            const std::uint8_t b = program.next();
            const std::size_t up = (b & 0x7F) % folders.size();
            // Relative ("..", "../..") or absolute, both loop.
            std::string target;
            if (b & 0x80) {
                target = up == 0 ? "." : "..";
                for (std::size_t i = 1; i < up; ++i)
                    target += "/..";
            } else {
                target = folders[folders.size() - 1 - up];
            }
            if (symlink(target.c_str(), path.c_str()) == 0) {
                last = path;
                ++entries;
            }
            break;
        }
        case opDangling: {
            const std::string path = joinPath(here, program.name());
            if (symlink(joinPath(root, "nowhere/missing").c_str(), path.c_str()) == 0) {
                last = path;
                ++entries;
            }
            break;
        }
        case opLink: {
            const std::string path = joinPath(here, program.name());
            if (last != path && symlink(last.c_str(), path.c_str()) == 0) {
                last = path;
                ++entries;
            }
            break;
        }
        case opGive:
            switch (program.next() % giveKindCount) {
            case giveHere: out.given.push_back(here); break;
            case giveHereSlash: out.given.push_back(here + "/"); break;
            case giveLast: out.given.push_back(last); break;
            case giveMissing: out.given.push_back(joinPath(here, program.name())); break;
            case giveRoot: out.given.push_back(root); break;
            }
            break;
        case opQueue:
            out.queued.insert(last);
            break;
        }
    }
    if (out.given.empty())
        out.given.push_back(root);
    return out;
}

} // namespace quorvel::fuzz
