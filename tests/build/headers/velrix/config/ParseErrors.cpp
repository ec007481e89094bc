// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/ParseErrors.h>

bool Raise() {
    try {
        Velrix::_throw_unexpected_eof_exception("/etc/velrix.conf");
    } catch (const System::FormatException& exception) {
        return exception.Message() != nullptr;
    }
}
