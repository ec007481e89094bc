// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Links.h"

#include <climits>
#include <cstring>
#include <new>

#include <fcntl.h>

#include "board/preload/Kernel.h"
#include "board/preload/NormalPath.h"

namespace VelrixBoard::Preload {

namespace {

// The kernel's limit (ELOOP).
constexpr int MOST_LINKS = 40;

class Walk final {
public:
    Walk(const Names& listOfNames, const char* path) : names(listOfNames), here(hereText), next(rest) {
        std::strcpy(rest, path);
    }

    // False on an error.
    bool GoOn(Follow follow) {
        while (*next != '\0')
            if (!TakeStep(follow))
                return false;
        return links > 0;
    }

    std::size_t Finish(char* path) {
        const std::size_t length = here.Finish();
        std::memcpy(path, here.Text(), length + 1);
        return length;
    }

private:
    // Resolves the next component, following it if it is a link.
    bool TakeStep(Follow follow) {
        while (*next == '/')
            ++next;
        char* const end = next + std::strcspn(next, "/");
        const char ended = *end;
        *end = '\0';
        const std::size_t before = here.Length();
        const bool goesUp = std::strcmp(next, "..") == 0;
        if (!here.Append(next))
            return false;
        *end = ended;
        next = end;
        const bool isLast = *end == '\0';
        if (goesUp || here.Length() == before || (isLast && follow == Follow::NO))
            return true;
        const ssize_t size = ReadLink();
        return size <= 0 || FollowLink(static_cast<std::size_t>(size), before);
    }

    // Reads its target into link; the size, or at most 0 if it is not a link.
    ssize_t ReadLink() {
        std::memcpy(outside, here.Text(), here.Length() + 1);
        const Place place = names.Find(outside, here.Length());
        if (place.name != nullptr && names.ToOutside(place, outside, here.Length(), sizeof outside) == 0)
            return -1;
        const ssize_t size = Kernel::ReadLink(AT_FDCWD, outside, link, sizeof link - 1);
        if (size > 0)
            link[size] = '\0';
        return size;
    }

    // Continues with the link's target and the remaining path.
    bool FollowLink(std::size_t size, std::size_t before) {
        if (++links > MOST_LINKS)
            return false;
        if (link[0] == '/') {
            here.Clear();
            const std::size_t inside = names.ToInside(link, size, sizeof link);
            size = inside != 0 ? inside : size;
        } else {
            here = NormalPath(hereText, before);
        }
        const std::size_t left = std::strlen(next);
        if (size + left >= sizeof rest)
            return false;
        std::memmove(rest + size, next, left + 1);
        std::memcpy(rest, link, size);
        next = rest;
        return true;
    }

    const Names& names;
    char rest[2 * PATH_MAX]; // the remaining path
    char link[PATH_MAX];
    char hereText[PATH_MAX] = {};
    char outside[PATH_MAX];
    NormalPath here;
    char* next;
    int links = 0;
};

} // namespace

std::size_t ResolveLinks(const Names& names, char* path, Follow follow) {
    // Not on the stack, which may be small in a thread.
    const Kernel::Memory memory(sizeof(Walk));
    if (!memory.IsThere())
        return 0;
    auto& walk = *new (memory.As<char>()) Walk(names, path);
    return walk.GoOn(follow) ? walk.Finish(path) : 0;
}

} // namespace VelrixBoard::Preload
