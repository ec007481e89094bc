// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioLines.h"

#include <fstream>
#include <map>
#include <sstream>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

std::vector<std::string> Paths(const BoardModel& model) {
    std::vector<std::string> paths;
    for (const Line& line : model.Lines())
        paths.push_back(line.path);
    for (const LedElement& element : model.LedElements())
        paths.push_back(element.path);
    return paths;
}

std::map<std::string, unsigned> ReadLines(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream)
        throw BoardError("cannot read " + file.native() + "; scripts/emulated-board-image makes it");
    std::map<std::string, unsigned> numbers;
    for (std::string row; std::getline(stream, row);) {
        std::istringstream words(row);
        unsigned number = 0;
        std::string kind;
        std::string name;
        if (!(words >> number >> kind >> name))
            continue; // a comment
        const std::string path = kind == "led" ? "/sys/class/leds/" + name + "/brightness"
                                               : "/var/dev/gpio-" + kind + "s/" + name + "/value";
        numbers.insert_or_assign(path, number);
    }
    return numbers;
}

} // namespace

GpioLines::GpioLines(const std::filesystem::path& file, const BoardModel& model) {
    const std::map<std::string, unsigned> numbers = ReadLines(file);
    const std::vector<std::string> devicePaths = Paths(BoardModel());
    const std::vector<std::string> paths = Paths(model);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const auto own = numbers.find(devicePaths[i]);
        if (own == numbers.end())
            throw BoardError(file.native() + " has no line for " + devicePaths[i]);
        const auto found = numbers.find(paths[i]);
        if (found != numbers.end()) {
            lines.push_back(found->second);
        } else if (paths[i].starts_with("/dev/")) {
            lines.push_back(std::nullopt);
        } else {
            lines.push_back(own->second);
            links.push_back({paths[i], devicePaths[i]});
        }
    }
}

void GpioLines::AddLinks(CpioArchive& archive) const {
    for (const Link& link : links) {
        if (!link.path.starts_with("/") || link.path.starts_with("/sys/"))
            throw BoardError("the emulated board cannot have " + link.path + " in place of " + link.target +
                             "; name a file outside of /sys");
        archive.AddLink(link.path, link.target);
    }
}

} // namespace VelrixBoard
