// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace VelrixBoard::Preload {

// A line, or several, of the board's list about one path of the device.
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

// What the list says about a path. It is on the list if it has a name; below a cover that depends on the machine.
struct Place {
    const Name* name = nullptr;  // the longest name above or at the path
    const Name* cover = nullptr; // without a name: the directory of the machine above the path that is covered
    const Name* tree = nullptr;  // the tree that the path is in or at
    const Name* value = nullptr; // the value file at the path
};

// The board's list of names, as Protocol.h describes it. Does not change once read.
class Names final {
public:
    // The list of this process; null when it has no board. Reads it at the first call (Life.cpp).
    static const Names* Current();

    // Reads the list into memory that stays. Null, and errno, when the file cannot be read; EINVAL when it is not such
    // a list.
    static const Names* Read(const char* path);

    // The path is absolute and normal.
    Place Find(const char* path, std::size_t length) const;

    // Makes a path that is on the list the one outside; the new length, or 0 when that has no room.
    std::size_t ToOutside(const Place& place, char* path, std::size_t length, std::size_t size) const;

    // Makes a path outside, absolute and normal, the one inside; the length then, or 0 when it is not the board's or
    // has no room. A place that has several names goes by that which comes first on the list.
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
    Name* names = nullptr; // in the order of the list
    std::uint32_t count = 0;
    std::uint32_t* slots = nullptr; // a hash table of numbers in names, from 1
    std::uint32_t slotMask = 0;
};

} // namespace VelrixBoard::Preload
