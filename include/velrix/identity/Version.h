// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include <System/Object.h>
#include <System/String.h>

#include <velrix/Export.h>

namespace Velrix {

// A version of three numbers, such as 1.4.12, with equality but no order. Immutable: any thread.
//
// The surprise: the numbers are bytes; FromString truncates to 8 bits, so that "1.256.3" is 1.0.3.
class VELRIX_EXPORT Version final : public System::Object {
public:
    static std::shared_ptr<Version> Create(unsigned char major, unsigned char minor, unsigned char build);

    // Reads prefix and three decimal numbers with the code unit separator between them; a null prefix means none.
    // Nothing is trimmed. A text without the prefix: ArgumentException with the prefix as its message; other than three
    // parts: ArgumentException with the parts as its message; a part that is no number: the exception of
    // System::Convert::ToUInt64.
    static std::shared_ptr<Version> FromString(System::string_ptr text, System::string_ptr prefix,
                                               unsigned short separator);

    ~Version() override;

    // Whether other has the same three numbers; null has none.
    bool Equals(std::shared_ptr<Version> other) const;
    // By identity, as for every object.
    using Object::Equals;
    // Resolve ambiguous calls: Object's operation is not const, and accepts null as well.
    bool Equals(std::shared_ptr<Version> other) { return std::as_const(*this).Equals(std::move(other)); }
    bool Equals(std::nullptr_t) noexcept { return false; }

    // "1.4.12", with dots for any separator.
    System::string_ptr ToString() override;

    const unsigned char Major;
    const unsigned char Minor;
    const unsigned char Build;

private:
    Version(unsigned char major, unsigned char minor, unsigned char build) noexcept;
};

} // namespace Velrix
