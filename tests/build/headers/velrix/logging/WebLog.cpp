// SPDX-License-Identifier: Apache-2.0
#include <velrix/logging/WebLog.h>

using Velrix::WebLog;

void UseLog() {
    try {
        WebLog::Create("/dev/null")->WriteBytes(WebLog::START);
    } catch (const System::ArgumentOutOfRangeException&) {
    } catch (const System::ArgumentNullException&) {
    } catch (const System::IO::IOException&) {
    }
}
