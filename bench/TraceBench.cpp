// SPDX-License-Identifier: Apache-2.0
// A thousand records, for a tool that counts within TraceRecords or the system calls of the whole.
//
//     trace-bench unheard    no listener was added
//     trace-bench literal    the same, with a literal for a text
//     trace-bench file       one listener writes to /dev/null
//     trace-bench log        one listener writes to the system's log
//     trace-bench none       does all but the records
//
// The file is a device, so that the system's own work is as small as it gets: what remains is the library's.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <syslog.h>

#include <System/Diagnostics/EventLogTraceListener.h>
#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Trace.h>

using System::string_ptr;
using System::Diagnostics::EventLogTraceListener;
using System::Diagnostics::FileTraceListener;
using System::Diagnostics::Trace;

constexpr int RECORDS = 1000;

[[gnu::noinline]] void TraceLiterals() {
    for (int i = 0; i < RECORDS; ++i)
        Trace::TraceInformation("The module is ready after 40 ms, firmware 1.2.3");
}

[[gnu::noinline]] void TraceRecords(const string_ptr& text) {
    for (int i = 0; i < RECORDS; ++i)
        Trace::TraceInformation(text);
}

int main(int argc, char** argv) {
    const std::string_view what = argc == 2 ? argv[1] : "";
    if (what == "file")
        Trace::AddListener(FileTraceListener::Create("/dev/null"));
    else if (what == "log")
        Trace::AddListener(EventLogTraceListener::Create(LOG_LOCAL1));
    else if (what != "unheard" && what != "literal" && what != "none") {
        std::fputs("usage: trace-bench unheard | literal | file | log | none\n", stderr);
        return EXIT_FAILURE;
    }

    if (what == "literal")
        TraceLiterals();
    else if (what != "none")
        TraceRecords("The module is ready after 40 ms, firmware 1.2.3");
    return EXIT_SUCCESS;
}
