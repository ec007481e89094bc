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

// A window of physical memory through which a module's dual-ported RAM is reached. The library describes it and does
// not map it.
//
// Made from values, or from the section "oxbo_dpram" or "qor_dpram" of the settings file; held by
// SettingsFile::oxbo_dpram and SettingsFile::qor_dpram. Unlike the other sections, one from the file has no defaults: a
// missing key leaves 0, or no path. Concurrent reads; only parsing changes it.
class VELRIX_EXPORT DpramSection final : public System::Object {
public:
    // Every key of the section, with the handler that sets the field of that name.
    static System::Lazy<std::shared_ptr<HandlerTable<DpramSection>>> KEY_HANDLERS;

    // A null path: ArgumentNullException "path"; a negative offset or length: ArgumentOutOfRangeException "offset" or
    // "length".
    static std::shared_ptr<DpramSection> Create(System::string_ptr path, int offset, int length);

    // A section with the given values; length and offset start at 0, the path at null. An unknown key:
    // KeyNotFoundException with the key as its message; a null section: ArgumentNullException "section"; numbers as in
    // HandleLength.
    static std::shared_ptr<DpramSection> FromSectionDictionary(
        std::shared_ptr<System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>> section);

    // Sets the length, or the offset, to the low 32 bits of a hexadecimal number ("2000" is 8192, "FFFFFFFF" is -1).
    // Text that is no such number throws as Convert::ToInt64 does, and a null section ArgumentNullException "section";
    // nothing changes.
    static void HandleLength(std::shared_ptr<DpramSection> section, System::string_ptr value);
    static void HandleOffset(std::shared_ptr<DpramSection> section, System::string_ptr value);

    ~DpramSection() override;

    int length = 0;          // bytes
    int offset = 0;          // physical address within the device file
    System::string_ptr path; // the device file to map

private:
    DpramSection();
};

} // namespace Velrix::Settings
