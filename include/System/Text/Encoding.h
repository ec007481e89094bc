// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Array.h>
#include <System/Export.h>
#include <System/Object.h>
#include <System/String.h>

namespace System::Text {

// Converts texts to bytes and back: one of the two shared objects below. Immutable: any thread.
class SYSTEM_EXPORT Encoding : public Object {
public:
    // 7-bit: GetBytes writes a code point above 127 as one '?', GetString reads a byte above 127 as U+FFFD.
    static const std::shared_ptr<Encoding> ASCII;
    // UTF-8: an unpaired surrogate is written, and each maximal ill-formed part read, as U+FFFD.
    static const std::shared_ptr<Encoding> UTF8;

    ~Encoding() override;

    // A new array of the text's bytes, without an end mark. A null text: ArgumentNullException.
    std::shared_ptr<Collections::Generic::Array<unsigned char>> GetBytes(string_ptr text) const;

    // The decoded text. A null array: ArgumentNullException.
    string_ptr GetString(std::shared_ptr<Collections::Generic::IArray<unsigned char>> bytes) const;

private:
    enum class Kind { ASCII, UTF8 };

    explicit Encoding(Kind ownKind) noexcept;

    const Kind kind;
};

} // namespace System::Text
