// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/VcdReader.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

namespace VelrixBoard {

namespace {

// The words of the file, with their line numbers.
class Words final {
public:
    explicit Words(const std::string& ownPath) : path(ownPath), input(ownPath) {
        if (!input)
            throw TimelineError("cannot read the timeline " + path + ": " + std::strerror(errno));
    }

    bool Next(std::string& word) {
        while (!(words >> word)) {
            std::string text;
            if (!std::getline(input, text))
                return false;
            ++line;
            words.clear();
            words.str(text);
        }
        return true;
    }

    // The words up to $end.
    std::vector<std::string> Section(const std::string& keyword) {
        std::vector<std::string> section;
        for (std::string word; Next(word); section.push_back(word))
            if (word == "$end")
                return section;
        Fail("'" + keyword + "' has no '$end'");
    }

    [[noreturn]] void Fail(const std::string& what) const {
        throw TimelineError(path + ":" + std::to_string(line) + ": " + what + "; is this a recording of a board?");
    }

private:
    const std::string path;
    std::ifstream input;
    std::istringstream words;
    int line = 0;
};

// A time of the file in microseconds: stamp * multiplier / divisor.
struct Scale {
    long long multiplier = 1;
    long long divisor = 1;
};

Scale ScaleOf(const Words& words, const std::vector<std::string>& section) {
    std::string text;
    for (const std::string& word : section)
        text += word;
    static const std::map<std::string, Scale> UNITS = {{"s", {1'000'000, 1}},  {"ms", {1'000, 1}},
                                                       {"us", {1, 1}},         {"ns", {1, 1'000}},
                                                       {"ps", {1, 1'000'000}}, {"fs", {1, 1'000'000'000}}};
    for (const auto& [number, factor] : {std::pair{"100", 100}, {"10", 10}, {"1", 1}}) {
        const auto unit = text.rfind(number, 0) == 0 ? UNITS.find(text.substr(std::strlen(number))) : UNITS.end();
        if (unit != UNITS.end())
            return {unit->second.multiplier * factor, unit->second.divisor};
    }
    words.Fail("'" + text + "' is no time scale");
}

// A word "#STAMP".
TimelineTime TimeOf(const Words& words, const std::string& word, const Scale& scale) {
    long long stamp = 0;
    const char* const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data() + 1, end, stamp);
    if (error != std::errc() || rest != end || __builtin_mul_overflow(stamp, scale.multiplier, &stamp))
        words.Fail("'" + word + "' is no time");
    return TimelineTime(stamp / scale.divisor);
}

// The first level at time 0 is the initial one, the others are changes.
void AddLevel(Signal& signal, std::optional<bool>& known, bool level, TimelineTime now) {
    if (!known && now == TimelineTime(0))
        signal.initial = level;
    else if (known.value_or(false) != level)
        signal.changes.push_back({now, level});
    known = level;
}

} // namespace

Timeline ReadVcd(const std::string& path) {
    Words words(path);
    Timeline timeline;
    Scale scale;
    std::map<std::string, std::size_t> byIdentifier;
    std::vector<std::optional<bool>> levels;
    TimelineTime now{0};

    for (std::string word; words.Next(word);) {
        if (word == "$timescale")
            scale = ScaleOf(words, words.Section(word));
        else if (word == "$var") {
            const auto parts = words.Section(word);
            if (parts.size() < 4 || parts[1] != "1")
                words.Fail("only '$var wire 1 IDENTIFIER NAME $end' is understood");
            byIdentifier[parts[2]] = timeline.signals.size();
            timeline.signals.push_back({parts[3], false, {}});
            levels.emplace_back();
        } else if (word.front() == '$') {
            if (word != "$dumpvars" && word != "$end") // what follows these are ordinary levels
                words.Section(word);
        } else if (word.front() == '#') {
            const TimelineTime time = TimeOf(words, word, scale);
            if (time < now)
                words.Fail("the time goes back from " + TextOf(now) + " to " + TextOf(time));
            now = time;
        } else if (const auto signal = byIdentifier.find(word.substr(1));
                   signal != byIdentifier.end() && std::strchr("01xXzZ", word.front())) {
            AddLevel(timeline.signals[signal->second], levels[signal->second], word.front() == '1', now);
        } else
            words.Fail("'" + word + "' is neither a time nor the level of a signal that was named above");
    }
    if (timeline.signals.empty())
        words.Fail("no signals");
    timeline.end = now;
    return timeline;
}

} // namespace VelrixBoard
