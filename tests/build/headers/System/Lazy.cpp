// SPDX-License-Identifier: Apache-2.0
#include <System/Lazy.h>

using System::IFunc;
using System::Lazy;

int UseHolder(const std::shared_ptr<IFunc<int>>& factory) {
    try {
        const auto holder = Lazy<int>::Create(factory);
        return holder->IsValueCreated() ? holder->Value() : factory->Invoke();
    } catch (const System::InvalidOperationException&) {
        return -1;
    } catch (const System::ArgumentNullException&) {
        return -2;
    }
}
