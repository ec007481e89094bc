// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VelrixBoard {

enum class Direction { INPUT, OUTPUT };
enum class Color { GREEN, RED, YELLOW };

// "green", "red" or "yellow".
std::string_view ColorName(Color color);

// One module line: its label, the settings key of its value file, and its initial level.
struct Line {
    std::string label;
    Direction direction;
    std::string section;
    std::string key;
    std::string path;
    bool level;
};

// One colour of one LED.
struct LedElement {
    std::string led;
    Color color;
    std::string key;
    std::string path;

    // "MS.green": how records and messages name the element.
    std::string Name() const { return led + "." + std::string(ColorName(color)); }
};

// The device as data: module lines, LEDs and their colours, and the paths of their files. A value object. A new one has
// the library's default wiring; Apply changes it like one line of a settings file. Views and simulations take all lines
// and LEDs from here.
class BoardModel final {
public:
    static const std::string OXBO_IRQ;
    static const std::string OXBO_RESET;
    static const std::string OXBO_RAM_LOADER;

    BoardModel();

    const std::vector<Line>& Lines() const { return lines; }
    const std::vector<LedElement>& LedElements() const { return ledElements; }
    const std::string& WebLogFile() const { return webLogFile; }

    // The LEDs' names in the order of the front panel.
    std::vector<std::string> Leds() const;

    // The line's index in Lines(); nothing for an unknown label.
    std::optional<std::size_t> FindLine(std::string_view label) const;

    // Sets a path from a settings file. Ignores keys without wiring.
    void Apply(std::string_view section, std::string_view key, const std::string& path);

    // Sets the initial level of an input. Throws BoardError for an unknown label and for an output.
    void SetInitialLevel(const std::string& label, bool level);

private:
    std::vector<Line> lines;
    std::vector<LedElement> ledElements;
    std::string webLogFile;
};

} // namespace VelrixBoard
