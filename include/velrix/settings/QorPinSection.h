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

// The value files of the Qor module's lines, one path per line.
//
// Made with the defaults of the board, or from the section "qor_pin" of the settings file; held by
// SettingsFile::qor_pin. Paths are not checked: opening the pin fails. Concurrent reads; only parsing changes it.
class VELRIX_EXPORT QorPinSection final : public System::Object {
public:
    // Every key of the section, with the handler that sets the field of that name.
    static System::Lazy<std::shared_ptr<HandlerTable<QorPinSection>>> KEY_HANDLERS;

    // A section with the defaults.
    static std::shared_ptr<QorPinSection> Create();

    // A section with the given values, and defaults for the others. An unknown key: KeyNotFoundException with the key
    // as its message; a null section: ArgumentNullException "section".
    static std::shared_ptr<QorPinSection> FromSectionDictionary(
        std::shared_ptr<System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>> section);

    ~QorPinSection() override;

    System::string_ptr bootloader_enable_n;
    System::string_ptr busy_n;
    System::string_ptr irq_n;
    System::string_ptr reset_n;

private:
    QorPinSection();
};

} // namespace Velrix::Settings
