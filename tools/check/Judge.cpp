// SPDX-License-Identifier: Apache-2.0
#include "tools/check/Judge.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include <sys/stat.h>

#include <System/Collections/Generic/Dictionary.h>
#include <System/Convert.h>

#include <velrix/settings/SettingsFile.h>

#include "tools/check/SettingsKeys.h"
#include "tools/check/SettingsScan.h"
#include "tools/check/Similar.h"
#include "tools/check/SyntaxError.h"

namespace VelrixTools {

namespace {

using System::string_ptr;
using System::Collections::Generic::Dictionary;
using Velrix::Settings::SettingsFile;

// A page of memory would be the better sign, but windows are smaller.
constexpr unsigned long long WINDOW_UNIT = 256;

std::string InQuotes(const std::string& text) {
    constexpr std::size_t LONGEST = 60;
    return "\"" + Printable(text.size() > LONGEST ? text.substr(0, LONGEST) + "..." : text) + "\"";
}

// The library does not decode the file: a byte is a code unit.
string_ptr Units(const std::string& bytes) {
    std::u16string units;
    for (const char c : bytes)
        units += static_cast<unsigned char>(c);
    return std::u16string_view(units);
}

bool IsDecimal(const std::string& text) {
    return !text.empty() && text.size() <= 18 &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

bool Exists(const std::string& path) {
    struct stat status {};
    return path.find('\0') == std::string::npos && ::stat(path.c_str(), &status) == 0;
}

std::vector<std::string> NamesIn(const std::string& section) {
    std::vector<std::string> names;
    for (const SettingsKey& key : SettingsKeys())
        if (key.section == section)
            names.emplace_back(key.name);
    return names;
}

class Judge final {
public:
    Judge(std::string_view ownText, const JudgeOptions& ownOptions) : text(ownText), options(ownOptions) {}

    std::vector<Finding> Run() {
        const ScannedFile file = ScanSettings(text);
        for (const ScannedSection& section : file.sections)
            JudgeSection(section);
        if (file.stop) {
            const SyntaxError error = ExplainStop(text, *file.stop);
            Add(Severity::ERROR, error.rule, error.text, error.span);
        }
        std::stable_sort(findings.begin(), findings.end(), [](const Finding& left, const Finding& right) {
            return std::pair(left.location.line, left.location.column) <
                   std::pair(right.location.line, right.location.column);
        });
        return std::move(findings);
    }

private:
    using Pairs = Dictionary<string_ptr, string_ptr>;

    void Add(Severity severity, std::string rule, std::string what, Span span) {
        // Room for the last error, which decides.
        if (findings.size() < MOST_FINDINGS || (severity == Severity::ERROR && !HasErrors(findings)))
            findings.push_back({severity, std::move(rule), std::move(what), LocationOf(text, span),
                                std::string(LineAt(text, span.begin))});
    }

    void JudgeSection(const ScannedSection& section) {
        const std::string& name = section.name.text;
        const auto [first, isNew] = sectionSpans.try_emplace(name, section.name.span);
        if (!isNew)
            Add(Severity::ERROR, "duplicate-section",
                NameOfSection(name) + " is here twice, first in line " + LineOf(first->second), section.name.span);
        if (!handlers.ContainsKey(Units(name))) {
            Add(Severity::ERROR, "unknown-section", UnknownSection(name), section.name.span);
            return;
        }
        std::map<std::string, Span> keySpans;
        for (const ScannedPair& pair : section.pairs) {
            const auto [before, isFirst] = keySpans.try_emplace(pair.key.text, pair.key.span);
            if (!isFirst)
                Add(Severity::ERROR, "duplicate-key",
                    InQuotes(pair.key.text) + " has a value already, in line " + LineOf(before->second), pair.key.span);
            JudgePair(name, pair);
        }
        if (!name.empty() && isNew)
            WarnOfAnIncompleteWindow(section, keySpans);
    }

    // Lets the library handle the pair, alone in its section.
    void JudgePair(const std::string& section, const ScannedPair& pair) {
        const auto pairs = Pairs::Create();
        pairs->Add(Units(pair.key.text), Units(pair.value.text));
        try {
            handlers[Units(section)]->Invoke(settings, pairs);
        } catch (const System::Collections::Generic::KeyNotFoundException&) {
            Add(Severity::ERROR, "unknown-key", UnknownKey(section, pair.key.text), pair.key.span);
            return;
        } catch (const System::FormatException&) {
            Add(Severity::ERROR, "bad-number", WrongNumber(section, pair), WrongDigit(pair.value));
            return;
        } catch (const System::OverflowException&) {
            Add(Severity::ERROR, "bad-number", InQuotes(pair.value.text) + " does not fit into 64 bits",
                pair.value.span);
            return;
        }
        if (const SettingsKey* key = FindKey(section, pair.key.text))
            WarnOf(*key, pair.value);
    }

    void WarnOf(const SettingsKey& key, const Word& value) {
        if (key.IsNumber())
            WarnOfNumber(key, value);
        else if (options.paths)
            WarnOfPath(key, value);
    }

    void WarnOfNumber(const SettingsKey& key, const Word& value) {
        const long long number = System::Convert::ToInt64(Units(value.text), 16);
        if (number < 0 || number > std::numeric_limits<std::int32_t>::max()) {
            Add(Severity::WARNING, "number-too-large",
                InQuotes(value.text) + " has more than 31 bits; the library stores " +
                    std::to_string(static_cast<std::int32_t>(number)),
                value.span);
            return;
        }
        // Sizes of memory are round numbers: round as a decimal and odd as a hexadecimal one is a decimal one.
        if (key.kind != KeyKind::LENGTH || !IsDecimal(value.text))
            return;
        const unsigned long long decimal = std::stoull(value.text);
        if (decimal == 0 || decimal % WINDOW_UNIT != 0 || static_cast<unsigned long long>(number) % WINDOW_UNIT == 0)
            return;
        Add(Severity::WARNING, "number-looks-decimal",
            InQuotes(value.text) + " is hexadecimal, " + std::to_string(number) + " bytes; " + std::to_string(decimal) +
                " bytes are " + System::Convert::ToString(decimal, 16)->ToUtf8(),
            value.span);
    }

    void WarnOfPath(const SettingsKey& key, const Word& value) {
        if (value.text.empty())
            Add(Severity::WARNING, "missing-path", "the path is empty; this is " + std::string(FormOf(key.kind)),
                value.span);
        else if (!Exists(value.text) && (key.kind != KeyKind::LOG_FILE || !Exists(FolderOf(value.text))))
            Add(Severity::WARNING, "missing-path",
                InQuotes(value.text) + " does not exist; this is " + FormOf(key.kind), value.span);
    }

    // The log file is made when it is missing, its folder is not.
    static std::string FolderOf(const std::string& path) {
        const std::size_t slash = path.rfind('/');
        return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    }

    void WarnOfAnIncompleteWindow(const ScannedSection& section, const std::map<std::string, Span>& given) {
        std::string missing;
        bool isWindow = false;
        for (const SettingsKey& key : SettingsKeys()) {
            if (key.section != section.name.text)
                continue;
            isWindow = isWindow || key.IsNumber();
            if (!given.contains(key.name))
                missing += (missing.empty() ? "\"" : " and \"") + std::string(key.name) + "\"";
        }
        if (isWindow && !missing.empty())
            Add(Severity::WARNING, "incomplete-window",
                NameOfSection(section.name.text) + " has no " + missing +
                    "; it has no defaults when it is in the file, so give all three keys",
                section.name.span);
    }

    std::string UnknownSection(const std::string& name) const {
        std::vector<std::string> names;
        for (const auto& row : handlers)
            if (row.Key->Length() > 0)
                names.push_back(row.Key->ToUtf8());
        const std::string similar = FindSimilar(name, names);
        return "there is no section " + InQuotes(name) + (similar.empty() ? "" : "; did you mean \"" + similar + "\"?");
    }

    static std::string UnknownKey(const std::string& section, const std::string& name) {
        const std::string what = section.empty() ? "there is no key " + InQuotes(name) + " before the first header"
                                                 : "there is no key " + InQuotes(name) + " in [" + section + "]";
        const std::string similar = FindSimilar(name, NamesIn(section));
        if (!similar.empty())
            return what + "; did you mean \"" + similar + "\"?";
        std::string elsewhere;
        for (const SettingsKey& key : SettingsKeys())
            if (key.name == name)
                elsewhere += (elsewhere.empty() ? "; it belongs to " : " or ") + NameOfSection(key.section);
        return what + elsewhere;
    }

    static std::string WrongNumber(const std::string& section, const ScannedPair& pair) {
        const SettingsKey* key = FindKey(section, pair.key.text);
        return InQuotes(pair.value.text) + " is not " + (key ? FormOf(key->kind) : "a hexadecimal number");
    }

    // The first character that is no hexadecimal digit. A value with escapes is marked as a whole.
    static Span WrongDigit(const Word& value) {
        const std::size_t written = value.span.end - value.span.begin, quotes = written - value.text.size();
        const std::size_t prefix = value.text.starts_with("0x") || value.text.starts_with("0X") ? 2 : 0;
        const auto wrong = std::find_if_not(value.text.begin() + static_cast<std::ptrdiff_t>(prefix), value.text.end(),
                                            [](unsigned char c) { return std::isxdigit(c); });
        if (wrong == value.text.end() || (quotes != 0 && quotes != 2))
            return value.span;
        const std::size_t at = value.span.begin + quotes / 2 + static_cast<std::size_t>(wrong - value.text.begin());
        return {at, at + 1};
    }

    std::string LineOf(Span span) const { return std::to_string(LocationOf(text, span).line); }

    const std::string_view text;
    const JudgeOptions& options;
    const std::shared_ptr<SettingsFile> settings = DefaultSettings();
    decltype(*SettingsFile::SECTION_HANDLERS.Value()) handlers = *SettingsFile::SECTION_HANDLERS.Value();
    std::map<std::string, Span> sectionSpans;
    std::vector<Finding> findings;
};

} // namespace

std::vector<Finding> JudgeSettings(std::string_view text, const JudgeOptions& options) {
    return Judge(text, options).Run();
}

bool HasErrors(const std::vector<Finding>& findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.severity == Severity::ERROR; });
}

} // namespace VelrixTools
