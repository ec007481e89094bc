// SPDX-License-Identifier: Apache-2.0
#include <System/CallbackDualArgFunc.h>

namespace {

int Add(int first, int second) {
    return first + second;
}

} // namespace

int UseCallback() {
    try {
        return System::CallbackDualArgFunc<int, int, int>::Create(&Add)->Invoke(1, 2);
    } catch (const System::ArgumentNullException&) {
        return -1;
    }
}
