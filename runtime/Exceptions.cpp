// SPDX-License-Identifier: Apache-2.0
#include <System/Exceptions.h>

#include <string>
#include <typeinfo>
#include <utility>

#include "runtime/TypeName.h"

namespace System {

// Made once and shared by all copies of an exception, so that copying one cannot fail.
struct Exception::Content {
    string_ptr message;
    std::shared_ptr<const Exception> inner;
    std::string utf8;
};

namespace {

string_ptr OrEmpty(string_ptr text) {
    if (!text)
        return String::EMPTY;
    return text;
}

string_ptr ArgumentMessage(const string_ptr& paramName, const char* complaint) {
    if (!paramName || paramName->Length() == 0)
        return string_ptr("An argument ") + complaint;
    return "The argument \"" + paramName + "\" " + complaint;
}

} // namespace

Exception::Exception(string_ptr message, std::shared_ptr<const Exception> inner) {
    message = OrEmpty(std::move(message));
    std::string utf8 = message->ToUtf8();
    content = std::make_shared<const Content>(Content{std::move(message), std::move(inner), std::move(utf8)});
}

Exception::Exception(const Exception&) noexcept = default;
Exception& Exception::operator=(const Exception&) noexcept = default;
Exception::~Exception() = default;

const string_ptr& Exception::Message() const noexcept {
    return content->message;
}
const std::shared_ptr<const Exception>& Exception::InnerException() const noexcept {
    return content->inner;
}
const char* Exception::what() const noexcept {
    return content->utf8.c_str();
}

string_ptr Exception::ToString() const {
    std::string text;
    for (const Exception* link = this; link; link = link->InnerException().get()) {
        if (link != this)
            text += " ---> ";
        text += TypeName(typeid(*link).name());
        if (link->Message()->Length() != 0)
            text.append(": ").append(link->content->utf8);
    }
    return text;
}

ArgumentNullException::ArgumentNullException(string_ptr ownParamName)
    : ArgumentException(ArgumentMessage(ownParamName, "must not be null")),
      paramName(OrEmpty(std::move(ownParamName))) {}

ArgumentOutOfRangeException::ArgumentOutOfRangeException(string_ptr ownParamName)
    : ArgumentException(ArgumentMessage(ownParamName, "is out of range")), paramName(OrEmpty(std::move(ownParamName))) {
}

ArgumentOutOfRangeException::ArgumentOutOfRangeException(string_ptr ownParamName, string_ptr message)
    : ArgumentException(std::move(message)), paramName(OrEmpty(std::move(ownParamName))) {}

// Out of line, so that this library alone holds the tables and the type information of the family.
ArgumentException::~ArgumentException() = default;
ArgumentNullException::~ArgumentNullException() = default;
ArgumentOutOfRangeException::~ArgumentOutOfRangeException() = default;
FormatException::~FormatException() = default;
OverflowException::~OverflowException() = default;
NotSupportedException::~NotSupportedException() = default;
InvalidOperationException::~InvalidOperationException() = default;
NullReferenceException::~NullReferenceException() = default;
ObjectDisposedException::~ObjectDisposedException() = default;
TimeoutException::~TimeoutException() = default;

} // namespace System
