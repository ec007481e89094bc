// SPDX-License-Identifier: Apache-2.0
// A thousand records, for a tool that counts within TraceRecords.
//
//     trace-bench unheard    no listener was added
//     trace-bench file       one listener writes to /dev/null
//
// The file is a device, so that the system's own work is as small as it gets: what remains is the library's.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Trace.h>

using System::string_ptr;
using System::Diagnostics::FileTraceListener;
using System::Diagnostics::Trace;

[[gnu::noinline]] void TraceRecords(const string_ptr& text) {
    constexpr int RECORDS = 1000;
    for (int i = 0; i < RECORDS; ++i)
        Trace::TraceInformation(text);
}

int main(int argc, char** argv) {
    const std::string_view listener = argc == 2 ? argv[1] : "";
    if (listener != "unheard" && listener != "file") {
        std::fputs("usage: trace-bench unheard | file\n", stderr);
        return EXIT_FAILURE;
    }
    if (listener == "file")
        Trace::AddListener(FileTraceListener::Create("/dev/null"));

    TraceRecords("The module is ready after 40 ms, firmware 1.2.3");
    return EXIT_SUCCESS;
}
