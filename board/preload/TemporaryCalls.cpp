// SPDX-License-Identifier: Apache-2.0
// Hooks for mkstemp and its variants, which write the name into the caller's template.
#include <cstring>

#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(char*, int, int)> nextMkostemps{"mkostemps"};
constinit Next<char*(char*)> nextMkdtemp{"mkdtemp"};

constexpr std::size_t RANDOM = 6; // the XXXXXX

// Calls make with the redirected template, and copies the random part into the program's template.
template <class Make>
int MakeTemporary(char* pattern, std::size_t suffix, int treeError, Make make) {
    const Path led(AT_FDCWD, pattern, Follow::NO);
    if (!led.IsOnList())
        return make(pattern);
    if (led.IsInTree())
        return Fail(led.ErrorOfMaking(treeError));
    char text[PATH_MAX];
    std::strcpy(text, led.Text());
    const int result = make(text);
    const std::size_t length = std::strlen(pattern), ledLength = std::strlen(text), tail = RANDOM + suffix;
    if (tail <= length && tail <= ledLength)
        std::memcpy(pattern + length - tail, text + ledLength - tail, RANDOM);
    return result;
}

int MakeFile(char* pattern, int suffix, int flags) {
    const std::size_t size = suffix > 0 ? static_cast<std::size_t>(suffix) : 0;
    return MakeTemporary(pattern, size, EACCES, [=](char* text) { return nextMkostemps(text, suffix, flags); });
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, mkstemp, char* pattern) {
    return MakeFile(pattern, 0, 0);
}
VELRIX_PRELOADED_ALIAS(mkstemp, mkstemp64);

VELRIX_PRELOADED(int, mkostemp, char* pattern, int flags) {
    return MakeFile(pattern, 0, flags);
}
VELRIX_PRELOADED_ALIAS(mkostemp, mkostemp64);

VELRIX_PRELOADED(int, mkstemps, char* pattern, int suffix) {
    return MakeFile(pattern, suffix, 0);
}
VELRIX_PRELOADED_ALIAS(mkstemps, mkstemps64);

VELRIX_PRELOADED(int, mkostemps, char* pattern, int suffix, int flags) {
    return MakeFile(pattern, suffix, flags);
}
VELRIX_PRELOADED_ALIAS(mkostemps, mkostemps64);

VELRIX_PRELOADED(char*, mkdtemp, char* pattern) {
    const int made = MakeTemporary(pattern, 0, EPERM, [](char* text) { return nextMkdtemp(text) != nullptr ? 0 : -1; });
    return made == 0 ? pattern : nullptr;
}
