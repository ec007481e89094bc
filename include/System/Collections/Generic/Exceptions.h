// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Exceptions.h>
#include <System/Export.h>

namespace System::Collections::Generic {

// A key that a dictionary does not hold; the message is the key's text. Any thread.
class SYSTEM_EXPORT KeyNotFoundException : public Exception {
public:
    using Exception::Exception;
    ~KeyNotFoundException() override;
};

// Throws KeyNotFoundException with the key's text.
[[noreturn]] SYSTEM_EXPORT void _throw_key_not_found_exception(string_ptr key);

// Throws ArgumentException "Key already exists".
[[noreturn]] SYSTEM_EXPORT void _throw_key_exists_exception();

} // namespace System::Collections::Generic
