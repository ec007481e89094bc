// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Dictionary.h>
#include <System/IDualArgFunc.h>
#include <System/String.h>

namespace Velrix::Settings {

// Names and their handlers: the handler of a key takes the object and the key's value, that of a section the settings
// and the section's pairs. Concurrent reads.
template <class Owner, class Argument = System::string_ptr>
using HandlerTable = System::Collections::Generic::Dictionary<
    System::string_ptr, std::shared_ptr<System::IDualArgFunc<std::shared_ptr<Owner>, Argument, void>>>;

} // namespace Velrix::Settings
