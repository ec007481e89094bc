// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace VelrixBoard::Preload {

// The lines of the board's list for one path of the device.
struct Name {
    const char* inside = nullptr;
    const char* outside = nullptr; // null without a "name", "mount" or "cover" line
    std::uint32_t insideLength = 0;
    std::uint32_t outsideLength = 0;
    std::uint32_t file = 0; // of a value file
    std::uint32_t mode = 0;
    bool isMount = false;
    bool isCover = false;
    bool isTree = false;
    bool isValue = false;
};

// The look-up result for a path. With a name it is on the list; below a cover that depends on the machine.
struct Place {
    const Name* name = nullptr;  // the longest name that is the path or a parent
    const Name* cover = nullptr; // without a name: the covered parent directory of the machine
    const Name* tree = nullptr;  // the tree that contains the path
    const Name* value = nullptr; // the value file at the path
};

// The board's list of names (Protocol.h). Immutable.
class Names final {
public:
    // The list of this process, read at the first call (Life.cpp); null when it has no board.
    static const Names* Current();

    // Reads the list into memory that is never freed. Null, and errno, when the file cannot be read; EINVAL for a
    // malformed list.
    static const Names* Read(const char* path);

    // The path is absolute and normal.
    Place Find(const char* path, std::size_t length) const;

    // Maps a path on the list to the outside one; the new length, or 0 when the buffer is too small.
    std::size_t ToOutside(const Place& place, char* path, std::size_t length, std::size_t size) const;

    // Maps an outside path, absolute and normal, to the inside one; the length, or 0 when it is not the board's or the
    // buffer is too small. The first of several names on the list wins.
    std::size_t ToInside(char* path, std::size_t length, std::size_t size) const;

    const Name* Value(std::uint32_t file) const;
    const char* Socket() const { return socket; }
    bool IsRoot() const { return isRoot; }

private:
    Names() = default;
    bool TakeLine(char* line);
    Name* Add(const char* inside);
    std::uint32_t* Slot(const char* inside, std::size_t length, std::uint32_t hash) const;

    const char* socket = nullptr;
    bool isRoot = false;
    Name* names = nullptr; // in list order
    std::uint32_t count = 0;
    std::uint32_t* slots = nullptr; // a hash table of indices into names, plus 1
    std::uint32_t slotMask = 0;
};

} // namespace VelrixBoard::Preload
