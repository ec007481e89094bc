// SPDX-License-Identifier: Apache-2.0
// Prints the device's identity, or the error.
#include <cstdio>
#include <cstdlib>

#include <System/Exceptions.h>

#include <velrix/identity/HardwareInfo.h>
#include <velrix/identity/ProductInfo.h>

int main() {
    try {
        std::puts(Velrix::ProductInfo::INSTANCE.Value()->ToString()->ToUtf8().c_str());
        std::puts(Velrix::HardwareInfo::INSTANCE.Value()->ToString()->ToUtf8().c_str());
        return EXIT_SUCCESS;
    } catch (const System::Exception& exception) {
        std::puts(exception.ToString()->ToUtf8().c_str());
        return EXIT_FAILURE;
    }
}
