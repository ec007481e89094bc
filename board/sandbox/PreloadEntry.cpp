// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/PreloadEntry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/sandbox/NameList.h"
#include "board/sandbox/PreloadLibrary.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// The board needs a descriptor for each value file that its programs have open, and two for each of their waiting
// threads.
constexpr rlim_t MOST_DESCRIPTORS = 65536;

// In the program's process.
Execute BeginProgram(const fs::path& list, const fs::path& library, const rlimit& descriptors) {
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    ::setenv(Preload::LIST_VARIABLE, list.c_str(), 1);
    PreloadInto(library);
    // Executes by the library, which finds the board's programs and rejects those that it cannot serve. It is loaded
    // already when this process was preloaded itself.
    void* begin = ::dlsym(RTLD_DEFAULT, Preload::BEGIN_FUNCTION);
    void* loaded = begin == nullptr ? ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL) : RTLD_DEFAULT;
    if (begin != nullptr)
        reinterpret_cast<void (*)()>(begin)();
    void* execute = begin != nullptr || loaded != nullptr ? ::dlsym(loaded, "execvp") : nullptr;
    if (execute == nullptr) {
        std::fprintf(stderr, "velrix-board: cannot load %s: %s\n", library.c_str(), ::dlerror());
        ::_exit(126);
    }
    return reinterpret_cast<int (*)(const char*, char* const[])>(execute);
}

// A value file may be inside one of the board's directories.
fs::path PlaceOfName(const BoardLayout& layout, const fs::path& inside) {
    return BoardLayout::IsInDirectories(inside) ? layout.Outside(inside) : layout.Device() / inside.relative_path();
}

} // namespace

PreloadEntry::PreloadEntry(BoardState& boardState, ValueFiles& valueFiles, BoardLayout boardLayout, bool asRoot,
                           PreloadFiles::Action beforeRequest, PreloadFiles::RebootAction onReboot)
    : state(boardState), values(valueFiles), layout(std::move(boardLayout)), isRoot(asRoot),
      files(
          boardState, valueFiles, [this](const fs::path& inside) { return PlaceOfName(layout, inside); },
          std::move(beforeRequest), std::move(onReboot)) {
    boardState.Add(files);
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    rlimit more = descriptors;
    more.rlim_cur = std::max(more.rlim_cur, std::min(more.rlim_max, MOST_DESCRIPTORS));
    ::setrlimit(RLIMIT_NOFILE, &more);
}

PreloadEntry::~PreloadEntry() {
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
}

bool PreloadEntry::IsOnSuchABoard() {
    return std::getenv(Preload::LIST_VARIABLE) != nullptr;
}

InitPlan PreloadEntry::Plan(const std::vector<Placement>& placements) {
    const fs::path list = fs::absolute(layout.NameList()), library = fs::absolute(layout.PreloadLibrary());
    const NameListSource source{files.Name(), placements, layout.Files(), layout.Device(), isRoot};
    WriteFile(list, MakeNameList(source, state, values), fs::perms(0644));
    WriteLibrary(library);
    InitPlan plan;
    plan.preloadsLibrary = true;
    plan.hasOwnNumbers = false;
    plan.beginProgram = [list, library, limit = descriptors] { return BeginProgram(list, library, limit); };
    return plan;
}

pid_t PreloadEntry::Fork() {
    const pid_t process = ::fork();
    if (process < 0)
        ThrowSystemError("cannot start the board's first process");
    return process;
}

} // namespace VelrixBoard
