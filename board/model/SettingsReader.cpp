// SPDX-License-Identifier: Apache-2.0
#include "board/model/SettingsReader.h"

#include <cstdio>

#include <System/Exceptions.h>
#include <velrix/config/ConfigFile.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

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
    try {
        if (settings)
            ApplySettings(*settings, model);
    } catch (const BoardError& error) {
        std::fprintf(stderr, "%s: %s; the board keeps its usual wiring\n", command, error.what());
    }
    for (const auto& [label, level] : levels)
        model.SetInitialLevel(label, level);
    return model;
}

} // namespace VelrixBoard
