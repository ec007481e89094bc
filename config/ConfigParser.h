// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <System/Collections/Generic/Dictionary.h>
#include <System/Detail/TextMaker.h>
#include <System/Object.h>
#include <System/String.h>

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
    // A text of the file: a part of the block that was read or, with an escape in it or the end of a block, a copy.
    class Piece final {
    public:
        std::string_view View() const { return view; }
        void Append(const unsigned char* begin, const unsigned char* end) {
            const std::string_view more(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
            if (view.empty())
                view = more;
            else
                Append(more);
        }
        // Copies what is in the block, which is about to go.
        void Keep();
        void Clear() { view = {}; }

    private:
        void Append(std::string_view more);

        std::string_view view;
        std::string kept;
    };

    ConfigParser() = default;

    void TakeBlock(const unsigned char* block, int count);
    [[gnu::cold]] void TakeEnd();
    void Do(Action action);
    [[gnu::cold]] void AddSection(const System::string_ptr& name);

    std::shared_ptr<Section> currentSection;
    Piece key;
    int line = 0;     // newlines read so far, so the first line is 0
    int newline = -1; // where in the block the last one is or would be; columns count from there
    System::string_ptr path;
    std::shared_ptr<Sections> result;
    Piece sectionName;
    State state = State::LINE_START;
    System::Detail::TextMaker texts;
    Piece value;
};

} // namespace Velrix
