// SPDX-License-Identifier: Apache-2.0
// Settings text of about 1 MB (36,000 lines) into the two-level dictionary, and the dictionary's end.
//
//     settings-bench            allocations a line and the time of the best of ten reads
//     settings-bench once       one read, for a tool that counts instructions within ReadOnce
//
// scripts/bench runs both and relates the instructions to the bytes.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include <unistd.h>

#include <velrix/config/ConfigFile.h>

namespace {

long long allocations = 0;

constexpr int SECTIONS = 12;
constexpr int LINES = 36000;

// Names and values as they are in real files: paths, numbers, quoted text, here and there a comment or an empty line.
std::string MakeText() {
    std::string text;
    for (int line = 0, number = 0; line < LINES; ++line, ++number) {
        const std::string suffix = std::to_string(number);
        if (line % (LINES / SECTIONS) == 0)
            text += "[section_" + suffix + "]\n";
        else if (line % 40 == 7)
            text += "# what the next keys are for\n";
        else if (line % 40 == 8)
            text += "\n";
        else if (line % 3 == 0)
            text += "line_" + suffix + "=/var/dev/gpio/" + suffix + "\n";
        else if (line % 3 == 1)
            text += "offset_" + suffix + " = 44000000 # hex\n";
        else
            text += "name_" + suffix + " = \"unit " + suffix + "_a\"\n";
    }
    return text;
}

[[gnu::noinline]] int ReadOnce(const System::string_ptr& path) {
    return Velrix::ConfigFile::ReadAll(path)->Count();
}

} // namespace

// Counting is all that these two add.
void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

int main(int argc, char** argv) {
    char path[] = "/tmp/settings-bench-XXXXXX";
    const int descriptor = mkstemp(path);
    const std::string text = MakeText();
    if (descriptor < 0 || write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        std::perror(path);
        return EXIT_FAILURE;
    }
    close(descriptor);

    using Clock = std::chrono::steady_clock;
    auto best = Clock::duration::max();
    const int reads = argc > 1 && std::string_view(argv[1]) == "once" ? 1 : 10;
    int sections = 0;
    for (int i = 0; i < reads; ++i) {
        allocations = 0;
        const auto begin = Clock::now();
        sections = ReadOnce(path);
        best = std::min(best, Clock::now() - begin);
    }
    unlink(path);

    std::printf("bytes %zu\nlines %d\nsections %d\nallocations_per_line %.3f\nmicroseconds %lld\n", text.size(), LINES,
                sections, static_cast<double>(allocations) / LINES,
                static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(best).count()));
    return EXIT_SUCCESS;
}
