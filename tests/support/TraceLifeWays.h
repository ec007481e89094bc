// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <ostream>
#include <string>

namespace TestSupport {

// A way in which the program trace-life forks, executes or ends, and the records that must survive.
struct TraceLifeWay {
    const char* way;
    const char* argument;
    int exitCode;          // 128 and the signal's number for a program that a signal ended
    const char* records;   // in a file and in the event log
    const char* ownOutput; // of the program's listener, which logs Close and its destruction
};

inline constexpr TraceLifeWay TRACE_LIFE_WAYS[] = {
    {"fork", "_exit", 0, "parent before\nchild\nparent after\n", "parent before\nchild\nparent after\ndestroyed\n"},
    {"fork", "exit", 0, "parent before\nchild\nparent after\n",
     "parent before\nchild\ndestroyed\nparent after\ndestroyed\n"},
    {"exec", "", 0, "before\nafter\n", "before\nclosed\ndestroyed\nafter\ndestroyed\n"},
    {"return", "", 0, "last\n", "last\ndestroyed\n"},
    {"exit", "", 0, "last\n", "last\ndestroyed\n"},
    {"_exit", "", 0, "last\n", "last\n"},
    {"abort", "", 128 + SIGABRT, "last\n", "last\n"},
    {"static", "", 0, "last of main\nfrom the destructor of a static\n",
     "last of main\nfrom the destructor of a static\ndestroyed\n"},
};

inline std::ostream& operator<<(std::ostream& stream, const TraceLifeWay& way) {
    return stream << way.way << " " << way.argument;
}

// The texts of records, one per line, without the prefix up to the process id.
inline std::string RecordTexts(const std::string& content, const std::string& endOfId) {
    std::string texts;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t end = content.find('\n', start);
        const std::string line = content.substr(start, end - start);
        const std::size_t text = line.find(endOfId);
        texts += text == std::string::npos ? "BROKEN: " + line : line.substr(text + endOfId.size());
        texts += '\n';
        start = end == std::string::npos ? content.size() : end + 1;
    }
    return texts;
}

} // namespace TestSupport
