// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Dictionary.h>
#include <System/Lazy.h>
#include <System/Object.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/settings/HandlerTable.h>

namespace Velrix::Settings {

// Where the lines of the Oxbo module are: the path of one value file a line.
//
// Made with the defaults of the board, or from the section "oxbo_pin" of the settings file; held by
// SettingsFile::oxbo_pin. Paths are taken as they are written: a wrong one shows when its pin is opened. Read-only once
// the settings are made, and then readable from any thread.
class VELRIX_EXPORT OxboPinSection final : public System::Object {
public:
    // Each key that the section may hold, with the handler that puts its value into the field of that name.
    static System::Lazy<std::shared_ptr<HandlerTable<OxboPinSection>>> KEY_HANDLERS;

    // A section with the defaults.
    static std::shared_ptr<OxboPinSection> Create();

    // A section with the values given and the defaults of all others. An unknown key: KeyNotFoundException with the key
    // as its message; a null section: ArgumentNullException "section".
    static std::shared_ptr<OxboPinSection> FromSectionDictionary(
        std::shared_ptr<System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>> section);

    ~OxboPinSection() override;

    System::string_ptr irq_n;
    System::string_ptr mod_1;
    System::string_ptr mod_id_0_sync;
    System::string_ptr ramloader_enable;
    System::string_ptr reset_n;

private:
    OxboPinSection();
};

} // namespace Velrix::Settings
