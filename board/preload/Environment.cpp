// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Environment.h"

#include <climits>
#include <cstring>
#include <iterator>

#include <dlfcn.h>

#include "board/preload/Names.h"
#include "board/preload/Protocol.h"
#include "board/preload/Time.h"

namespace VelrixBoard::Preload {

namespace {

constexpr const char* PRELOAD = "LD_PRELOAD=";
constexpr std::size_t MOST_ENTRIES = std::size_t(1) << 20;

// The entry "LD_PRELOAD=..." with this library's path, and the entries that name the board's files; empty where the
// board has none.
constinit char preloadEntry[PATH_MAX + 16] = {};
struct Entry {
    const char* variable;
    char text[PATH_MAX + 32];
};
constinit Entry boardEntries[] = {{LIST_VARIABLE, {}}, {TIME_VARIABLE, {}}};
constexpr std::size_t BOARD_ENTRIES = std::size(boardEntries);

// Whether the list of libraries, separated by colons or spaces, has the path.
bool Contains(const char* libraries, const char* path) {
    const std::size_t length = std::strlen(path);
    for (const char* part = libraries; *part != '\0';) {
        const std::size_t size = std::strcspn(part, ": ");
        if (size == length && std::strncmp(part, path, size) == 0)
            return true;
        part += size + (part[size] != '\0' ? 1 : 0);
    }
    return false;
}

bool IsOf(const char* entry, const char* variable) {
    const std::size_t length = std::strlen(variable);
    return std::strncmp(entry, variable, length) == 0 && entry[length] == '=';
}

// Whether the environment has the entry, or need not have it.
bool Has(char* const* environment, const Entry& wanted) {
    if (wanted.text[0] == '\0')
        return true;
    for (char* const* entry = environment; *entry != nullptr; ++entry)
        if (std::strcmp(*entry, wanted.text) == 0)
            return true;
    return false;
}

} // namespace

void RememberEnvironment(const char* variable, const char* path) {
    Dl_info library{};
    const char* const own =
        ::dladdr(static_cast<const void*>(preloadEntry), &library) != 0 ? library.dli_fname : nullptr;
    const bool fits = own != nullptr && std::strlen(own) < PATH_MAX && std::strlen(path) < PATH_MAX;
    for (Entry& entry : boardEntries) {
        if (std::strcmp(entry.variable, variable) != 0)
            continue;
        // Drops the value of a previous board.
        entry.text[0] = '\0';
        if (!fits)
            continue;
        std::strcpy(entry.text, variable);
        std::strcat(entry.text, "=");
        std::strcat(entry.text, path);
    }
    if (!fits)
        return;
    std::strcpy(preloadEntry, PRELOAD);
    std::strcat(preloadEntry, own);
}

BoardEnvironment::BoardEnvironment(char* const* given) : entries(given) {
    static constexpr char* NOTHING[] = {nullptr};
    if (given == nullptr)
        given = NOTHING;
    if ((Names::Current() == nullptr && Time::Page() == nullptr) || preloadEntry[0] == '\0')
        return;
    const char* preloaded = nullptr;
    for (char* const* entry = given; *entry != nullptr; ++entry)
        if (std::strncmp(*entry, PRELOAD, std::strlen(PRELOAD)) == 0)
            preloaded = *entry;
    const char* const own = preloadEntry + std::strlen(PRELOAD);
    bool isComplete = preloaded != nullptr && Contains(preloaded + std::strlen(PRELOAD), own);
    for (const Entry& entry : boardEntries)
        isComplete = isComplete && Has(given, entry);
    if (!isComplete)
        Complete(given, preloaded);
}

void BoardEnvironment::Complete(char* const* given, const char* preloaded) {
    std::size_t count = 0;
    while (count < MOST_ENTRIES && given[count] != nullptr)
        ++count;
    const std::size_t pointers = count + 2 + BOARD_ENTRIES;
    const std::size_t textSize = std::strlen(preloadEntry) + (preloaded != nullptr ? std::strlen(preloaded) : 0) + 2;
    memory.Replace(pointers * sizeof(char*) + textSize);
    if (!memory.IsThere())
        return;
    char** const completed = memory.As<char*>();
    char* const text = reinterpret_cast<char*>(completed + pointers);
    std::strcpy(text, preloadEntry);
    const char* const others = preloaded != nullptr ? preloaded + std::strlen(PRELOAD) : "";
    if (*others != '\0' && !Contains(others, preloadEntry + std::strlen(PRELOAD))) {
        std::strcat(text, ":");
        std::strcat(text, others);
    } else if (*others != '\0') {
        std::strcpy(text, preloaded);
    }
    std::size_t next = 0;
    for (std::size_t i = 0; i < count; ++i) {
        bool isReplaced = given[i] == preloaded;
        for (const Entry& entry : boardEntries)
            isReplaced = isReplaced || (entry.text[0] != '\0' && IsOf(given[i], entry.variable));
        if (!isReplaced)
            completed[next++] = given[i];
    }
    completed[next++] = text;
    for (Entry& entry : boardEntries)
        if (entry.text[0] != '\0')
            completed[next++] = entry.text;
    entries = completed;
}

} // namespace VelrixBoard::Preload
