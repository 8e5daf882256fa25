#include "cli/usage.hpp"
#include "core/formats/utf8.hpp"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <system_error>

namespace quorvel::cli {

namespace {

constexpr std::size_t kWidth = 88;
constexpr std::size_t kOptionIndent = 13, kHelpColumn = 32;

std::vector<std::string> words(std::string_view text)
{
    std::vector<std::string> split;
    for (std::size_t start = 0, end = 0; start < text.size(); start = end + 1) {
        end = std::min(text.find(' ', start), text.size());
        if (end > start)
            split.emplace_back(text.substr(start, end - start));
    }
    return split;
}

// Appends the words filled to kWidth; `column` is how far the current line already is,
// and continuation lines start at `indent`.
void fill(std::string& out, const std::vector<std::string>& items, std::size_t column, std::size_t indent)
{
    bool lineStarted = false;
    for (const std::string& item : items) {
        if (lineStarted && column + 1 + displayWidth(item) > kWidth) {
            out.append("\n").append(indent, ' ');
            column = indent;
            lineStarted = false;
        }
        if (lineStarted) {
            out += ' ';
            ++column;
        }
        out += item;
        column += displayWidth(item);
        lineStarted = true;
    }
    out += '\n';
}

std::string synopsisItem(const OptionDoc& option)
{
    std::string item = std::string("[").append(join(option.names, "|"));
    if (!option.value.empty())
        item.append(" ").append(option.choices.empty() ? std::string(option.value) : join(option.choices, "|"));
    return item + "]";
}

std::string label(const OptionDoc& option)
{
    std::string text = join(option.names, ", ");
    if (!option.value.empty())
        text.append(" ").append(option.value);
    return text;
}

} // namespace

std::vector<std::string_view> spellings(const OptionDoc& option)
{
    std::vector<std::string_view> all = option.names;
    all.insert(all.end(), option.aliases.begin(), option.aliases.end());
    return all;
}

std::string join(const std::vector<std::string_view>& words, std::string_view separator)
{
    std::string joined;
    for (std::string_view word : words)
        joined.append(joined.empty() ? "" : separator).append(word);
    return joined;
}

std::string usageText(const ProgramDoc& program)
{
    std::string out;
    const auto synopsisLine = [&](std::string prefix, std::vector<std::string> items) {
        prefix = (out.empty() ? "usage: " : "       ") + std::string(program.name) + " " + prefix;
        out += prefix;
        fill(out, items, displayWidth(prefix), displayWidth(prefix));
    };
    for (const CommandDoc& command : program.commands) {
        std::vector<std::string> items;
        for (const OptionDoc& option : command.options)
            items.push_back(synopsisItem(option));
        items.emplace_back(command.operands);
        synopsisLine(command.name.empty() ? "" : std::string(command.name) + " ", items);
    }
    for (const OptionDoc& option : program.options)
        synopsisLine("", {label(option)});

    for (std::string_view paragraph : program.description)
        fill(out.append("\n"), words(paragraph), 0, 0);

    std::size_t nameWidth = 0;
    for (const CommandDoc& command : program.commands)
        nameWidth = std::max(nameWidth, command.name.size() + 2);
    if (nameWidth > 2)
        out += '\n';
    for (const CommandDoc& command : program.commands) {
        if (command.name.empty())
            continue;
        out.append("  ").append(command.name).append(nameWidth - command.name.size(), ' ');
        fill(out, words(command.help), 2 + nameWidth, 2 + nameWidth);
        for (const OptionDoc& option : command.options) {
            const std::string name = label(option);
            out.append(kOptionIndent, ' ').append(name);
            if (kOptionIndent + name.size() + 2 > kHelpColumn)
                out.append("\n").append(kHelpColumn, ' ');
            else
                out.append(kHelpColumn - kOptionIndent - name.size(), ' ');
            fill(out, words(option.help), kHelpColumn, kHelpColumn);
        }
    }
    fill(out.append("\n"), words("Exit status: " + std::string(program.exitStatus)), 0, 0);
    return out;
}

int printRequested(std::string_view program, std::string_view text)
{
    errno = 0;
    std::cout << text << std::flush;
    if (std::cout)
        return 0;
    std::cerr << program << ": couldn't write to standard output: "
              << (errno != 0 ? std::generic_category().message(errno) : "the write failed") << '\n';
    return 1;
}

} // namespace quorvel::cli
