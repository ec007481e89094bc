// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <System/Export.h>
#include <System/Object.h>

namespace System {

namespace Collections::Generic {
template <class T>
class Array;
template <class T>
class IArray;
} // namespace Collections::Generic

namespace Text {
class StringBuilder;
}

class String;
class TextBlock;

// The shared handle of an immutable UTF-16 text; the type of every text in the interfaces.
//
// A value: copying shares the text, comparing compares the contents. The null handle is no text at all and differs from
// the empty text. Text made from bytes is read as UTF-8, each maximal ill-formed part becoming one U+FFFD. Any number
// of threads may read one text through handles of their own; a single handle is as thread-safe as a std::shared_ptr.
//
//     string_ptr path = directory + "/value";
//     if (path->StartsWith("/sys")) ...
class SYSTEM_EXPORT string_ptr final {
public:
    string_ptr() noexcept = default;
    string_ptr(std::nullptr_t) noexcept {}

    // From UTF-8. A null pointer makes the null handle. A text of more than INT_MAX code units:
    // ArgumentOutOfRangeException.
    string_ptr(const char* utf8);
    string_ptr(std::string_view utf8);
    string_ptr(const std::string& utf8);

    // From UTF-16 code units, taken as they are, unpaired surrogates included. A null pointer makes the null handle.
    string_ptr(const char16_t* units);
    string_ptr(std::u16string_view units);

    // The text; on the null handle NullReferenceException.
    String* operator->() const {
        if (!text)
            RaiseNullReference();
        return text.get();
    }
    String& operator*() const { return *operator->(); }

    explicit operator bool() const noexcept { return text != nullptr; }

    // The text as an object, so that it can be trace data or be appended to a builder; null stays null.
    operator std::shared_ptr<Object>() const noexcept;

    // By content, case matters; null is equal to null alone.
    friend bool operator==(const string_ptr& left, const string_ptr& right) noexcept {
        return left.text == right.text || (left.text && right.text && SameUnits(*left.text, *right.text));
    }
    friend bool operator!=(const string_ptr& left, const string_ptr& right) noexcept { return !(left == right); }
    friend bool operator==(const string_ptr& left, std::nullptr_t) noexcept { return !left.text; }
    friend bool operator!=(const string_ptr& left, std::nullptr_t) noexcept { return !!left.text; }
    friend bool operator==(std::nullptr_t, const string_ptr& right) noexcept { return !right.text; }
    friend bool operator!=(std::nullptr_t, const string_ptr& right) noexcept { return !!right.text; }

    // The two texts one after the other; null counts as empty.
    friend SYSTEM_EXPORT string_ptr operator+(const string_ptr& left, const string_ptr& right);

private:
    friend class String;
    explicit string_ptr(std::shared_ptr<String> owner) noexcept : text(std::move(owner)) {}

    [[noreturn]] static void RaiseNullReference();
    static bool SameUnits(const String& left, const String& right) noexcept;

    std::shared_ptr<String> text;
};

SYSTEM_EXPORT string_ptr operator+(const string_ptr& left, const string_ptr& right);

// An immutable text of UTF-16 code units; always reached through a string_ptr.
//
// Lengths and indices count code units, not characters: a character outside of the basic plane takes two. A text needs
// one allocation, its hash is computed at most once, and all empty texts share one object. Any thread may use a text at
// any time.
class SYSTEM_EXPORT String final : public Object {
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    // The empty text.
    static const string_ptr EMPTY;

    // count times the code unit c. A negative count: ArgumentOutOfRangeException.
    static string_ptr FromChars(unsigned short c, int count);

    // length code units of chars from index on. A null array: ArgumentNullException; a range that does not lie within
    // the array: ArgumentOutOfRangeException.
    static string_ptr FromArray(std::shared_ptr<Collections::Generic::IArray<unsigned short>> chars, int index,
                                int length);

    // For this library alone: only it can name the first argument's type.
    String(Passkey, const char16_t* ownUnits, int unitCount) noexcept : units(ownUnits), length(unitCount) {}
    ~String() override;

    // The number of code units.
    int Length() const noexcept { return length; }

    // The code unit at index, 0 to Length() - 1; elsewhere ArgumentOutOfRangeException.
    char16_t operator[](int index) const;

    // Whether the text begins with prefix, code unit by code unit; every text begins with the empty one. A null prefix:
    // ArgumentNullException.
    bool StartsWith(string_ptr prefix) const;

    // The part of length code units from index on. A range that does not lie within the text:
    // ArgumentOutOfRangeException.
    string_ptr Substring(int index, int partLength) const;

    // The parts between all occurrences of the whole separator, empty parts included; without an occurrence one part,
    // the text itself. An empty separator: ArgumentException; a null one: ArgumentNullException.
    std::shared_ptr<Collections::Generic::Array<string_ptr>> Split(string_ptr separator) const;

    // A new array of the code units.
    std::shared_ptr<Collections::Generic::Array<unsigned short>> ToCharArray() const;

    // The code units in place; valid as long as the text is.
    std::u16string_view View() const noexcept { return {units, static_cast<std::size_t>(length)}; }

    // The text in UTF-8; an unpaired surrogate becomes U+FFFD.
    std::string ToUtf8() const;

    // By content, as operator== of string_ptr.
    bool Equals(const std::shared_ptr<Object>& other) override;
    int GetHashCode() override;
    // The text itself.
    string_ptr ToString() override;

private:
    friend class string_ptr;
    friend class Text::StringBuilder;
    friend struct std::hash<string_ptr>;
    friend SYSTEM_EXPORT string_ptr operator+(const string_ptr& left, const string_ptr& right);

    static string_ptr FromUnits(std::u16string_view source);
    // The same within block, null at first, which is replaced when it is full.
    static string_ptr FromUnits(std::u16string_view source, TextBlock*& block);
    // Room for unitCount code units that the caller fills before anyone else sees the text.
    static string_ptr Allocate(std::size_t unitCount, char16_t*& ownUnits);
    static string_ptr FromUtf8(std::string_view source);
    int ContentHash() const noexcept;

    const char16_t* const units; // stand behind the object, in the same allocation
    const int length;
    mutable std::atomic<int> hash{0}; // 0: not computed yet
};

} // namespace System

template <>
struct std::hash<System::string_ptr> {
    std::size_t operator()(const System::string_ptr& text) const noexcept {
        return text ? static_cast<std::size_t>(static_cast<unsigned>(text->ContentHash())) : 0;
    }
};

// What the operations above, and those of most other classes, throw; it needs string_ptr in turn.
#include <System/Exceptions.h>
