// SPDX-License-Identifier: Apache-2.0
#include <System/Raisers.h>

#include <utility>

#include <System/Convert.h>
#include <System/Exceptions.h>

namespace System {

namespace {

[[noreturn]] void RaiseOutOfRange(string_ptr name, long long value, const char* relation, long long bound,
                                  string_ptr boundText) {
    if (!boundText || boundText->Length() == 0)
        boundText = Convert::ToString(bound);
    string_ptr message = "The argument \"" + name + "\" is " + Convert::ToString(value) + " and must not be " +
                         relation + " than " + boundText;
    throw ArgumentOutOfRangeException(std::move(name), std::move(message));
}

} // namespace

void _throw_argument_null_exception(string_ptr name) {
    throw ArgumentNullException(std::move(name));
}

void _throw_not_less_exception(long long value, long long bound, string_ptr name, string_ptr boundName) {
    RaiseOutOfRange(std::move(name), value, "less", bound, std::move(boundName));
}

void _throw_not_greater_exception(long long value, long long limit, string_ptr name, string_ptr limitText) {
    RaiseOutOfRange(std::move(name), value, "greater", limit, std::move(limitText));
}

} // namespace System
