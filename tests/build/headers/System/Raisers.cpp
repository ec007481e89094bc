// SPDX-License-Identifier: Apache-2.0
#include <System/Raisers.h>

int Raise() {
    try {
        System::_throw_not_less_exception(-1, 0, "number", "zero");
    } catch (const System::ArgumentOutOfRangeException& exception) {
        return exception.ParamName() == "number";
    }
    try {
        System::_throw_argument_null_exception("name");
    } catch (const System::ArgumentNullException& exception) {
        return exception.ParamName() == "name";
    }
}
