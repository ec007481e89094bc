// SPDX-License-Identifier: Apache-2.0
#include <System/String.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include <System/Collections/Generic/Array.h>
#include <System/Detail/TextMaker.h>
#include <System/Exceptions.h>
#include <System/Raisers.h>

#include "runtime/Length.h"
#include "runtime/SpareAllocator.h"
#include "runtime/Utf.h"

namespace System {

using Collections::Generic::Array;
using Collections::Generic::IArray;

// Four code units at a time: keys are short, and the standard library's hash takes twice as long for them. A product's
// upper half depends on all bits below it; the rotation brings it down for the next step.
static int HashOf(std::u16string_view text) noexcept {
    std::uint64_t mixed = text.size();
    const auto mix = [&mixed](std::uint64_t units) {
        mixed = (std::rotl(mixed, 32) ^ units) * 0x9E3779B97F4A7C15; // 2 to the 64th over the golden ratio
    };
    for (std::uint64_t four; text.size() >= 4; text.remove_prefix(4)) {
        std::memcpy(&four, text.data(), sizeof four);
        mix(four);
    }
    for (const char16_t unit : text)
        mix(unit);
    return static_cast<int>(mixed ^ mixed >> 32);
}

[[gnu::init_priority(150)]] const string_ptr String::EMPTY = String::FromUnits({});

string_ptr::string_ptr(const char* utf8) : string_ptr(utf8 ? String::FromUtf8(utf8) : nullptr) {}

string_ptr::string_ptr(std::string_view utf8) : string_ptr(String::FromUtf8(utf8)) {}

string_ptr::string_ptr(const std::string& utf8) : string_ptr(String::FromUtf8(utf8)) {}

string_ptr::string_ptr(const char16_t* units) : string_ptr(units ? String::FromUnits(units) : nullptr) {}

string_ptr::string_ptr(std::u16string_view units) : string_ptr(String::FromUnits(units)) {}

string_ptr::operator std::shared_ptr<Object>() const {
    if (!text)
        return nullptr;
    return {std::allocate_shared<string_ptr>(SpareAllocator<string_ptr>(), *this), text};
}

string_ptr operator+(const string_ptr& left, const string_ptr& right) {
    const auto view = [](const string_ptr& text) { return text ? text->View() : std::u16string_view(); };
    const std::u16string_view first = view(left), second = view(right);
    char16_t* units = nullptr;
    string_ptr both = String::Allocate(first.size() + second.size(), units);
    std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), units));
    return both;
}

void string_ptr::Release() noexcept {
    // The last reference need not decrement.
    if (text->holders.load(std::memory_order_acquire) != 1 &&
        text->holders.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    // Without a destructor, which would have nothing to do: no std::shared_ptr owns a text.
    if (text->offset != 0)
        Detail::TextMaker::Release(reinterpret_cast<char*>(text) - text->offset, 1);
    else
        ::operator delete(text);
}

void string_ptr::RaiseNullReference() {
    throw NullReferenceException("A null text was used");
}

bool string_ptr::SameUnits(const String& left, const String& right) noexcept {
    // Not char_traits<char16_t>::compare, which goes unit by unit.
    const std::u16string_view first = left.View(), second = right.View();
    return first.size() == second.size() &&
           std::memcmp(first.data(), second.data(), first.size() * sizeof(char16_t)) == 0;
}

string_ptr String::Allocate(std::size_t unitCount, char16_t*& units) {
    const auto make = [&units](std::size_t count, int ownLength) {
        void* const memory = ::operator new(sizeof(String) + count * sizeof(char16_t));
        auto* const text = ::new (memory) String(ownLength, 0);
        units = reinterpret_cast<char16_t*>(text + 1);
        return string_ptr(text);
    };
    if (unitCount == 0) {
        // Made on first use and never freed, so that statics of any file can have empty texts, also after this
        // library's statics are destroyed.
        static const string_ptr& empty = *new string_ptr(make(0, 0));
        return empty;
    }
    return make(unitCount, CheckedLength(unitCount, "text"));
}

string_ptr String::FromUnits(std::u16string_view source) {
    char16_t* units = nullptr;
    string_ptr text = Allocate(source.size(), units);
    std::copy(source.begin(), source.end(), units);
    return text;
}

string_ptr String::FromBytes(std::string_view source) {
    char16_t* units = nullptr;
    string_ptr text = Allocate(source.size(), units);
    Utf::Widen(source, units);
    return text;
}

string_ptr String::FromUtf8(std::string_view source) {
    char16_t* units = nullptr;
    // Longer than a text can be only if it is no ASCII: three bytes make at least one code unit.
    if (source.size() <= MAX_LENGTH)
        if (string_ptr text = Allocate(source.size(), units); Utf::Widen(source, units))
            return text;
    CheckedLength(source.size() / 3, "text");
    string_ptr text = Allocate(Utf::CountUnits(source), units);
    Utf::Decode(source, units);
    return text;
}

string_ptr String::FromChars(unsigned short c, int count) {
    if (count < 0)
        _throw_not_less_exception(count, 0, "count", "zero");
    char16_t* units = nullptr;
    string_ptr text = Allocate(static_cast<std::size_t>(count), units);
    std::fill_n(units, count, static_cast<char16_t>(c));
    return text;
}

namespace {

void CheckRange(int index, int partLength, int wholeLength) {
    if (index < 0 || index > wholeLength)
        throw ArgumentOutOfRangeException("index");
    if (partLength < 0 || partLength > wholeLength - index)
        throw ArgumentOutOfRangeException("length");
}

} // namespace

string_ptr String::FromArray(std::shared_ptr<IArray<unsigned short>> chars, int index, int length) {
    if (!chars)
        _throw_argument_null_exception("chars");
    CheckRange(index, length, chars->Length());
    char16_t* units = nullptr;
    string_ptr text = Allocate(static_cast<std::size_t>(length), units);
    std::copy_n(chars->Data() + index, length, units);
    return text;
}

char16_t String::operator[](int index) const {
    if (index < 0 || index >= length)
        throw ArgumentOutOfRangeException("index");
    return View()[static_cast<std::size_t>(index)];
}

bool String::StartsWith(string_ptr prefix) const {
    if (!prefix)
        _throw_argument_null_exception("prefix");
    return View().starts_with(prefix->View());
}

string_ptr String::Substring(int index, int partLength) const {
    CheckRange(index, partLength, length);
    return FromUnits(View().substr(static_cast<std::size_t>(index), static_cast<std::size_t>(partLength)));
}

std::shared_ptr<Array<string_ptr>> String::Split(string_ptr separator) const {
    if (!separator)
        _throw_argument_null_exception("separator");
    if (separator->Length() == 0)
        throw ArgumentException("The separator must not be empty");
    const std::u16string_view mark = separator->View();

    int count = 1;
    for (std::u16string_view rest = View();; ++count) {
        const std::size_t found = rest.find(mark);
        if (found == rest.npos)
            break;
        rest.remove_prefix(found + mark.size());
    }
    auto parts = Array<string_ptr>::Create(count);
    if (count == 1) {
        (*parts)[0] = ToHandle();
        return parts;
    }
    std::u16string_view rest = View();
    for (string_ptr& part : *parts) {
        const std::size_t found = rest.find(mark);
        part = rest.substr(0, found);
        rest.remove_prefix(std::min(rest.size(), found + mark.size()));
    }
    return parts;
}

std::shared_ptr<Array<unsigned short>> String::ToCharArray() const {
    auto chars = Array<unsigned short>::Create(length);
    std::copy_n(View().data(), length, chars->Data());
    return chars;
}

std::string String::ToUtf8() const {
    std::string utf8;
    Utf::Append(utf8, View());
    return utf8;
}

bool String::Equals(const std::shared_ptr<Object>& other) {
    const auto* text = dynamic_cast<const String*>(other.get());
    return text && string_ptr::SameUnits(*text, *this);
}

int String::GetHashCode() {
    return ContentHash();
}

string_ptr String::ToString() {
    return ToHandle();
}

string_ptr String::ToHandle() const noexcept {
    holders.fetch_add(1, std::memory_order_relaxed);
    return string_ptr(const_cast<String*>(this));
}

int String::ContentHash() const noexcept {
    int known = hash.load(std::memory_order_relaxed);
    if (known == 0) {
        known = HashOf(View());
        if (known == 0)
            known = 1;
        // Several threads may come here at once; they all store the same number.
        hash.store(known, std::memory_order_relaxed);
    }
    return known;
}

} // namespace System
