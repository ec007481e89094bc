// SPDX-License-Identifier: Apache-2.0
#include <System/LambdaFunc.h>

int UseFunction() {
    try {
        return System::LambdaFunc<int>::Create([] { return 1; })->Invoke();
    } catch (const System::ArgumentNullException&) {
        return -1;
    }
}
