// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Dictionary.h>
#include <System/IO/Exceptions.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/config/CharacterClasses.h>
#include <velrix/config/ParseErrors.h>

namespace Velrix {

// Settings files: INI-like text of sections and key = value lines, read into a dictionary of dictionaries.
//
// The reader knows no section and no key by name. It is strict: input outside of the grammar in docs/settings.md throws
// with the place of the first error. Any thread.
//
//     auto sections = ConfigFile::ReadAll("/etc/velrix.conf");
//     string_ptr path = (*(*sections)["led"])["module_status_red"];
class VELRIX_EXPORT ConfigFile final {
public:
    ConfigFile() = delete;

    // Section names to the pairs of each section, both in the order of the file. The section "" holds the keys before
    // the first header and is always there. Each byte of the file is one code unit. A null path: ArgumentNullException
    // "path"; a file that cannot be opened or read: IOException; text outside of the grammar: FormatException; a key
    // twice in one section, or a section twice: ArgumentException "Key already exists".
    static std::shared_ptr<System::Collections::Generic::Dictionary<
        System::string_ptr,
        std::shared_ptr<System::Collections::Generic::Dictionary<System::string_ptr, System::string_ptr>>>>
    ReadAll(System::string_ptr path);
};

} // namespace Velrix
