// SPDX-License-Identifier: Apache-2.0
#include "board/model/SettingsReader.h"

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

} // namespace VelrixBoard
