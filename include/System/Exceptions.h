// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <memory>

#include <System/Export.h>
#include <System/String.h>

namespace System {

// The root of every exception that the libraries raise.
//
// A value: thrown by value, caught by const reference, copied without throwing. It carries a message for people and,
// where it wraps another failure, that inner exception. Immutable: any thread.
class SYSTEM_EXPORT Exception : public std::exception {
public:
    // A null message counts as empty.
    explicit Exception(string_ptr message = String::EMPTY, std::shared_ptr<const Exception> inner = nullptr);
    Exception(const Exception&) noexcept;
    Exception& operator=(const Exception&) noexcept;
    ~Exception() override;

    // Never null; empty where the exception has nothing to say beyond its type.
    const string_ptr& Message() const noexcept;

    // The failure behind this one, or null.
    const std::shared_ptr<const Exception>& InnerException() const noexcept;

    // "System::FormatException: the message"; the type's name alone where the message is empty; behind " ---> " the
    // inner one.
    string_ptr ToString() const;

    // The message in UTF-8, valid as long as this exception is.
    const char* what() const noexcept override;

private:
    struct Content;
    std::shared_ptr<const Content> content;
};

// An argument that the operation cannot work with.
class SYSTEM_EXPORT ArgumentException : public Exception {
public:
    using Exception::Exception;
    ~ArgumentException() override;
};

// A null handle or pointer where an object is needed.
class SYSTEM_EXPORT ArgumentNullException : public ArgumentException {
public:
    explicit ArgumentNullException(string_ptr paramName = String::EMPTY);
    ~ArgumentNullException() override;

    // The name of the parameter; the message names it too.
    const string_ptr& ParamName() const noexcept { return paramName; }

private:
    string_ptr paramName;
};

// A value outside of the range that a parameter allows.
class SYSTEM_EXPORT ArgumentOutOfRangeException : public ArgumentException {
public:
    explicit ArgumentOutOfRangeException(string_ptr paramName = String::EMPTY);
    // With the caller's message, which names the parameter.
    ArgumentOutOfRangeException(string_ptr paramName, string_ptr message);
    ~ArgumentOutOfRangeException() override;

    // The name of the parameter; the message names it too.
    const string_ptr& ParamName() const noexcept { return paramName; }

private:
    string_ptr paramName;
};

// A text that does not have the form it must have.
class SYSTEM_EXPORT FormatException : public Exception {
public:
    using Exception::Exception;
    ~FormatException() override;
};

// A number that does not fit into its type.
class SYSTEM_EXPORT OverflowException : public Exception {
public:
    using Exception::Exception;
    ~OverflowException() override;
};

// An operation that this object does not support.
class SYSTEM_EXPORT NotSupportedException : public Exception {
public:
    using Exception::Exception;
    ~NotSupportedException() override;
};

// An operation that cannot be done in the object's present state.
class SYSTEM_EXPORT InvalidOperationException : public Exception {
public:
    using Exception::Exception;
    ~InvalidOperationException() override;
};

// The use of a null handle as if there were an object behind it.
class SYSTEM_EXPORT NullReferenceException : public Exception {
public:
    using Exception::Exception;
    ~NullReferenceException() override;
};

// The use of an object after it was closed.
class SYSTEM_EXPORT ObjectDisposedException : public Exception {
public:
    using Exception::Exception;
    ~ObjectDisposedException() override;
};

// A wait that exceeded its limit.
class SYSTEM_EXPORT TimeoutException : public Exception {
public:
    using Exception::Exception;
    ~TimeoutException() override;
};

} // namespace System
