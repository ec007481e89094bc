// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/DeviceSettings.h"

#include <System/Exceptions.h>

#include <cstdio>

#include "tools/check/Judge.h"
#include "tools/check/ReadSettings.h"
#include "tools/velrixctl/Console.h"

namespace VelrixTools {

namespace {

template <class Wanted>
std::vector<const SettingsKey*> KeysOf(const Wanted& wanted) {
    std::vector<const SettingsKey*> keys;
    for (const SettingsKey& key : SettingsKeys())
        if (wanted(key.kind))
            keys.push_back(&key);
    return keys;
}

} // namespace

std::shared_ptr<Velrix::Settings::SettingsFile> LoadSettings() {
    try {
        return Velrix::Settings::SettingsFile::INSTANCE.Value();
    } catch (const System::Exception& refusal) {
        std::string findings;
        for (const Finding& finding : JudgeSettings(ReadSettings(SETTINGS_FILE)))
            findings += Describe(SETTINGS_FILE, finding, HasErrorColours());
        std::fputs(findings.c_str(), stderr);
        throw CommandError("the library refuses " + std::string(SETTINGS_FILE), EXIT_WRONG);
    }
}

std::string ValueOf(const SettingsKey& key, const Velrix::Settings::SettingsFile& settings) {
    const System::string_ptr value = key.value(settings);
    return value ? value->ToUtf8() : "";
}

std::vector<const SettingsKey*> Lines() {
    return KeysOf([](KeyKind kind) { return kind == KeyKind::INPUT || kind == KeyKind::OUTPUT; });
}

std::vector<const SettingsKey*> LedElements() {
    return KeysOf([](KeyKind kind) { return kind == KeyKind::LED; });
}

const SettingsKey* FindLine(const std::string& label) {
    for (const SettingsKey* line : Lines())
        if (line->label == label)
            return line;
    return nullptr;
}

} // namespace VelrixTools
