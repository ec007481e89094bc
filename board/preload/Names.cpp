// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Names.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>

#include <fcntl.h>

#include "board/preload/Kernel.h"
#include "board/preload/Protocol.h"

namespace VelrixBoard::Preload {

namespace {

constexpr std::size_t LONGEST_LIST = std::size_t(1) << 20;

// FNV-1a, incremental: one pass over a path also gives the hashes of its parents.
constexpr std::uint32_t HASH_START = 2166136261u;
constexpr std::uint32_t Hash(std::uint32_t hash, char c) {
    return (hash ^ static_cast<unsigned char>(c)) * 16777619u;
}

std::uint32_t HashOf(const char* text) {
    std::uint32_t hash = HASH_START;
    for (; *text != '\0'; ++text)
        hash = Hash(hash, *text);
    return hash;
}

// Takes the next field of a line; null when there is none.
char* TakeField(char*& line) {
    if (line == nullptr)
        return nullptr;
    char* const field = line;
    char* const end = std::strchr(line, '\t');
    line = end == nullptr ? nullptr : end + 1;
    if (end != nullptr)
        *end = '\0';
    return field;
}

bool TakeNumber(char*& line, std::uint32_t base, std::uint32_t& number) {
    const char* field = TakeField(line);
    if (field == nullptr || *field == '\0')
        return false;
    number = 0;
    for (; *field != '\0'; ++field) {
        const auto digit = static_cast<std::uint32_t>(*field - '0');
        if (digit >= base || number > (UINT_MAX - digit) / base)
            return false;
        number = number * base + digit;
    }
    return true;
}

// The whole file, zero-terminated; null and errno on failure.
char* ReadFile(const char* path, std::size_t& size) {
    const int file = Kernel::Open(AT_FDCWD, path, O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || Kernel::Status(file, status) != 0)
        return nullptr;
    size = static_cast<std::size_t>(status.st_size);
    if (size >= LONGEST_LIST) {
        Kernel::Close(file);
        errno = EFBIG;
        return nullptr;
    }
    Kernel::Memory memory(size + 1);
    std::size_t length = 0;
    ssize_t count = memory.IsThere() ? 1 : -1;
    for (; count > 0 && length < size; length += static_cast<std::size_t>(count > 0 ? count : 0))
        count = Kernel::Read(file, memory.As<char>() + length, size - length);
    const int error = count < 0 ? errno : EIO;
    Kernel::Close(file);
    if (length == size && count > 0)
        return static_cast<char*>(memory.Release());
    errno = error;
    return nullptr;
}

} // namespace

const Names* Names::Read(const char* path) {
    std::size_t size = 0;
    char* line = ReadFile(path, size);
    if (line == nullptr)
        return nullptr;
    std::uint32_t lines = 1;
    for (const char* c = line; *c != '\0'; ++c)
        lines += *c == '\n' ? 1 : 0;
    std::uint32_t slotCount = 16;
    while (slotCount < 2 * lines)
        slotCount *= 2;
    Kernel::Memory memory(sizeof(Names) + lines * sizeof(Name) + slotCount * sizeof(std::uint32_t));
    if (!memory.IsThere())
        return nullptr;
    auto* const list = new (memory.As<char>()) Names();
    list->names = reinterpret_cast<Name*>(memory.As<char>() + sizeof(Names));
    list->slots = reinterpret_cast<std::uint32_t*>(list->names + lines);
    list->slotMask = slotCount - 1;
    while (line != nullptr && *line != '\0') {
        char* const end = std::strchr(line, '\n');
        if (end != nullptr)
            *end = '\0';
        if (!list->TakeLine(line)) {
            errno = EINVAL;
            return nullptr;
        }
        line = end == nullptr ? nullptr : end + 1;
    }
    if (list->socket == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    memory.Release();
    return list;
}

bool Names::TakeLine(char* line) {
    const char* const word = TakeField(line);
    if (std::strcmp(word, List::ROOT) == 0) {
        isRoot = true;
        return line == nullptr;
    }
    const char* const first = TakeField(line);
    if (first == nullptr || *first == '\0')
        return false;
    if (std::strcmp(word, List::SOCKET) == 0) {
        socket = first;
        return line == nullptr;
    }
    if (first[0] != '/' || first[1] == '\0')
        return false;
    Name& name = *Add(first);
    if (std::strcmp(word, List::TREE) == 0) {
        name.isTree = true;
    } else if (std::strcmp(word, List::NAME) == 0 || std::strcmp(word, List::MOUNT) == 0 ||
               std::strcmp(word, List::COVER) == 0) {
        name.isMount = std::strcmp(word, List::MOUNT) == 0;
        name.isCover = std::strcmp(word, List::COVER) == 0;
        name.outside = TakeField(line);
        if (name.outside == nullptr || name.outside[0] != '/')
            return false;
        name.outsideLength = static_cast<std::uint32_t>(std::strlen(name.outside));
    } else if (std::strcmp(word, List::VALUE) == 0) {
        name.isValue = true;
        if (!TakeNumber(line, 10, name.file) || !TakeNumber(line, 8, name.mode))
            return false;
    } else {
        return false;
    }
    return line == nullptr;
}

// The slot of the name, or the empty slot for it. There are more slots than names.
std::uint32_t* Names::Slot(const char* inside, std::size_t length, std::uint32_t hash) const {
    for (std::uint32_t i = hash & slotMask;; i = (i + 1) & slotMask) {
        const std::uint32_t number = slots[i];
        if (number == 0)
            return &slots[i];
        const Name& name = names[number - 1];
        if (name.insideLength == length && std::memcmp(name.inside, inside, length) == 0)
            return &slots[i];
    }
}

Name* Names::Add(const char* inside) {
    const std::size_t length = std::strlen(inside);
    std::uint32_t* const slot = Slot(inside, length, HashOf(inside));
    if (*slot == 0) {
        Name& name = *new (&names[count]) Name();
        name.inside = inside;
        name.insideLength = static_cast<std::uint32_t>(length);
        *slot = ++count;
    }
    return &names[*slot - 1];
}

Place Names::Find(const char* path, std::size_t length) const {
    Place place;
    std::uint32_t hash = HASH_START;
    for (std::size_t i = 0; i < length; ++i) {
        hash = Hash(hash, path[i]);
        if (i + 1 < length && path[i + 1] != '/')
            continue;
        const std::uint32_t number = *Slot(path, i + 1, hash);
        if (number == 0)
            continue;
        const Name& name = names[number - 1];
        if (name.isCover)
            place.cover = i + 1 < length ? &name : place.cover;
        else if (name.outside != nullptr)
            place.name = &name;
        if (name.isTree)
            place.tree = &name;
        if (name.isValue && i + 1 == length)
            place.value = &name;
    }
    if (place.name != nullptr) {
        place.cover = nullptr;
        return place;
    }
    Place covered;
    covered.cover = place.cover;
    return covered;
}

namespace {

// Replaces the path's prefix; the new length, or 0 when the buffer is too small.
std::size_t ReplaceBeginning(char* path, std::size_t length, std::size_t size, std::size_t from, const char* to,
                             std::size_t toLength) {
    const std::size_t rest = length - from;
    if (toLength + rest >= size)
        return 0;
    std::memmove(path + toLength, path + from, rest + 1);
    std::memcpy(path, to, toLength);
    return toLength + rest;
}

} // namespace

std::size_t Names::ToOutside(const Place& place, char* path, std::size_t length, std::size_t size) const {
    return ReplaceBeginning(path, length, size, place.name->insideLength, place.name->outside,
                            place.name->outsideLength);
}

std::size_t Names::ToInside(char* path, std::size_t length, std::size_t size) const {
    const Name* best = nullptr;
    for (std::uint32_t i = 0; i < count; ++i) {
        const Name& name = names[i];
        if (name.outside != nullptr && name.outsideLength <= length &&
            (best == nullptr || name.outsideLength > best->outsideLength) &&
            std::memcmp(name.outside, path, name.outsideLength) == 0 &&
            (path[name.outsideLength] == '/' || path[name.outsideLength] == '\0'))
            best = &name;
    }
    if (best == nullptr)
        return 0;
    return ReplaceBeginning(path, length, size, best->outsideLength, best->inside, best->insideLength);
}

const Name* Names::Value(std::uint32_t file) const {
    for (std::uint32_t i = 0; i < count; ++i)
        if (names[i].isValue && names[i].file == file)
            return &names[i];
    return nullptr;
}

} // namespace VelrixBoard::Preload
