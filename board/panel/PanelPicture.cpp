// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelPicture.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace VelrixBoard {

namespace {

constexpr int WIDTH_OF_LED = 110;
constexpr std::size_t LONGEST_TEXT = 200; // characters

// Text of an XML document. Characters that it cannot have, and bytes beyond ASCII, become "?".
std::string Escaped(std::string_view text) {
    static const std::map<char, std::string> NAMES = {{'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}, {'"', "&quot;"}};
    std::string result;
    for (const char c : text.substr(0, LONGEST_TEXT))
        if (const auto name = NAMES.find(c); name != NAMES.end())
            result += name->second;
        else
            result += c >= ' ' && c <= '~' ? c : '?';
    return text.size() > LONGEST_TEXT ? result + "..." : result;
}

std::string Paint(const std::string& color) {
    static const std::map<std::string, std::string> PAINTS = {
        {"off", "#39424d"}, {"green", "#2bff88"}, {"red", "#ff4134"}, {"yellow", "#ffd21f"}};
    const auto found = PAINTS.find(color);
    return found != PAINTS.end() ? found->second : "#ff9d1f"; // several in one lens
}

std::string Words(int x, int y, int size, const std::string& text, const char* more = "") {
    return "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" font-size=\"" + std::to_string(size) +
           "\"" + more + ">" + Escaped(text) + "</text>";
}

std::string ColorOf(const BoardState& state, const std::string& led, const std::string& levels) {
    const std::size_t lines = state.Model().Lines().size();
    const auto& elements = state.Model().LedElements();
    std::string color;
    for (std::size_t i = 0; i < elements.size(); ++i)
        if (elements[i].led == led && lines + i < levels.size() && levels[lines + i] == '1')
            color += (color.empty() ? "" : "+") + std::string(ColorName(elements[i].color));
    return color.empty() ? "off" : color;
}

} // namespace

std::string PanelPicture(const BoardState& state, const std::string& levels, const std::string& program,
                         const std::string& programState) {
    const auto leds = state.Model().Leds();
    const int width = std::max(360, 40 + WIDTH_OF_LED * static_cast<int>(leds.size()));
    std::string said;
    std::string lamps;
    int x = 20 + WIDTH_OF_LED / 2;
    for (const std::string& led : leds) {
        const std::string color = ColorOf(state, led, levels);
        said += led + " " + color + ", ";
        lamps += "<circle cx=\"" + std::to_string(x) + "\" cy=\"76\" r=\"11\" fill=\"" + Paint(color) +
                 "\" stroke=\"#0d1014\" stroke-width=\"3\"/>" + Words(x, 106, 13, led, " text-anchor=\"middle\"") +
                 Words(x, 124, 12, color, " text-anchor=\"middle\" fill=\"#a9b4c1\"");
        x += WIDTH_OF_LED;
    }
    const std::string size = "width=\"" + std::to_string(width) + "\" height=\"140\"";
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" " + size + " viewBox=\"0 0 " + std::to_string(width) +
           " 140\" role=\"img\" font-family=\"system-ui, sans-serif\" fill=\"#e3e9f0\"><title>" +
           Escaped(said + programState) + "</title><rect " + size + " rx=\"12\" fill=\"#242a31\"/>" +
           Words(20, 30, 15, program, " font-weight=\"600\"") + Words(20, 48, 12, programState, " fill=\"#a9b4c1\"") +
           lamps + "</svg>\n";
}

} // namespace VelrixBoard
