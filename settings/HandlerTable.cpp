// SPDX-License-Identifier: Apache-2.0
#include "settings/HandlerTable.h"

#include <System/Raisers.h>

namespace Velrix::Settings {

void Require(const void* object, const char* name) {
    if (!object)
        System::_throw_argument_null_exception(name);
}

} // namespace Velrix::Settings
