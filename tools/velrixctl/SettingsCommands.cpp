// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/check/ReadSettings.h"
#include "tools/check/SettingsScan.h"
#include "tools/check/SettingsText.h"
#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/Json.h"

namespace VelrixTools {

namespace {

using Velrix::Settings::SettingsFile;

// The column of the comments.
constexpr std::size_t COMMENT_COLUMN = 66;

struct EffectiveValue {
    const SettingsKey* key;
    std::optional<std::string> value; // none: a memory window without a path
    std::size_t line = 0;             // in the file; 0: not there
    bool isDefault = false;
};

using LineNumbers = std::map<std::pair<std::string, std::string>, std::size_t>;

// The lines of the file's keys, and those of its sections by an empty key. None without a file, as in the library.
LineNumbers LinesOfFile() {
    LineNumbers lines;
    std::string text;
    try {
        text = ReadSettings(SETTINGS_FILE);
    } catch (const UnreadableSettings& error) {
        Complain("cannot read " + std::string(SETTINGS_FILE) + ": " + error.what() + "; the library uses the defaults");
        return lines;
    }
    for (const ScannedSection& section : ScanSettings(text).sections) {
        if (!section.name.text.empty())
            lines[{section.name.text, ""}] = LocationOf(text, section.name.span).line;
        for (const ScannedPair& pair : section.pairs)
            lines[{section.name.text, pair.key.text}] = LocationOf(text, pair.key.span).line;
    }
    return lines;
}

std::optional<std::string> Optional(const System::string_ptr& text) {
    return text ? std::optional(text->ToUtf8()) : std::nullopt;
}

std::vector<EffectiveValue> EffectiveValues() {
    const auto settings = LoadSettings(), defaults = DefaultSettings();
    const LineNumbers lines = LinesOfFile();
    std::vector<EffectiveValue> values;
    for (const SettingsKey& key : SettingsKeys()) {
        EffectiveValue value{&key, Optional(key.value(*settings))};
        value.isDefault = value.value == Optional(key.value(*defaults));
        // A window in the file has no defaults: a key that is not there has its value from the header.
        for (const char* name : {"", key.name})
            if (const auto found = lines.find({key.section, name});
                found != lines.end() && (*name != '\0' || !value.isDefault))
                value.line = found->second;
        values.push_back(std::move(value));
    }
    return values;
}

std::string SourceOf(const EffectiveValue& value) {
    return value.line == 0 ? "default" : std::string(SETTINGS_FILE) + ":" + std::to_string(value.line);
}

std::string Pair(const SettingsKey& key, const std::string& value) {
    return std::string(key.name) + " = " + Quoted(value);
}

std::string Commented(std::string text, const std::string& comment) {
    if (text.size() < COMMENT_COLUMN)
        text.append(COMMENT_COLUMN - text.size(), ' ');
    return text + " " + In(Colour::GREY, "# " + comment) + "\n";
}

// A header before the first key of each section.
class SectionHeaders final {
public:
    std::string Before(const SettingsKey& key) {
        if (key.section == last)
            return "";
        last = key.section;
        return "\n" + In(Colour::BOLD, "[" + last + "]") + "\n";
    }

private:
    std::string last;
};

void PrintValues(const std::vector<EffectiveValue>& values) {
    SectionHeaders headers;
    for (const EffectiveValue& value : values)
        Print(headers.Before(*value.key) +
              (value.value ? Commented(Pair(*value.key, *value.value), SourceOf(value))
                           : "# " + std::string(value.key->name) + " is missing: " + SourceOf(value) + "\n"));
}

void PrintDefaults() {
    const auto defaults = DefaultSettings();
    SectionHeaders headers;
    Print("# Every setting with its default. A file needs only what differs.\n");
    for (const SettingsKey& key : SettingsKeys())
        Print(headers.Before(key) + Commented(Pair(key, ValueOf(key, *defaults)), key.meaning));
}

Json ValuesAsJson(const std::vector<EffectiveValue>& values) {
    Json all = Json::array();
    for (const EffectiveValue& value : values) {
        Json row = {{"section", value.key->section},
                    {"key", value.key->name},
                    {"value", value.value ? Json(*value.value) : Json()},
                    {"isDefault", value.isDefault},
                    {"source", value.line == 0 ? "default" : "file"}};
        if (value.line != 0) {
            row["file"] = SETTINGS_FILE;
            row["line"] = value.line;
        }
        all.push_back(std::move(row));
    }
    return all;
}

Json Explanation(const SettingsKey& key, const SettingsFile& defaults) {
    return {{"section", key.section},
            {"key", key.name},
            {"meaning", key.meaning},
            {"form", FormOf(key.kind)},
            {"label", key.label},
            {"default", ValueOf(key, defaults)},
            {"example", Pair(key, ValueOf(key, defaults))}};
}

std::string Explained(const SettingsKey& key, const SettingsFile& defaults) {
    const std::string value = ValueOf(key, defaults);
    std::string text =
        In(Colour::BOLD, std::string(*key.section == '\0' ? "" : "[" + std::string(key.section) + "] ") + key.name) +
        "\n";
    text += "    " + std::string(key.meaning) + "\n";
    if (*key.label != '\0')
        text += "    label    " + std::string(key.label) +
                (*key.element == '\0' ? "" : std::string(" ") + key.element) + "\n";
    text += "    takes    " + std::string(FormOf(key.kind)) + "\n";
    text += "    default  " + value +
            (key.IsNumber() ? " (" + std::to_string(std::stoul(value, nullptr, 16)) + " in decimal)" : "") + "\n";
    return text + "    example  " + Pair(key, value) + "\n";
}

// The keys of a section, those of a name, or the one that both name.
std::vector<const SettingsKey*> KeysNamed(const std::string& name, const std::string& keyName) {
    std::vector<const SettingsKey*> keys;
    for (const SettingsKey& key : SettingsKeys()) {
        const bool isNamed = name.empty() || (!name.empty() && key.section == name) || key.name == name;
        if (keyName.empty() ? isNamed : key.section == name && key.name == keyName)
            keys.push_back(&key);
    }
    return keys;
}

} // namespace

int RunSettings(const CommandLine& line) {
    if (line.Has("--defaults")) {
        if (line.Has("--diff") || line.Has("--json"))
            throw CommandError("--defaults prints a settings file and excludes --diff and --json");
        PrintDefaults();
        return EXIT_GOOD;
    }
    std::vector<EffectiveValue> values = EffectiveValues();
    if (line.Has("--diff"))
        std::erase_if(values, [](const EffectiveValue& value) { return value.isDefault; });
    if (line.Has("--json"))
        PrintJson(ValuesAsJson(values));
    else if (values.empty())
        Print("# Every setting has its default.\n");
    else
        PrintValues(values);
    return EXIT_GOOD;
}

int RunExplain(const CommandLine& line) {
    const std::string name = line.Value("NAME"), keyName = line.Value("KEY");
    const std::vector<const SettingsKey*> keys = KeysNamed(name, keyName);
    if (keys.empty())
        throw CommandError("there is no key \"" + keyName + "\" in [" + name + "]; \"velrixctl explain " + name +
                           "\" shows its keys");
    const auto defaults = DefaultSettings();
    Json all = Json::array();
    for (const SettingsKey* key : keys)
        if (line.Has("--json"))
            all.push_back(Explanation(*key, *defaults));
        else
            Print((key == keys.front() ? "" : "\n") + Explained(*key, *defaults));
    if (line.Has("--json"))
        PrintJson(all);
    return EXIT_GOOD;
}

} // namespace VelrixTools
