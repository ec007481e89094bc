// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/ProductInfo.h>

using Velrix::ProductInfo;

int UseIdentity() {
    try {
        return ProductInfo::INSTANCE.Value()->Version->Major + ProductInfo::Create()->ToString()->Length();
    } catch (const System::IO::IOException&) {
        return -1;
    } catch (const System::FormatException&) {
        return -2;
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return -3;
    } catch (const System::ArgumentException&) {
        return -4;
    }
}
