// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

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
    // Any integer, or an enumerator that is a number.
    template <class T>
    using IfNumber =
        std::enable_if_t<std::is_convertible_v<T, long long> && !std::is_floating_point_v<T> && !std::is_class_v<T>,
                         int>;

public:
    static std::shared_ptr<StringBuilder> Create();
    ~StringBuilder() override;

    // The number of code units so far.
    int Length() const noexcept { return static_cast<int>(units.size()); }

    // The text so far; the builder keeps it.
    string_ptr ToString() override;

    // Empties the builder; its capacity stays.
    void Clear() noexcept { units.clear(); }

    StringBuilder& Append(const string_ptr& text) { return Insert(Length(), text); }
    StringBuilder& Append(char16_t unit) { return Insert(Length(), unit); }
    StringBuilder& Append(unsigned short unit) { return Insert(Length(), unit); }
    template <class Number, IfNumber<Number> = 0>
    StringBuilder& Append(Number number) {
        return Insert(Length(), number);
    }
    template <class T, class = std::enable_if_t<std::is_base_of_v<Object, T>>>
    StringBuilder& Append(const std::shared_ptr<T>& object) {
        return Insert(Length(), object);
    }
    // A char could mean a character or a number: write a text or a number.
    StringBuilder& Append(char) = delete;

    // Before the code unit at index, 0 to Length(); elsewhere ArgumentOutOfRangeException, and the text stays as it
    // was.
    StringBuilder& Insert(int index, const string_ptr& text);
    StringBuilder& Insert(int index, char16_t unit);
    StringBuilder& Insert(int index, unsigned short unit) { return Insert(index, static_cast<char16_t>(unit)); }
    template <class Number, IfNumber<Number> = 0>
    StringBuilder& Insert(int index, Number number) {
        if constexpr (std::is_signed_v<decltype(+number)>)
            return InsertSigned(index, number);
        else
            return InsertUnsigned(index, number);
    }
    template <class T, class = std::enable_if_t<std::is_base_of_v<Object, T>>>
    StringBuilder& Insert(int index, const std::shared_ptr<T>& object) {
        return Insert(index, object ? static_cast<Object&>(*object).ToString() : string_ptr());
    }
    StringBuilder& Insert(int index, char) = delete;

private:
    StringBuilder() noexcept;
    StringBuilder& InsertSigned(int index, long long number);
    StringBuilder& InsertUnsigned(int index, unsigned long long number);
    StringBuilder& InsertUnits(int index, std::u16string_view piece);

    std::u16string units;
};

} // namespace System::Text
