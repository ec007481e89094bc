// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Exceptions.h>
#include <System/Export.h>

namespace System::Collections::Generic {

// A dictionary was asked for a key that it does not hold; the message is the key's text.
class SYSTEM_EXPORT KeyNotFoundException : public Exception {
public:
    using Exception::Exception;
    ~KeyNotFoundException() override;
};

} // namespace System::Collections::Generic
