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

// One module line: its label, the settings key that names its value file, and the level it has before anything drives
// it.
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
    std::string Name() const;
};

// What the device is made of, as data: module lines, LEDs and their colours, and where the files of each are found. A
// value object. A new one has the wiring that the library has without a settings file; Apply changes it as one line of
// a settings file would. Everything that shows or simulates the board reads this and knows no line or LED by itself.
class BoardModel final {
public:
    static const std::string OXBO_IRQ;
    static const std::string OXBO_RESET;
    static const std::string OXBO_RAM_LOADER;

    BoardModel();

    const std::vector<Line>& Lines() const { return lines; }
    const std::vector<LedElement>& LedElements() const { return ledElements; }
    const std::string& WebLogFile() const { return webLogFile; }

    // The LEDs' names in the order in which they stand on the front panel.
    std::vector<std::string> Leds() const;

    // The line's place in Lines(); nothing for an unknown label.
    std::optional<std::size_t> FindLine(std::string_view label) const;

    // Takes a path from a settings file. Keys that wire nothing are ignored; they are the library's business.
    void Apply(std::string_view section, std::string_view key, const std::string& path);

    // The level an input shows from the start. Throws BoardError for an unknown label and for an output.
    void SetInitialLevel(const std::string& label, bool level);

private:
    std::vector<Line> lines;
    std::vector<LedElement> ledElements;
    std::string webLogFile;
};

// "green", "red" or "yellow".
std::string_view ColorName(Color color);

} // namespace VelrixBoard
