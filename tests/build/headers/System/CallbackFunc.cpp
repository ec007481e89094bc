// SPDX-License-Identifier: Apache-2.0
#include <System/CallbackFunc.h>

int UseCallback() {
    try {
        return System::CallbackFunc<int>::Create(&UseCallback)->Invoke();
    } catch (const System::ArgumentNullException&) {
        return -1;
    }
}
