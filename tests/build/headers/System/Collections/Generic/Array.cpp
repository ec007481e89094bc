// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Array.h>

using System::Collections::Generic::Array;

int UseArrays() {
    const auto numbers = Array<long>::Create({1, 2, 3});
    const auto flags = Array<bool>::Create(3);
    try {
        (*flags)[0] = numbers->ToString() == "[1, 2, 3]";
    } catch (const System::ArgumentOutOfRangeException&) {
        return 0;
    }
    int sum = 0;
    for (const long number : *numbers)
        sum += static_cast<int>(number);
    return sum;
}
