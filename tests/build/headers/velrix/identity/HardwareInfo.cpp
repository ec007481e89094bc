// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/HardwareInfo.h>

using Velrix::HardwareInfo;

int UseIdentity() {
    try {
        return HardwareInfo::INSTANCE.Value()->Version->Major + HardwareInfo::Create()->ToString()->Length();
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
