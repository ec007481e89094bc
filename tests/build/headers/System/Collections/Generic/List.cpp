// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/List.h>

using System::Collections::Generic::List;

int UseLists() {
    const auto flags = List<bool>::Create({true});
    const auto numbers = List<int>::Create();
    numbers->Add(1);
    numbers->Insert(0, 2);
    try {
        numbers->RemoveAt(2);
    } catch (const System::ArgumentOutOfRangeException&) {
        numbers->Clear();
    }
    int sum = 0;
    for (const int number : *numbers)
        sum += number;
    for (bool& flag : *flags)
        sum += flag;
    return sum;
}
