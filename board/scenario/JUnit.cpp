// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/JUnit.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <utility>

#include "board/scenario/Printable.h"

namespace VelrixBoard {

namespace {

using Verdict = StepResult::Verdict;

constexpr std::pair<char, const char*> ESCAPES[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}};

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : Printable(text)) {
        const auto* const found = std::ranges::find(ESCAPES, c, &std::pair<char, const char*>::first);
        escaped += found != std::end(ESCAPES) ? found->second : std::string(1, c);
    }
    return escaped;
}

std::string Seconds(ScenarioTime time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", static_cast<double>(time.count()) / 1e6);
    return text;
}

std::string Moment(std::time_t time) {
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

std::size_t CountOf(const std::vector<StepResult>& results, Verdict verdict) {
    return static_cast<std::size_t>(std::ranges::count(results, verdict, &StepResult::verdict));
}

// "12", in a repeat "12 (2 of 5)".
std::string PlaceOf(const Step& step) {
    return std::to_string(step.line) + (step.round.empty() ? "" : " (" + step.round + ")");
}

std::string Head(const std::string& suite, std::size_t tests, std::size_t failures, std::size_t errors,
                 std::size_t skipped, const std::string& times) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" + Escaped(suite) + "\" tests=\"" +
           std::to_string(tests) + "\" failures=\"" + std::to_string(failures) + "\" errors=\"" +
           std::to_string(errors) + "\" skipped=\"" + std::to_string(skipped) + "\"" + times + ">\n";
}

// Nothing for an empty text. Keeps the lines.
std::string Element(const std::string& name, const std::string& text) {
    if (text.empty())
        return "";
    std::string element = "  <" + name + ">";
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        element += Escaped(text.substr(begin, end - begin)) + (end < text.size() ? "\n" : "");
        begin = end + 1;
    }
    return element + "</" + name + ">\n";
}

} // namespace

void CapturedOutput::Add(ProgramStream stream, std::string_view piece) {
    Stream& kept = streams[static_cast<std::size_t>(stream)];
    kept.text += piece;
    const std::size_t tooMuch = kept.text.size() - std::min(kept.text.size(), MOST);
    kept.text.erase(0, tooMuch);
    kept.leftOut += tooMuch;
}

std::string CapturedOutput::Text(ProgramStream stream) const {
    const Stream& kept = streams[static_cast<std::size_t>(stream)];
    return (kept.leftOut == 0 ? "" : "[" + std::to_string(kept.leftOut) + " bytes are left out here]\n") + kept.text;
}

std::string SuiteName(const std::string& scenarioPath) {
    return std::filesystem::path(scenarioPath).stem().string();
}

std::string JUnitReport(const std::string& suite, const ScenarioError& mistake) {
    return Head(suite, 1, 0, 1, 0, "") + "  <testcase classname=\"" + Escaped(suite) +
           "\" name=\"scenario\" time=\"0.000\">\n    <error message=\"" + Escaped(mistake.what()) +
           "\"/>\n  </testcase>\n</testsuite>\n";
}

std::string JUnitReport(const std::string& suite, const Scenario& scenario, const std::vector<StepResult>& results,
                        std::time_t began, const CapturedOutput& output) {
    ScenarioTime length{0};
    for (const StepResult& result : results)
        length = std::max(length, result.time);
    std::string report =
        Head(suite, results.size(), CountOf(results, Verdict::FAILED), 0, CountOf(results, Verdict::NOT_REACHED),
             " timestamp=\"" + Moment(began) + "\" time=\"" + Seconds(length) + "\"");
    ScenarioTime before{0};
    for (std::size_t i = 0; i < results.size(); ++i) {
        const StepResult& result = results[i];
        const Step& step = scenario.steps[i];
        const bool reached = result.verdict != Verdict::NOT_REACHED;
        report += "  <testcase classname=\"" + Escaped(suite) + "\" name=\"" +
                  (step.file == scenario.path ? "" : Escaped(step.file) + ":") + PlaceOf(step) + ": " +
                  Escaped(step.text) + "\" time=\"" +
                  Seconds(reached ? std::max(result.time - before, ScenarioTime(0)) : ScenarioTime(0)) + "\"";
        if (result.verdict == Verdict::FAILED)
            report += ">\n    <failure message=\"" + Escaped(result.message) + "\"/>\n  </testcase>\n";
        else
            report += reached ? "/>\n" : "><skipped/></testcase>\n";
        if (reached)
            before = std::max(before, result.time);
    }
    return report + Element("system-out", output.Text(ProgramStream::OUTPUT)) +
           Element("system-err", output.Text(ProgramStream::ERRORS)) + "</testsuite>\n";
}

std::string PlainReport(const Scenario& scenario, const std::vector<StepResult>& results) {
    std::string report;
    for (std::size_t i = 0; i < results.size(); ++i)
        if (results[i].verdict == Verdict::FAILED)
            report += Printable(scenario.steps[i].file + ":" + PlaceOf(scenario.steps[i]) + ": " +
                                scenario.steps[i].text + ": " + results[i].message) +
                      "\n";
    const std::size_t passed = CountOf(results, Verdict::PASSED);
    return report + Printable(scenario.path) + ": " + std::to_string(passed) + (passed == 1 ? " step" : " steps") +
           " passed, " + std::to_string(CountOf(results, Verdict::FAILED)) + " failed, " +
           std::to_string(CountOf(results, Verdict::NOT_REACHED)) + " not reached\n";
}

} // namespace VelrixBoard
