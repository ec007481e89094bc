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

// The brightness files of the four status LEDs: one path for each colour that an LED has.
//
// The link-activity LEDs show green and yellow, the status LEDs green and red; there are no keys for the others. Made
// with the defaults of the board, or from the section "led" of the settings file; held by SettingsFile::led. Paths are
// not checked, not even for being empty: opening the pin fails. Concurrent reads; only parsing changes it.
class VELRIX_EXPORT LedSection final : public System::Object {
public:
    // Every key of the section, with the handler that sets the field of that name.
    static System::Lazy<std::shared_ptr<HandlerTable<LedSection>>> KEY_HANDLERS;

    // A section with the defaults.
    static std::shared_ptr<LedSection> Create();

    // A section with the given values, and defaults for the others. An unknown key: KeyNotFoundException with the key
    // as its message; a null section: ArgumentNullException "section".
    static std::shared_ptr<LedSection> FromSectionDictionary(
        std::shared_ptr<System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>> section);

    ~LedSection() override;

    System::string_ptr link_act_1_green;
    System::string_ptr link_act_1_yellow;
    System::string_ptr link_act_2_green;
    System::string_ptr link_act_2_yellow;
    System::string_ptr module_status_green;
    System::string_ptr module_status_red;
    System::string_ptr network_status_green;
    System::string_ptr network_status_red;

private:
    LedSection();
};

} // namespace Velrix::Settings
