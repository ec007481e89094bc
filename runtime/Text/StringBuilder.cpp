// SPDX-License-Identifier: Apache-2.0
#include <System/Text/StringBuilder.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <utility>

#include <System/Exceptions.h>

#include "runtime/Length.h"
#include "runtime/TextBlock.h"

namespace System::Text {

namespace {

// Holds most messages without growing.
constexpr std::size_t LEAST_CAPACITY = 48;

// A number's decimal digits as code units, without a trip over the heap.
struct Digits {
    template <class Number>
    explicit Digits(Number number) noexcept {
        char bytes[sizeof units / sizeof *units] = {}; // cleared for the analyser, which does not know to_chars
        const char* const end = std::to_chars(bytes, bytes + sizeof bytes, number).ptr;
        for (const char* byte = bytes; byte != end; ++byte)
            units[length++] = static_cast<char16_t>(*byte);
    }
    std::u16string_view View() const noexcept { return {units, length}; }

    char16_t units[20]; // -9223372036854775808
    std::size_t length = 0;
};

} // namespace

StringBuilder::StringBuilder(bool ownForManyTexts) noexcept : forManyTexts(ownForManyTexts) {}

StringBuilder::~StringBuilder() {
    if (block)
        block->Release();
}

std::shared_ptr<StringBuilder> StringBuilder::Create() {
    return Own(new StringBuilder(false));
}

std::shared_ptr<StringBuilder> StringBuilder::CreateForManyTexts() {
    return Own(new StringBuilder(true));
}

string_ptr StringBuilder::ToString() {
    const std::u16string_view text(units.get(), static_cast<std::size_t>(Length()));
    return forManyTexts ? String::FromUnits(text, block) : String::FromUnits(text);
}

StringBuilder& StringBuilder::Insert(int index, const string_ptr& text) {
    InsertUnits(index, text ? text->View() : std::u16string_view());
    return *this;
}

StringBuilder& StringBuilder::Insert(int index, char16_t unit) {
    InsertUnits(index, {&unit, 1});
    return *this;
}

StringBuilder& StringBuilder::Insert(int index, long long number) {
    InsertUnits(index, Digits(number).View());
    return *this;
}

StringBuilder& StringBuilder::Insert(int index, unsigned long long number) {
    InsertUnits(index, Digits(number).View());
    return *this;
}

void StringBuilder::InsertUnits(int index, std::u16string_view piece) {
    if (index < 0 || index > Length())
        throw ArgumentOutOfRangeException("index");
    if (static_cast<std::size_t>(end - next) < piece.size())
        Grow(piece.size());
    char16_t* const place = units.get() + index;
    std::copy_backward(place, next, next + piece.size());
    std::copy(piece.begin(), piece.end(), place);
    next += piece.size();
}

// Room for at least so many units more, and for twice as many as before; when there is none, nothing changes.
void StringBuilder::Grow(std::size_t more) {
    const auto length = static_cast<std::size_t>(Length());
    const auto needed = static_cast<std::size_t>(CheckedLength(length + more, "text"));
    const std::size_t capacity = std::max({needed, 2 * length, LEAST_CAPACITY});
    std::unique_ptr<char16_t[]> room(new char16_t[capacity]);
    std::copy_n(units.get(), length, room.get());
    units = std::move(room);
    next = units.get() + length;
    end = units.get() + capacity;
}

} // namespace System::Text
