// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Dictionary.h>
#include <System/IO/FileStream.h>
#include <System/Object.h>
#include <System/String.h>
#include <System/Text/StringBuilder.h>

namespace Velrix {

// The state machine behind ConfigFile::ReadAll; one for each file read. What runs once a file or a section is cold,
// which makes its code small.
class ConfigParser final : public System::Object {
public:
    using Section = System::Collections::Generic::Dictionary<System::string_ptr, System::string_ptr>;
    using Sections = System::Collections::Generic::Dictionary<System::string_ptr, std::shared_ptr<Section>>;

    enum class Action : unsigned char;
    enum class State : unsigned char {
        COMMENT,
        KEY,
        AFTER_KEY,
        LINE_START,
        SECTION_NAME,
        AFTER_BEGINNING_OF_SECTION,
        AFTER_SECTION,
        UNQUOTED_VALUE,
        AFTER_END_OF_KEY,
        AFTER_VALUE,
        QUOTED_VALUE,
        AFTER_ESCAPE
    };

    static std::shared_ptr<ConfigParser> Create();
    [[gnu::cold]] ~ConfigParser() override;

    // Reads the file from its beginning, whatever was read before. Failures as ConfigFile::ReadAll has them.
    [[gnu::cold]] std::shared_ptr<Sections> Parse(System::string_ptr ownPath);

private:
    using Builder = std::shared_ptr<System::Text::StringBuilder>;

    ConfigParser() = default;

    void ReadPairs(System::IO::FileStream& stream);
    [[gnu::cold]] void AddSection(const System::string_ptr& name);
    void CommitPair();
    [[gnu::cold]] void CloseHeader();

    int column = 0; // of the last character read; the first of a line is 1, a newline itself 0
    Builder key;
    std::shared_ptr<Section> currentSection;
    System::string_ptr path;
    int line = 0; // newlines read so far, so the first line is 0
    Builder sectionName;
    std::shared_ptr<Sections> result;
    Builder value;
};

} // namespace Velrix
