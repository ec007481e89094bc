// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace VelrixBoard {

namespace {

// Some editors write it at the beginning of every file.
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

using Lines = std::vector<ScenarioLine>;

Lines Split(const std::string& path, std::string_view text) {
    if (text.starts_with(BYTE_ORDER_MARK))
        text.remove_prefix(BYTE_ORDER_MARK.size());
    const auto file = std::make_shared<const std::string>(path);
    Lines lines;
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (ScenarioLine line(file, number, text.substr(0, end)); !line.Empty())
            lines.push_back(std::move(line));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

class Writer final {
public:
    void AddFile(const std::string& path, std::string_view text, const std::string& round, int depth) {
        const Lines lines = Split(path, text);
        AddBlock(lines, 0, lines.size(), round, depth);
    }

    std::vector<PlayedLine> Take() { return std::move(played); }

private:
    void AddBlock(const Lines& lines, std::size_t begin, std::size_t end, const std::string& round, int depth) {
        for (std::size_t i = begin; i < end; ++i) {
            ScenarioLine line = lines[i];
            if (line.Is("end"))
                line.Fail(line.Column(), "this end has no repeat above it");
            if ((line.Is("include") || line.Is("repeat")) && depth == DEEPEST_NESTING)
                line.Fail(line.Column(), "files and repeats are nested deeper than " + std::to_string(DEEPEST_NESTING) +
                                             "; does a file include itself?");
            Count(line);
            if (line.Take("include"))
                Include(line, round, depth + 1);
            else if (line.Take("repeat"))
                i = Repeat(line, lines, i, round, depth + 1);
            else
                played.push_back({line, round});
        }
    }

    // Counts rounds and files, too, since they may be empty.
    void Count(const ScenarioLine& line) {
        if (++count > MOST_STEPS)
            line.Fail(line.Column(), "the scenario has more than " + std::to_string(MOST_STEPS) + " steps");
    }

    void Include(ScenarioLine& line, const std::string& round, int depth) {
        const std::size_t column = line.Column();
        const std::filesystem::path name = line.Any("the name of a file");
        line.NeedEnd();
        const std::string path = (std::filesystem::path(line.File()).parent_path() / name).string();
        std::string text;
        try {
            text = ReadScenarioText(path);
        } catch (const std::runtime_error& error) {
            line.Fail(column, "cannot read " + path + ": " + error.what());
        }
        AddFile(path, text, round, depth);
    }

    // Returns the place of the end of this repeat.
    std::size_t Repeat(ScenarioLine& line, const Lines& lines, std::size_t begin, const std::string& round, int depth) {
        const int rounds = line.Number(1, MOST_STEPS, "a number of rounds");
        line.NeedEnd();
        const std::size_t end = EndOf(lines, begin);
        for (int i = 1; i <= rounds; ++i) {
            Count(line);
            AddBlock(lines, begin + 1, end,
                     round + (round.empty() ? "" : ", ") + std::to_string(i) + " of " + std::to_string(rounds), depth);
        }
        return end;
    }

    static std::size_t EndOf(const Lines& lines, std::size_t begin) {
        int open = 0;
        for (std::size_t i = begin; i < lines.size(); ++i) {
            open += lines[i].Is("repeat") ? 1 : lines[i].Is("end") ? -1 : 0;
            if (open != 0)
                continue;
            ScenarioLine end = lines[i];
            end.Need("end");
            end.NeedEnd();
            return i;
        }
        lines[begin].Fail(lines[begin].Column(), "this repeat has no end; write \"end\" after its last step");
    }

    std::vector<PlayedLine> played;
    int count = 0;
};

} // namespace

std::vector<PlayedLine> WriteOut(const std::string& path, std::string_view text) {
    Writer writer;
    writer.AddFile(path, text, "", 0);
    return writer.Take();
}

std::string ReadScenarioText(const std::string& path) {
    std::ifstream input(path, std::ios::binary);
    if (!input)
        throw std::runtime_error(std::strerror(errno));
    std::string text(LARGEST_SCENARIO + 1, '\0');
    errno = 0;
    input.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (errno != 0) // a directory can be opened, but not read
        throw std::runtime_error(std::strerror(errno));
    text.resize(static_cast<std::size_t>(input.gcount()));
    if (text.size() > LARGEST_SCENARIO)
        throw std::runtime_error("it has more than " + std::to_string(LARGEST_SCENARIO) + " bytes");
    return text;
}

} // namespace VelrixBoard
