// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Export.h>
#include <System/IO/FileStream.h>
#include <System/String.h>

namespace System::IO {

// Shortcuts for whole files. Failures are those of FileStream. Any thread.
class SYSTEM_EXPORT File final {
public:
    File() = delete;

    // The existing file, open for reading.
    static std::shared_ptr<FileStream> OpenRead(string_ptr path);

    // All of the file, read as UTF-8; nothing is trimmed.
    static string_ptr ReadAllText(string_ptr path);
};

} // namespace System::IO
