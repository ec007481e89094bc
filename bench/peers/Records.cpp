// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/Jobs.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <System/Diagnostics/EventLogTraceListener.h>
#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Trace.h>

#include <velrix/logging/WebLog.h>

#include "bench/peers/Contest.h"
#include "bench/peers/Text.h"

namespace Bench {

namespace {

using System::string_ptr;
using System::Diagnostics::EventLogTraceListener;
using System::Diagnostics::FileTraceListener;
using System::Diagnostics::Trace;
using System::Diagnostics::TraceListener;

// Through Trace, which has the listener as long as the operation lives: only one job at a time is prepared.
Operation RecordTo(const std::shared_ptr<TraceListener>& listener) {
    Trace::AddListener(listener);
    const std::shared_ptr<void> added(nullptr, [listener](void*) { Trace::RemoveListener(listener); });
    return [added, text = string_ptr(RECORD)](int times) {
        for (int i = 0; i < times; ++i)
            Trace::TraceInformation(text);
    };
}

// The same bytes, which somebody else has made.
Operation Append(const std::string& path, std::vector<std::string> pieces) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (descriptor < 0)
        Fail(path.c_str());
    return [descriptor, pieces](int times) {
        for (int i = 0; i < times; ++i)
            for (const std::string& piece : pieces)
                if (::write(descriptor, piece.data(), piece.size()) < 0)
                    Fail("write");
    };
}

const Contestant FILE_OURS{"ours", [](const std::string& path) { return RecordTo(FileTraceListener::Create(path)); }};
const Contestant FILE_LIMIT{"limit", [](const std::string& path) {
                                return Append(path, {"2026-11-22T08:15:30.042Z INFORMATION peer-bench[12345:12345] " +
                                                     std::string(RECORD) + "\n"});
                            }};

const Contestant WEB_OURS{"ours", [](const std::string& path) {
                              return [log = Velrix::WebLog::Create(path), text = string_ptr(RECORD)](int times) {
                                  for (int i = 0; i < times; ++i)
                                      log->Notify(text);
                              };
                          }};
const Contestant WEB_LIMIT{"limit", [](const std::string& path) { return Append(path, {"+", RECORD, "\n"}); }};

const Contestant LOG_OURS{"ours",
                          [](const std::string&) { return RecordTo(EventLogTraceListener::Create(LOG_LOCAL1)); }};
const Contestant LOG_C{"syslog(3)", [](const std::string&) {
                           return [](int times) {
                               for (int i = 0; i < times; ++i)
                                   ::syslog(LOG_LOCAL1 | LOG_INFO, "%s", RECORD);
                           };
                       }};
const Contestant LOG_LIMIT{"limit", [](const std::string&) {
                               const int sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
                               const sockaddr_un address{AF_UNIX, "/dev/log"};
                               if (::connect(sender, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
                                   Fail("/dev/log");
                               const std::string record =
                                   "<142>Nov 22 08:15:30 peer-bench[12345]: " + std::string(RECORD);
                               return [sender, record](int times) {
                                   for (int i = 0; i < times; ++i)
                                       if (::send(sender, record.data(), record.size(), MSG_NOSIGNAL) < 0)
                                           Fail("send");
                               };
                           }};

// A system log of this process alone, in a /dev of its own: a socket whose records nobody keeps.
class SystemLog {
public:
    SystemLog() {
        if (!::mkdtemp(folder))
            Fail(folder);
        sockaddr_un address{AF_UNIX, {}};
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s/log", folder);
        receiver = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (::bind(receiver, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            Fail(folder);
    }
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;
    ~SystemLog() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    // From here on, all of /dev is the log. False where programs get no namespaces.
    bool TakeDevices() const {
        return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount(folder, "/dev", nullptr, MS_BIND, nullptr) == 0;
    }

    void Drop() const {
        char record[1024];
        while (::recv(receiver, record, sizeof record, 0) > 0)
            continue;
    }

private:
    char folder[32] = "/tmp/peer-bench-XXXXXX";
    int receiver = -1;
};

} // namespace

void CompareRecords() {
    const TemporaryFile file;
    Run({"record to a file", 50, 500}, WithPeers("record to a file", {FILE_OURS, FILE_LIMIT}), file.Path());
    const TemporaryFile web;
    Run({"record to the web log", 50, 500}, {WEB_OURS, WEB_LIMIT}, web.Path());
}

void CompareSystemLog() {
    const SystemLog log;
    if (!log.TakeDevices()) {
        std::fputs("peer-bench: no namespaces here, so no row for the system's log\n", stderr);
        return;
    }
    // As many a round as the socket takes before a sender waits.
    Run({"record to the system's log", 2'000, 10, false, [&log] { log.Drop(); }},
        WithPeers("record to the system's log", {LOG_OURS, LOG_LIMIT, LOG_C}));
}

} // namespace Bench
