// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/IDictionary.h>

using System::Collections::Generic::IDictionary;

int UseDictionary(IDictionary<int, int>& numbers) {
    try {
        numbers.Add(1, 2);
        return numbers[1];
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return 0;
    } catch (const System::ArgumentException&) {
        return 0;
    } catch (const System::NotSupportedException&) {
        return 0;
    }
}
