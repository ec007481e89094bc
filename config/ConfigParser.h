// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <System/Collections/Generic/Dictionary.h>
#include <System/Detail/TextMaker.h>
#include <System/Object.h>
#include <System/String.h>

#include "config/Grammar.h"

namespace Velrix {

// The state machine behind ConfigFile::ReadAll; one per file read. Functions that run once per file or section are
// cold, to keep their code small.
class ConfigParser final : public System::Object {
public:
    using Section = System::Collections::Generic::Dictionary<System::string_ptr, System::string_ptr>;
    using Sections = System::Collections::Generic::Dictionary<System::string_ptr, std::shared_ptr<Section>>;

    static std::shared_ptr<ConfigParser> Create();
    [[gnu::cold]] ~ConfigParser() override;

    // Always reads the file from its beginning. Failures are those of ConfigFile::ReadAll.
    [[gnu::cold]] std::shared_ptr<Sections> Parse(System::string_ptr ownPath);

private:
    // A text of the file: a view into the block or, if it has an escape or crosses the block's end, a copy.
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
        // Copies the part in the block, which the next read overwrites.
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
    void Do(ParserAction action);
    [[gnu::cold]] void AddSection(const System::string_ptr& name);

    std::shared_ptr<Section> currentSection;
    Piece key;
    int line = 0;     // newlines read so far, so the first line is 0
    int newline = -1; // offset of the last newline in the block, possibly negative; columns count from there
    System::string_ptr path;
    std::shared_ptr<Sections> result;
    Piece sectionName;
    ParserState state = ParserState::LINE_START;
    System::Detail::TextMaker texts;
    Piece value;
};

} // namespace Velrix
