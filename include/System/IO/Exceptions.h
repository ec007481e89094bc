// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Exceptions.h>
#include <System/Export.h>
#include <System/String.h>

namespace System::IO {

// A failed system call on a file. The message is "what failed: path: the system's reason". Immutable: any thread.
class SYSTEM_EXPORT IOException : public Exception {
public:
    IOException(string_ptr what, string_ptr path, int errorCode);
    ~IOException() override;

    // The path as the caller gave it.
    const string_ptr& Path() const noexcept { return path; }

    // The system's error number, as errno had it.
    int ErrorCode() const noexcept { return errorCode; }

private:
    string_ptr path;
    int errorCode;
};

// The file, or a folder on the way to it, does not exist (ENOENT).
class SYSTEM_EXPORT FileNotFoundException : public IOException {
public:
    using IOException::IOException;
    ~FileNotFoundException() override;
};

// The file exists and may not be used so (EACCES, EPERM, EROFS).
class SYSTEM_EXPORT UnauthorizedAccessException : public IOException {
public:
    using IOException::IOException;
    ~UnauthorizedAccessException() override;
};

} // namespace System::IO
