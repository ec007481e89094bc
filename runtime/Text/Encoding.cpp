// SPDX-License-Identifier: Apache-2.0
#include <System/Text/Encoding.h>

#include <algorithm>
#include <string>
#include <string_view>

#include <System/Raisers.h>

#include "runtime/Length.h"
#include "runtime/Utf.h"

namespace System::Text {

using Collections::Generic::Array;
using Collections::Generic::IArray;

// Constructors of other statics may use an encoding.
[[gnu::init_priority(200)]] const std::shared_ptr<Encoding> Encoding::ASCII = Own(new Encoding(Kind::ASCII));
[[gnu::init_priority(200)]] const std::shared_ptr<Encoding> Encoding::UTF8 = Own(new Encoding(Kind::UTF8));

Encoding::Encoding(Kind ownKind) noexcept : kind(ownKind) {}
Encoding::~Encoding() = default;

std::shared_ptr<Array<unsigned char>> Encoding::GetBytes(string_ptr text) const {
    if (!text)
        _throw_argument_null_exception("text");
    std::u16string_view units = text->View();

    auto bytes = Array<unsigned char>::Create(text->Length());
    if (Utf::Narrow(units, reinterpret_cast<char*>(bytes->Data())))
        return bytes; // in ASCII, and in both encodings that is the same

    std::string encoded;
    if (kind == Kind::UTF8)
        Utf::Append(encoded, units);
    while (!units.empty() && kind == Kind::ASCII) {
        const char32_t codePoint = Utf::TakeCodePoint(units);
        encoded += codePoint > 127 ? '?' : static_cast<char>(codePoint);
    }
    bytes = Array<unsigned char>::Create(CheckedLength(encoded.size(), "text"));
    std::copy(encoded.begin(), encoded.end(), bytes->Data());
    return bytes;
}

string_ptr Encoding::GetString(std::shared_ptr<IArray<unsigned char>> bytes) const {
    if (!bytes)
        _throw_argument_null_exception("bytes");
    const std::string_view source(reinterpret_cast<const char*>(bytes->Data()),
                                  static_cast<std::size_t>(bytes->Length()));
    if (kind == Kind::UTF8)
        return source;

    std::u16string units;
    units.reserve(source.size());
    for (const char byte : source)
        units.push_back(static_cast<unsigned char>(byte) > 127 ? Utf::REPLACEMENT : static_cast<char16_t>(byte));
    return std::u16string_view(units);
}

} // namespace System::Text
