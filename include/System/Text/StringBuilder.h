// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include <System/Convert.h>
#include <System/Export.h>
#include <System/Object.h>
#include <System/String.h>

namespace System::Text {

// A text in the making: pieces are appended or inserted, and ToString() gives the text so far.
//
// Append and Insert return the builder, so that calls chain. A piece is a text, one code unit, a number in decimal
// digits, or any object by its ToString(); a null text or object adds nothing. One thread at a time.
//
//     auto builder = StringBuilder::Create();
//     builder->Append("line ").Append(12).Append(u':');
class SYSTEM_EXPORT StringBuilder final : public Object {
public:
    static std::shared_ptr<StringBuilder> Create();

    // The number of code units so far.
    int Length() const noexcept { return static_cast<int>(units.size()); }

    // The text so far; the builder keeps it.
    string_ptr ToString() override;

    // Empties the builder; its capacity stays.
    void Clear() noexcept { units.clear(); }

    // Before the code unit at index, 0 to Length(); elsewhere ArgumentOutOfRangeException, and the text stays as it
    // was.
    StringBuilder& Insert(int index, const string_ptr& text) {
        return InsertUnits(index, text ? text->View() : std::u16string_view());
    }
    StringBuilder& Insert(int index, char16_t unit) { return InsertUnits(index, {&unit, 1}); }
    StringBuilder& Insert(int index, unsigned short unit) { return Insert(index, static_cast<char16_t>(unit)); }
    // Any integer, or an enumerator that is a number.
    template <class Number, class = std::enable_if_t<std::is_convertible_v<Number, long long> &&
                                                     !std::is_floating_point_v<Number> && !std::is_class_v<Number>>>
    StringBuilder& Insert(int index, Number number) {
        return Insert(index, Convert::ToString(+number));
    }
    template <class T, class = std::enable_if_t<std::is_base_of_v<Object, T>>>
    StringBuilder& Insert(int index, const std::shared_ptr<T>& object) {
        return Insert(index, object ? static_cast<Object&>(*object).ToString() : string_ptr());
    }
    // A char could mean a character or a number: write a text or a number.
    StringBuilder& Insert(int index, char) = delete;

    // Behind the text so far: any piece that Insert takes.
    template <class Piece>
    auto Append(const Piece& piece) -> decltype(this->Insert(0, piece)) {
        return Insert(Length(), piece);
    }

private:
    StringBuilder() noexcept = default;
    StringBuilder& InsertUnits(int index, std::u16string_view piece);

    std::u16string units;
};

} // namespace System::Text
