// SPDX-License-Identifier: Apache-2.0
// The judge and the library, on generated files.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include <velrix/config/ConfigFile.h>
#include <velrix/settings/SettingsFile.h>

#include "tests/settings/PrivateEtc.h"
#include "tests/support/Share.h"
#include "tools/check/Judge.h"
#include "tools/check/SettingsKeys.h"
#include "tools/check/SettingsScan.h"

using namespace VelrixTools;
using Velrix::Settings::SettingsFile;

namespace {

constexpr int FILES = 30'000;

class Generator final {
public:
    explicit Generator(unsigned seed) : random(seed) {}

    // A third each: good, nearly good, and bytes.
    std::string File() {
        switch (Below(3)) {
        case 0:
            return Good();
        case 1:
            return Mutated(Good());
        default:
            return Bytes();
        }
    }

private:
    std::size_t Below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random); }

    template <std::size_t COUNT>
    std::string OneOf(const char* const (&texts)[COUNT]) {
        return texts[Below(COUNT)];
    }

    std::string Blanks() { return OneOf({"", "", "", " ", "\t", "  "}); }
    std::string LineEnd() {
        return Blanks() + OneOf({"", "", "", "#", "# comment = \"[", "#\r"}) + OneOf({"\n", "\n", "\r\n", "\n\n"});
    }

    std::string Value(const SettingsKey& key) {
        if (key.IsNumber())
            return OneOf({"2000", "8192", "0x44000000", "FFFFFFFF", "ffffffffffffffff", "0", "\"1a\"", "\"\\1\\2\""});
        return OneOf(
            {"/dev/mem", "/x", "a.b-c+d/", "\"\"", "\"/a_b c\"", "\"\\\"\\\\\"", "\"line\nend\"", "\"\xC3\xA4\""});
    }

    // A few keys of a few sections, in order, none twice.
    std::string Good() {
        std::string text = Below(4) == 0 ? LineEnd() : "", section;
        for (const SettingsKey& key : SettingsKeys()) {
            if (Below(12) != 0)
                continue;
            if (key.section != section) {
                section = key.section;
                text += Blanks() + "[" + section + "]" + LineEnd();
            }
            text += Blanks() + key.name + Blanks() + "=" + Blanks() + Value(key) + LineEnd();
        }
        if (Below(4) == 0 && text.ends_with('\n'))
            text.pop_back();
        return text;
    }

    std::string Mutated(std::string text) {
        for (std::size_t count = 1 + Below(3); count > 0; --count) {
            const std::size_t at = Below(text.size() + 1);
            switch (Below(5)) {
            case 0:
                text.insert(at, 1, static_cast<char>(Below(256)));
                break;
            case 1:
                text.erase(at, 1 + Below(4));
                break;
            case 2:
                text.insert(
                    at, OneOf({"=", "\"", "\\", "#", "[", "]", "\n", "_", "G", "[led]\n", "log_dir=/x\n", "x=1\n"}));
                break;
            case 3:
                text += text.substr(at);
                break;
            default:
                text.resize(at);
                break;
            }
        }
        return text;
    }

    std::string Bytes() {
        std::string text;
        for (std::size_t count = Below(40); count > 0; --count)
            text +=
                Below(4) == 0
                    ? std::string(1, static_cast<char>(Below(256)))
                    : OneOf({"a", "_", "1", " ", "\n", "=", "=v", "\"", "\\", "#", "[", "]", "[led]", "\nk=v\n", "\r"});
        return text;
    }

    std::mt19937 random;
};

// The message of what the library throws; empty: it takes the file.
std::string AskLibrary() {
    try {
        SettingsFile::Create();
        return "";
    } catch (const System::Exception& exception) {
        return exception.ToString()->ToUtf8();
    }
}

std::string Units(const System::string_ptr& text) {
    std::string bytes;
    for (const char16_t unit : text->View())
        bytes += static_cast<char>(unit);
    return bytes;
}

std::string ReadByLibrary() {
    std::string shown;
    const auto sections = Velrix::ConfigFile::ReadAll("/etc/velrix.conf");
    for (const auto& section : *sections) {
        shown += "[" + Units(section.Key) + "]";
        for (const auto& pair : *section.Value)
            shown += Units(pair.Key) + "=" + Units(pair.Value) + ";";
    }
    return shown;
}

std::string ReadByJudge(const std::string& text) {
    std::string shown;
    for (const ScannedSection& section : ScanSettings(text).sections) {
        shown += "[" + section.name.text + "]";
        for (const ScannedPair& pair : section.pairs)
            shown += pair.key.text + "=" + pair.value.text + ";";
    }
    return shown;
}

// The offset of the character, or of the end of one of the lines; npos: it is outside of the file.
std::size_t OffsetOf(const std::string& text, const Location& location) {
    std::size_t offset = 0;
    for (std::size_t line = 1; line < location.line; ++line) {
        offset = text.find('\n', offset) + 1;
        if (offset == 0)
            return std::string::npos;
    }
    const std::size_t end = std::min(text.find('\n', offset), text.size());
    for (std::size_t column = 1; column < location.column; ++column) {
        if (offset >= end)
            return std::string::npos;
        offset += CodePointSize(text, offset);
    }
    return offset < text.size() ? offset : std::string::npos;
}

// Where the library stops at an unexpected character: "... at LINE:COLUMN when ...", lines from 0, columns in bytes
// from
// 1. npos: it does not, or at a line end, which it counts to the next line.
std::size_t OffsetOfUnexpected(const std::string& text, const std::string& message) {
    const std::size_t at = message.find("' at ");
    if (at == std::string::npos || message[at - 1] == '\n')
        return std::string::npos;
    const std::size_t line = std::stoul(message.substr(at + 5));
    std::size_t offset = std::stoul(message.substr(message.find(':', at) + 1)) - 1;
    for (std::size_t i = 0, begin = 0; i < line; ++i) {
        begin = text.find('\n', begin) + 1;
        offset += i + 1 == line ? begin : 0;
    }
    return offset;
}

// At the character itself, or at the name that it leaves incomplete.
bool HasErrorFor(const std::vector<Finding>& findings, const std::string& text, std::size_t offset) {
    for (const Finding& finding : findings) {
        const std::size_t begin = OffsetOf(text, finding.location);
        const bool isOfName = finding.rule == "missing-value" || finding.text == "\"]\" is missing";
        const bool isInLine = begin <= offset && text.find('\n', begin) >= offset;
        if (finding.severity == Severity::ERROR && (isOfName ? isInLine : begin == offset))
            return true;
    }
    return false;
}

testing::AssertionResult Agree(const std::string& text, bool& isTaken) {
    const std::string refusal = AskLibrary();
    const std::vector<Finding> findings = JudgeSettings(text);
    isTaken = refusal.empty();
    if (HasErrors(findings) == isTaken)
        return testing::AssertionFailure() << testing::PrintToString(text) << "\nlibrary: " << refusal
                                           << "\njudge: " << (findings.empty() ? "good" : findings.front().text);
    for (const Finding& finding : findings)
        if (OffsetOf(text, finding.location) == std::string::npos)
            return testing::AssertionFailure() << testing::PrintToString(text) << "\noutside of it: " << finding.text;
    const std::size_t offset = OffsetOfUnexpected(text, refusal);
    if (offset != std::string::npos && !HasErrorFor(findings, text, offset))
        return testing::AssertionFailure() << testing::PrintToString(text) << "\nnothing at the place of: " << refusal;
    if (isTaken && ReadByJudge(text) != ReadByLibrary())
        return testing::AssertionFailure() << testing::PrintToString(text) << "\nread as " << ReadByJudge(text);
    return testing::AssertionSuccess();
}

class JudgeAgreement : public testing::TestWithParam<unsigned> {};

} // namespace

// Four times 30,000 files.
TEST_P(JudgeAgreement, RefusesWhatTheLibraryRefusesAndSaysWhere) {
    Generator generator(GetParam());
    TestSupport::PrivateEtc etc;
    int taken = 0;
    const int files = FILES / TestSupport::Share();

    for (int i = 0; i < files; ++i) {
        const std::string text = generator.File();
        bool isTaken = false;
        etc.Write(text);
        ASSERT_TRUE(Agree(text, isTaken)) << "file " << i;
        taken += isTaken ? 1 : 0;
    }

    EXPECT_GT(taken, files / 4);
    EXPECT_LT(taken, files * 3 / 4);
}

INSTANTIATE_TEST_SUITE_P(Seeds, JudgeAgreement, testing::Values(1U, 2U, 3U, 4U));
