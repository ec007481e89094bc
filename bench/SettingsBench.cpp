// SPDX-License-Identifier: Apache-2.0
// Settings text of about 1 MB (36,000 lines) into the two-level dictionary, and the dictionary's end.
//
//     settings-bench [LINES [SECTIONS]]     allocations, in all and a line
//     settings-bench once [...]             one read, for a tool that counts instructions within ReadOnce
//     settings-bench memory [...]           the memory that the dictionary takes, resident and of the heap
//
// scripts/bench runs them and relates what they print to the bytes.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include <malloc.h>
#include <unistd.h>

#include <velrix/config/ConfigFile.h>

#include "bench/Allocations.h"
#include "bench/SettingsText.h"

using Bench::allocations;

namespace {

[[gnu::noinline]] int ReadOnce(const System::string_ptr& path) {
    return Velrix::ConfigFile::ReadAll(path)->Count();
}

long ResidentKilobytes() {
    long pages = -1;
    if (FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1)
            pages = -1;
        std::fclose(file);
    }
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

// What the program has of the heap, which is the same at every run.
long HeapKilobytes() {
    const auto heap = ::mallinfo2();
    return static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    const int first = what == "once" || what == "memory" ? 2 : 1;
    const int lines = argc > first ? std::atoi(argv[first]) : 36000;
    const int sectionCount = argc > first + 1 ? std::atoi(argv[first + 1]) : 12;
    if (sectionCount < 1 || lines < sectionCount) {
        std::fputs("usage: settings-bench [once | memory] [LINES [SECTIONS]]\n", stderr);
        return EXIT_FAILURE;
    }

    char path[] = "/tmp/settings-bench-XXXXXX";
    const int descriptor = mkstemp(path);
    std::string text = Bench::MakeSettings(lines, sectionCount);
    const std::size_t size = text.size();
    if (descriptor < 0 || write(descriptor, text.data(), size) != static_cast<ssize_t>(size)) {
        std::perror(path);
        return EXIT_FAILURE;
    }
    close(descriptor);
    std::printf("bytes %zu\nlines %d\n", size, lines);

    if (what == "memory") {
        // A long text has pages to itself, which go back to the system here.
        text = std::string();
        const long residentBefore = ResidentKilobytes(), heapBefore = HeapKilobytes();
        const auto sections = Velrix::ConfigFile::ReadAll(path);
        const long resident = ResidentKilobytes() - residentBefore, heap = HeapKilobytes() - heapBefore;
        std::printf("memory_kb %ld\nheap_kb %ld\nsections %d\n", resident, heap, sections->Count());
        unlink(path);
        return EXIT_SUCCESS;
    }

    // The first read also makes what is made once and kept.
    if (what != "once")
        ReadOnce(path);
    allocations = 0;
    const int sections = ReadOnce(path);
    unlink(path);
    std::printf("sections %d\nallocations %lld\nallocations_per_line %.3f\n", sections, allocations,
                static_cast<double>(allocations) / lines);
    return EXIT_SUCCESS;
}
