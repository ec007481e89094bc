// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioLines.h"

#include <fstream>
#include <map>
#include <sstream>

#include "board/base/BoardError.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

namespace {

std::map<std::string, unsigned> ReadLines(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream)
        throw BoardError("cannot read " + file.native() + "; velrix-emulator image makes it");
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
    const BoardModel device;
    const BoardState deviceState(device);
    const BoardState state(model);
    for (std::size_t signal = 0; signal < state.Count(); ++signal) {
        const std::string& path = state.Path(signal);
        const std::string& devicePath = deviceState.Path(signal);
        const auto own = numbers.find(devicePath);
        if (own == numbers.end())
            throw BoardError(file.native() + " has no line for " + devicePath);
        const auto found = numbers.find(path);
        if (found != numbers.end()) {
            lines.push_back(found->second);
        } else if (path.starts_with("/dev/")) {
            lines.push_back(std::nullopt);
        } else {
            lines.push_back(own->second);
            links.push_back({path, devicePath});
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
