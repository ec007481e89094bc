// SPDX-License-Identifier: Apache-2.0
// A thousand records of the web log, for a tool that counts within Notify.
//
//     web-log-bench
//
// The file is a device, so that the system's own work is as small as it gets: what remains is the library's.
#include <System/String.h>

#include <velrix/logging/WebLog.h>

int main() {
    constexpr int RECORDS = 1000;
    const auto log = Velrix::WebLog::Create("/dev/null");
    const System::string_ptr message = "The module is ready after 40 ms, firmware 1.2.3";
    for (int i = 0; i < RECORDS; ++i)
        log->Notify(message);
    return 0;
}
