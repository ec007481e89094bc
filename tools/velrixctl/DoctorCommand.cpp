// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>
#include <string>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/Diagnosis.h"
#include "tools/velrixctl/Json.h"

namespace VelrixTools {

namespace {

using Verdict = Diagnosis::Verdict;

const char* NameOf(Verdict verdict) {
    return verdict == Verdict::GOOD ? "good" : verdict == Verdict::NOTE ? "note" : "wrong";
}

Colour ColourOf(Verdict verdict) {
    return verdict == Verdict::GOOD ? Colour::GREEN : verdict == Verdict::NOTE ? Colour::YELLOW : Colour::RED;
}

bool HasWrong(const Diagnoses& diagnoses) {
    return std::any_of(diagnoses.begin(), diagnoses.end(),
                       [](const Diagnosis& diagnosis) { return diagnosis.verdict == Verdict::WRONG; });
}

Diagnoses ExamineAll() {
    Diagnoses all = ExamineSettings();
    // With the defaults where the library has none: the rest can be right or wrong all the same.
    const auto settings = HasWrong(all) ? DefaultSettings() : LoadSettings();
    for (const Diagnoses& more : {ExamineLines(*settings), ExamineLeds(*settings), ExamineLogs(*settings),
                                  ExamineIdentity(*settings), ExamineLibraries()})
        std::copy(more.begin(), more.end(), std::back_inserter(all));
    return all;
}

std::string Described(const Diagnosis& diagnosis) {
    std::string verdict = NameOf(diagnosis.verdict);
    verdict.resize(5, ' ');
    std::string text =
        In(ColourOf(diagnosis.verdict), verdict) + "  " + diagnosis.subject + ": " + diagnosis.seen + "\n";
    if (!diagnosis.meaning.empty())
        text += "       this means: " + diagnosis.meaning + "\n";
    if (!diagnosis.remedy.empty())
        text += "       what to do: " + diagnosis.remedy + "\n";
    return text;
}

} // namespace

int RunDoctor(const CommandLine& line) {
    const Diagnoses all = ExamineAll();
    Json json = Json::array();
    for (const Diagnosis& diagnosis : all)
        if (line.Has("--json"))
            json.push_back({{"verdict", NameOf(diagnosis.verdict)},
                            {"subject", diagnosis.subject},
                            {"seen", diagnosis.seen},
                            {"meaning", diagnosis.meaning},
                            {"remedy", diagnosis.remedy}});
        else
            Print(Described(diagnosis));
    if (line.Has("--json"))
        PrintJson(json);
    return HasWrong(all) ? EXIT_WRONG : EXIT_GOOD;
}

} // namespace VelrixTools
