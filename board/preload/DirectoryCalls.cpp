// SPDX-License-Identifier: Apache-2.0
// Hooks that read directories: opendir, scandir, glob, ftw and fts.
#include <cstring>

#include <dirent.h>
#include <fts.h>
#include <ftw.h>
#include <glob.h>
#include <sys/stat.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/ValueFiles.h"

namespace VelrixBoard::Preload {

namespace {

using Filter = int(const dirent*);
using Order = int(const dirent**, const dirent**);
using GlobError = int(const char*, int);
using Visit = int(const char*, const struct stat*, int);
using VisitNew = int(const char*, const struct stat*, int, FTW*);
using OrderEntries = int(const FTSENT**, const FTSENT**);

constinit Next<DIR*(const char*)> nextOpendir{"opendir"};
constinit Next<dirent*(DIR*)> nextReaddir{"readdir"};
constinit Next<int(DIR*)> nextClosedir{"closedir"};
constinit Next<int(const char*, dirent***, Filter*, Order*)> nextScandir{"scandir"};
constinit Next<int(const char*, int, GlobError*, glob_t*)> nextGlob{"glob"};
constinit Next<int(const char*, VisitNew*, int, int)> nextNftw{"nftw"};
constinit Next<FTS*(char* const*, int, OrderEntries*)> nextFtsOpen{"fts_open"};

DIR* OpenDirectory(const char* path) {
    return WithPath(path, Follow::YES, [](const Path& led) { return nextOpendir(led.Text()); });
}

// Callbacks for GLOB_ALTDIRFUNC.
void* OpenForGlob(const char* path) {
    return OpenDirectory(path);
}
dirent* ReadForGlob(void* directory) {
    return nextReaddir(static_cast<DIR*>(directory));
}
void CloseForGlob(void* directory) {
    nextClosedir(static_cast<DIR*>(directory));
}

// This thread's current ftw or nftw: the C library walks outside names, the program's callback gets inside names.
struct Walk {
    Visit* visit;
    VisitNew* visitNew;
};
__thread Walk walk __attribute__((tls_model("initial-exec")));

int VisitInside(const char* path, const struct stat* status, int type, FTW* place) {
    const Names* const names = Names::Current();
    char inside[PATH_MAX];
    const std::size_t length = std::strlen(path);
    FTW placeInside = *place;
    struct stat statusInside = *status;
    if (names != nullptr && length < sizeof inside) {
        std::memcpy(inside, path, length + 1);
        const std::size_t insideLength = names->ToInside(inside, length, sizeof inside);
        if (insideLength != 0) {
            const Place at = names->Find(inside, insideLength);
            if (at.value != nullptr && type == FTW_F)
                ValueFiles::Adjust(*names, *at.value, statusInside);
            placeInside.base += static_cast<int>(insideLength) - static_cast<int>(length);
            path = inside;
        }
    }
    const Walk current = walk;
    const int result = current.visitNew != nullptr ? current.visitNew(path, &statusInside, type, &placeInside)
                                                   : current.visit(path, &statusInside, type);
    walk = current; // replaced by a nested walk in the callback
    return result;
}

int GoOnWalk(const char* path, const Walk& next, int descriptors, int flags) {
    const Walk before = walk;
    const int result = WithPath(path, Follow::YES, [&](const Path& led) {
        walk = next;
        return nextNftw(led.Text(), VisitInside, descriptors, flags);
    });
    walk = before;
    return result;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(DIR*, opendir, const char* path) {
    return OpenDirectory(path);
}

VELRIX_PRELOADED(int, scandir, const char* path, dirent*** entries, Filter* filter, Order* order) {
    return WithPath(path, Follow::YES,
                    [=](const Path& led) { return nextScandir(led.Text(), entries, filter, order); });
}
VELRIX_PRELOADED_ALIAS(scandir, scandir64);

VELRIX_PRELOADED(int, glob, const char* pattern, int flags, GlobError* onError, glob_t* found) {
    if (Names::Current() == nullptr || (flags & GLOB_ALTDIRFUNC) != 0)
        return nextGlob(pattern, flags, onError, found);
    found->gl_opendir = OpenForGlob;
    found->gl_readdir = ReadForGlob;
    found->gl_closedir = CloseForGlob;
    found->gl_stat = [](const char* path, struct stat* status) { return ::stat(path, status); };
    found->gl_lstat = [](const char* path, struct stat* status) { return ::lstat(path, status); };
    const int result = nextGlob(pattern, flags | GLOB_ALTDIRFUNC, onError, found);
    found->gl_flags &= ~GLOB_ALTDIRFUNC;
    return result;
}
VELRIX_PRELOADED_ALIAS(glob, glob64);

VELRIX_PRELOADED(int, ftw, const char* path, Visit* visit, int descriptors) {
    return GoOnWalk(path, {visit, nullptr}, descriptors, 0);
}
VELRIX_PRELOADED_ALIAS(ftw, ftw64);

VELRIX_PRELOADED(int, nftw, const char* path, VisitNew* visit, int descriptors, int flags) {
    return GoOnWalk(path, {nullptr, visit}, descriptors, flags);
}
VELRIX_PRELOADED_ALIAS(nftw, nftw64);

// The entries have outside paths.
VELRIX_PRELOADED(FTS*, fts_open, char* const* paths, int options, OrderEntries* order) {
    constexpr std::size_t MOST = 16;
    std::size_t count = 0;
    while (count <= MOST && paths[count] != nullptr)
        ++count;
    if (count > MOST || Names::Current() == nullptr)
        return nextFtsOpen(paths, options, order);
    const Kernel::Memory memory(MOST * PATH_MAX);
    char* led[MOST + 1] = {};
    for (std::size_t i = 0; i < count; ++i) {
        const Path path(AT_FDCWD, paths[i], Follow::YES);
        char* const text = memory.As<char>() + i * PATH_MAX;
        const bool isLed = memory.IsThere() && path.IsOnList();
        led[i] = isLed ? std::strcpy(text, path.Text()) : paths[i];
    }
    return nextFtsOpen(led, options, order);
}
VELRIX_PRELOADED_ALIAS(fts_open, fts64_open);
