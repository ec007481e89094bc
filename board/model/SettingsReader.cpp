// SPDX-License-Identifier: Apache-2.0
#include "board/model/SettingsReader.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

#include <System/Exceptions.h>
#include <velrix/config/ConfigFile.h>

#include "board/base/BoardError.h"
#include "tools/check/Judge.h"
#include "tools/check/ReadSettings.h"

namespace VelrixBoard {

namespace {

bool MayColourErrors() {
    const char* const forbidden = std::getenv("NO_COLOR");
    return ::isatty(STDERR_FILENO) == 1 && (forbidden == nullptr || *forbidden == '\0');
}

// Prints what is wrong in the file, where and why. Returns whether the libraries refuse it.
bool ReportFindings(const std::filesystem::path& file) {
    try {
        const auto findings = VelrixTools::JudgeSettings(VelrixTools::ReadSettings(file.string()));
        for (const VelrixTools::Finding& finding : findings)
            std::fputs(VelrixTools::Describe(file.string(), finding, MayColourErrors()).c_str(), stderr);
        return VelrixTools::HasErrors(findings);
    } catch (const VelrixTools::UnreadableSettings&) {
        return false; // reading it for the wiring says why
    }
}

} // namespace

void ApplySettings(const std::filesystem::path& file, BoardModel& model) {
    try {
        const auto sections = Velrix::ConfigFile::ReadAll(file.string());
        for (const auto& section : *sections)
            for (const auto& pair : *section.Value)
                model.Apply(section.Key->ToUtf8(), pair.Key->ToUtf8(), pair.Value->ToUtf8());
    } catch (const System::Exception& exception) {
        throw BoardError(exception.what());
    }
}

BoardModel MakeModel(const char* command, const std::optional<std::filesystem::path>& settings,
                     const std::map<std::string, bool>& levels) {
    BoardModel model;
    if (settings) {
        const bool isRefused = ReportFindings(*settings);
        const std::string refusal =
            "the libraries refuse " + settings->string() + ", and the program runs all the same";
        try {
            ApplySettings(*settings, model);
            if (isRefused)
                std::fprintf(stderr, "%s: %s\n", command, refusal.c_str());
        } catch (const BoardError& error) {
            std::fprintf(stderr, "%s: %s; the board keeps its usual wiring\n", command,
                         isRefused ? refusal.c_str() : error.what());
        }
    }
    for (const auto& [label, level] : levels)
        model.SetInitialLevel(label, level);
    return model;
}

} // namespace VelrixBoard
