// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <climits>
#include <cstddef>

namespace VelrixBoard::Preload {

// Builds an absolute path without ".", ".." and double slashes in the caller's buffer of PATH_MAX bytes. The text is
// zero-terminated after every operation.
class NormalPath final {
public:
    // Continues with the path in the buffer.
    explicit NormalPath(char* buffer, std::size_t textLength = 0) : text(buffer), length(textLength) {
        if (length == 1 && text[0] == '/')
            length = 0;
        text[length] = '\0';
    }

    // Appends and normalises the path; false when the result is too long.
    bool Append(const char* path);

    // Turns the empty text into "/". Returns the length.
    std::size_t Finish() {
        if (length == 0) {
            text[length++] = '/';
            text[length] = '\0';
        }
        return length;
    }

    void Clear() { text[length = 0] = '\0'; }
    const char* Text() const { return text; }
    std::size_t Length() const { return length; }

private:
    char* text;
    std::size_t length;
};

inline bool NormalPath::Append(const char* path) {
    while (*path != '\0') {
        const char* end = path;
        while (*end != '\0' && *end != '/')
            ++end;
        const auto size = static_cast<std::size_t>(end - path);
        if (size == 2 && path[0] == '.' && path[1] == '.') {
            while (length > 0 && text[--length] != '/') {
            }
        } else if (size > 0 && !(size == 1 && path[0] == '.')) {
            if (length + 1 + size >= PATH_MAX)
                return false;
            text[length++] = '/';
            for (std::size_t i = 0; i < size; ++i)
                text[length++] = path[i];
        }
        text[length] = '\0';
        path = *end == '/' ? end + 1 : end;
    }
    return true;
}

} // namespace VelrixBoard::Preload
