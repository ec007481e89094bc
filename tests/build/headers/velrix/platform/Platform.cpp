// SPDX-License-Identifier: Apache-2.0
#include <velrix/platform/Platform.h>

using Velrix::Platform;

int UsePlatform() {
    try {
        const auto platform = Platform::INSTANCE.Value();
        platform->webLog->Notify("text");
        platform->ledTraceListener->ControlLeds();
        platform->OxboReset(false, 100);
    } catch (const System::TimeoutException&) {
        return 1;
    } catch (const System::IO::IOException&) {
        return 2;
    } catch (const System::FormatException&) {
        return 3;
    } catch (const System::Collections::Generic::KeyNotFoundException&) {
        return 4;
    }
    return 0;
}
