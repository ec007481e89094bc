// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <System/Export.h>
#include <System/Object.h>

namespace System {

// Array.h and IArray.h need this header: include them for FromArray, Split and ToCharArray.
namespace Collections::Generic {
template <class T>
class Array;
template <class T>
class IArray;
} // namespace Collections::Generic

namespace Detail {
class TextMaker;
}

namespace Text {
class StringBuilder;
}

class String;

// The shared handle of an immutable UTF-16 text; the type of every text in the interfaces.
//
// A value: copying shares the text, comparing compares the contents. The null handle is no text at all and differs from
// the empty text. Text made from bytes is read as UTF-8, each maximal ill-formed part becoming one U+FFFD. Concurrent
// reads of a handle, as of a std::shared_ptr; its text: any thread.
//
//     string_ptr path = directory + "/value";
//     if (path->StartsWith("/sys")) ...
class SYSTEM_EXPORT string_ptr final {
public:
    string_ptr() noexcept = default;
    string_ptr(std::nullptr_t) noexcept {}
    string_ptr(const string_ptr& other) noexcept : text(other.text) { Hold(); }
    string_ptr(string_ptr&& other) noexcept : text(std::exchange(other.text, nullptr)) {}
    ~string_ptr() {
        if (text)
            Release();
    }
    string_ptr& operator=(string_ptr other) noexcept {
        std::swap(text, other.text);
        return *this;
    }

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
        return text;
    }
    String& operator*() const { return *operator->(); }

    explicit operator bool() const noexcept { return text != nullptr; }

    // The text as an object, so that it can be trace data or be appended to a builder; null stays null. Needs memory
    // for the owner, which holds the text as a handle does.
    operator std::shared_ptr<Object>() const;

    // By content, case matters; null is equal to null alone.
    friend bool operator==(const string_ptr& left, const string_ptr& right) noexcept {
        return left.text == right.text || (left.text && right.text && SameUnits(*left.text, *right.text));
    }
    friend bool operator!=(const string_ptr& left, const string_ptr& right) noexcept { return !(left == right); }

    // The two texts one after the other; null counts as empty.
    friend SYSTEM_EXPORT string_ptr operator+(const string_ptr& left, const string_ptr& right);

private:
    friend class Detail::TextMaker;
    friend class String;
    // Takes over one reference to the text.
    explicit string_ptr(String* heldText) noexcept : text(heldText) {}

    void Hold() const noexcept;
    void Release() noexcept;
    [[noreturn]] static void RaiseNullReference();
    static bool SameUnits(const String& left, const String& right) noexcept;

    String* text = nullptr;
};

SYSTEM_EXPORT string_ptr operator+(const string_ptr& left, const string_ptr& right);

// An immutable text of UTF-16 code units; always reached through a string_ptr.
//
// Lengths and indices count code units, not characters: a character outside of the basic plane takes two. A text needs
// one allocation, two if made from UTF-8 beyond ASCII; its hash is computed at most once, and all empty texts share one
// object. Any thread. The text holds its reference count: the control block of a std::shared_ptr would be a third of a
// short text's memory.
class SYSTEM_EXPORT String final : public Object {
public:
    // The empty text.
    static const string_ptr EMPTY;

    // count times the code unit c. A negative count: ArgumentOutOfRangeException.
    static string_ptr FromChars(unsigned short c, int count);

    // length code units of chars from index on. A null array: ArgumentNullException; a range that does not lie within
    // the array: ArgumentOutOfRangeException.
    static string_ptr FromArray(std::shared_ptr<Collections::Generic::IArray<unsigned short>> chars, int index,
                                int length);

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
    std::u16string_view View() const noexcept {
        return {reinterpret_cast<const char16_t*>(this + 1), static_cast<std::size_t>(length)};
    }

    // The text in UTF-8; an unpaired surrogate becomes U+FFFD.
    std::string ToUtf8() const;

    // By content, as operator== of string_ptr.
    bool Equals(const std::shared_ptr<Object>& other) override;
    int GetHashCode() override;
    // The text itself.
    string_ptr ToString() override;

private:
    friend class Detail::TextMaker;
    friend class string_ptr;
    friend class Text::StringBuilder;
    friend struct std::hash<string_ptr>;
    friend SYSTEM_EXPORT string_ptr operator+(const string_ptr& left, const string_ptr& right);

    String(int unitCount, unsigned ownOffset) noexcept : length(unitCount), offset(ownOffset) {}

    static string_ptr FromUnits(std::u16string_view source);
    // Room for unitCount code units that the caller fills before anyone else sees the text.
    static string_ptr Allocate(std::size_t unitCount, char16_t*& units);
    // Each byte is a code unit.
    static string_ptr FromBytes(std::string_view source);
    static string_ptr FromUtf8(std::string_view source);
    string_ptr ToHandle() const noexcept;
    int ContentHash() const noexcept;

    // The code units follow the object in the same allocation.
    mutable std::atomic<int> holders{1};
    const int length;
    mutable std::atomic<int> hash{0}; // 0: not computed yet
    const unsigned offset;            // from the beginning of the block that other texts share; 0: no block
};

inline void string_ptr::Hold() const noexcept {
    if (text)
        text->holders.fetch_add(1, std::memory_order_relaxed);
}

} // namespace System

template <>
struct std::hash<System::string_ptr> {
    std::size_t operator()(const System::string_ptr& text) const noexcept {
        return text ? static_cast<std::size_t>(static_cast<unsigned>(text->ContentHash())) : 0;
    }
};

// What the operations above, and those of most other classes, throw; it needs string_ptr in turn.
#include <System/Exceptions.h>
