// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SyntaxError.h"

#include <algorithm>

#include "tools/check/SettingsText.h"

namespace VelrixTools {

namespace {

using enum Velrix::ParserState;

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

// A value in a message is no longer than this, since the source line shows it.
constexpr std::size_t LONGEST_ADVICE = 60;

std::string Trimmed(std::string_view text) {
    const auto isBlank = [](char c) { return Velrix::WHITESPACE.Contains(static_cast<unsigned char>(c)); };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return std::string(text);
}

std::string Cut(const std::string& text) {
    return text.size() <= LONGEST_ADVICE ? text : text.substr(0, LONGEST_ADVICE) + "...";
}

class Explanation final {
public:
    Explanation(std::string_view ownText, const Stop& ownStop)
        : text(ownText), stop(ownStop), c(stop.offset < text.size() ? text[stop.offset] : '\0'),
          isLineEnd(stop.offset == text.size() || c == '\n' || text.substr(stop.offset, 2) == "\r\n"),
          name(NameOfCharacter(text, stop.offset)) {}

    SyntaxError Explain() const {
        switch (stop.state) {
        case LINE_START:
            return AtLineStart();
        case KEY:
        case AFTER_KEY:
            return AtKey();
        case AFTER_BEGINNING_OF_SECTION:
        case SECTION_NAME:
            return InHeader();
        case AFTER_SECTION:
            return Here("only a comment may follow a section's header; write " + name + " on the next line");
        case AFTER_END_OF_KEY:
            if (isLineEnd || c == '#')
                return NoValue();
            [[fallthrough]];
        case UNQUOTED_VALUE:
            return NeedsTheQuotes(name + " needs quotes");
        case AFTER_VALUE:
            return IsAfterQuotes()
                       ? Here("only a comment may follow the value, not " + name + "; a quote within quotes is \\\"")
                       : NeedsTheQuotes("a value with blanks needs quotes");
        case QUOTED_VALUE:
        case AFTER_ESCAPE:
            return {"unclosed-quote", "this quote is never closed", {stop.value.span.begin, stop.value.span.begin + 1}};
        case COMMENT:
            break; // takes everything
        }
        return Here("unexpected " + name);
    }

private:
    SyntaxError Here(std::string what) const {
        return {"syntax", std::move(what), {stop.offset, stop.offset + CodePointSize(text, stop.offset)}};
    }

    SyntaxError AtLineStart() const {
        if (stop.offset == 0 && text.starts_with(BYTE_ORDER_MARK))
            return Here("the file begins with a byte order mark; save it without one");
        if (c == ';' || text.substr(stop.offset, 2) == "//")
            return Here("a comment begins with \"#\", not with " + name);
        if (c == '=')
            return Here("the key before \"=\" is missing");
        return Here("a line begins with a key, with \"[\" or with \"#\", not with " + name);
    }

    SyntaxError AtKey() const {
        if (isLineEnd || c == '#')
            return NoValue();
        if (c == ':')
            return Here("\"=\" is between a key and its value, not \":\"");
        if (stop.state == AFTER_KEY)
            return Here("\"=\" is missing after the key \"" + Cut(stop.key.text) + "\"");
        return Here("a name has letters, digits and \"_\", not " + name);
    }

    SyntaxError InHeader() const {
        if (isLineEnd || c == '#')
            return {"syntax", "\"]\" is missing", {stop.name.span.begin, stop.offset}};
        if (stop.state == AFTER_BEGINNING_OF_SECTION && c == ']')
            return Here("the section's name is missing");
        if (c == ' ' || c == '\t')
            return Here("no blanks between \"[\" and \"]\"");
        if (stop.state == AFTER_BEGINNING_OF_SECTION)
            return Here("a name begins with a letter or \"_\", not with " + name);
        return Here("a name has letters, digits and \"_\", not " + name);
    }

    // A bare value has no quote in it.
    bool IsAfterQuotes() const {
        std::size_t before = stop.offset - 1;
        while (before > 0 && Velrix::WHITESPACE.Contains(static_cast<unsigned char>(text[before])))
            --before;
        return text[before] == '"';
    }

    SyntaxError NoValue() const {
        const bool isKeyComplete = stop.key.span.end > stop.key.span.begin;
        return {"missing-value", "\"" + Cut(stop.key.text) + "\" has no value; an empty one is \"\"",
                isKeyComplete ? stop.key.span : Span{stop.key.span.begin, stop.offset}};
    }

    SyntaxError NeedsTheQuotes(const std::string& what) const {
        const std::string value = RestOfLine();
        const bool isShown = value.size() <= LONGEST_ADVICE && Printable(value) == value;
        return Here(what + (isShown ? ": " + Cut(KeyOfValue()) + " = " + Quoted(value) : ", as in key = \"value\""));
    }

    // The committed value is no longer in the stop, so both are looked up in the line: the only "=" before a bare value
    // is that of its pair.
    std::string KeyOfValue() const {
        std::string_view line = LineAt(text, stop.offset);
        line = line.substr(0, line.find('='));
        return Trimmed(line);
    }

    std::string RestOfLine() const {
        std::string_view line = LineAt(text, stop.offset);
        line.remove_prefix(std::min(line.find('=') + 1, line.size()));
        std::string value = Trimmed(line.substr(0, line.find('#')));
        if (value.size() > 1 && value.front() == '\'' && value.back() == '\'')
            value = value.substr(1, value.size() - 2);
        return value;
    }

    const std::string_view text;
    const Stop& stop;
    const char c;
    const bool isLineEnd;
    const std::string name;
};

} // namespace

SyntaxError ExplainStop(std::string_view text, const Stop& stop) {
    return Explanation(text, stop).Explain();
}

} // namespace VelrixTools
