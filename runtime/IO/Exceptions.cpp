// SPDX-License-Identifier: Apache-2.0
#include <System/IO/Exceptions.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "runtime/IO/RaiseIO.h"

namespace System::IO {

namespace {

// strerror and strerror_r translate by locale; logs must read the same everywhere.
std::string Reason(int errorCode) {
    const char* description = strerrordesc_np(errorCode);
    return description ? std::string(description) : "Unknown error " + std::to_string(errorCode);
}

} // namespace

IOException::IOException(string_ptr what, string_ptr ownPath, int ownErrorCode)
    : Exception(what + ": " + ownPath + ": " + Reason(ownErrorCode)), path(std::move(ownPath)),
      errorCode(ownErrorCode) {}

// Out of line, so that this library alone holds the tables and the type information of the family.
IOException::~IOException() = default;
FileNotFoundException::~FileNotFoundException() = default;
UnauthorizedAccessException::~UnauthorizedAccessException() = default;

void RaiseIO(const char* whatFailed, const string_ptr& path, int errorCode) {
    switch (errorCode) {
    case ENOENT:
        throw FileNotFoundException(whatFailed, path, errorCode);
    case EACCES:
    case EPERM:
    case EROFS:
        throw UnauthorizedAccessException(whatFailed, path, errorCode);
    default:
        throw IOException(whatFailed, path, errorCode);
    }
}

} // namespace System::IO
