// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Environment.h"

#include <climits>
#include <cstring>

#include <dlfcn.h>

#include "board/preload/Names.h"
#include "board/preload/Protocol.h"

namespace VelrixBoard::Preload {

namespace {

constexpr const char* PRELOAD = "LD_PRELOAD=";
constexpr std::size_t MOST_ENTRIES = std::size_t(1) << 20;

// The entries "LD_PRELOAD=..." with this library's path and of the list of names.
constinit char preloadEntry[PATH_MAX + 16] = {};
constinit char listEntry[PATH_MAX + 32] = {};

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

bool IsList(const char* entry) {
    const std::size_t length = std::strlen(LIST_VARIABLE);
    return std::strncmp(entry, LIST_VARIABLE, length) == 0 && entry[length] == '=';
}

} // namespace

void RememberEnvironment(const char* listPath) {
    Dl_info library{};
    // Drops the values of a previous board.
    preloadEntry[0] = listEntry[0] = '\0';
    const char* const own =
        ::dladdr(static_cast<const void*>(preloadEntry), &library) != 0 ? library.dli_fname : nullptr;
    if (own == nullptr || std::strlen(own) >= PATH_MAX || std::strlen(listPath) >= PATH_MAX)
        return;
    std::strcpy(preloadEntry, PRELOAD);
    std::strcat(preloadEntry, own);
    std::strcpy(listEntry, LIST_VARIABLE);
    std::strcat(listEntry, "=");
    std::strcat(listEntry, listPath);
}

BoardEnvironment::BoardEnvironment(char* const* given) : entries(given) {
    static constexpr char* NOTHING[] = {nullptr};
    if (given == nullptr)
        given = NOTHING;
    if (Names::Current() == nullptr || preloadEntry[0] == '\0')
        return;
    const char* preloaded = nullptr;
    bool hasList = false;
    for (char* const* entry = given; *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, PRELOAD, std::strlen(PRELOAD)) == 0)
            preloaded = *entry;
        hasList = hasList || std::strcmp(*entry, listEntry) == 0;
    }
    const char* const own = preloadEntry + std::strlen(PRELOAD);
    if (!hasList || preloaded == nullptr || !Contains(preloaded + std::strlen(PRELOAD), own))
        Complete(given, preloaded, hasList);
}

void BoardEnvironment::Complete(char* const* given, const char* preloaded, bool hasList) {
    std::size_t count = 0;
    while (count < MOST_ENTRIES && given[count] != nullptr)
        ++count;
    const std::size_t textSize = std::strlen(preloadEntry) + (preloaded != nullptr ? std::strlen(preloaded) : 0) + 2;
    memory.Replace((count + 3) * sizeof(char*) + textSize);
    if (!memory.IsThere())
        return;
    char** const completed = memory.As<char*>();
    char* const text = reinterpret_cast<char*>(completed + count + 3);
    std::strcpy(text, preloadEntry);
    const char* const others = preloaded != nullptr ? preloaded + std::strlen(PRELOAD) : "";
    if (*others != '\0' && !Contains(others, preloadEntry + std::strlen(PRELOAD))) {
        std::strcat(text, ":");
        std::strcat(text, others);
    } else if (*others != '\0') {
        std::strcpy(text, preloaded);
    }
    std::size_t next = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (given[i] != preloaded && (hasList || !IsList(given[i])))
            completed[next++] = given[i];
    completed[next++] = text;
    if (!hasList)
        completed[next++] = listEntry;
    entries = completed;
}

} // namespace VelrixBoard::Preload
