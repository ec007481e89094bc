// SPDX-License-Identifier: Apache-2.0
#include <System/DateTime.h>

long long UseTime() {
    try {
        const auto now = System::DateTime::Now();
        return now->Subtract(now).Nanoseconds() + now->ToString()->Length();
    } catch (const System::ArgumentNullException&) {
        return 0;
    }
}
