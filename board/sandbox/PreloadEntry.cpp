// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/PreloadEntry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <dlfcn.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/sandbox/NameList.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

constexpr const char* PRELOAD_VARIABLE = "LD_PRELOAD";

// The board needs a descriptor for each value file that its programs have open, and two for each of their waiting
// threads.
constexpr rlim_t MOST_DESCRIPTORS = 65536;

void WriteFile(const fs::path& path, std::string_view content, fs::perms mode) {
    std::ofstream stream(path, std::ios::binary);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream)
        ThrowSystemError("cannot write " + path.string());
    std::error_code error;
    fs::permissions(path, mode, error);
}

// The dynamic loader splits LD_PRELOAD at blanks and colons.
void RequireLoadable(const fs::path& directory) {
    constexpr const char* REMEDY = "; name another directory with --directory or TMPDIR";
    if (directory.string().find_first_of(" :") != std::string::npos)
        throw BoardError("the board preloads a library from " + directory.string() +
                         ", which may have no blank and no colon in it then" + REMEDY);
    struct statvfs status {};
    if (::statvfs(directory.c_str(), &status) == 0 && (status.f_flag & ST_NOEXEC) != 0)
        throw BoardError("the board preloads a library from " + directory.string() +
                         ", where nothing may be executed (noexec)" + REMEDY);
}

// LD_PRELOAD with this board's library first. A nested board drops the outer one's.
std::string WithLibrary(const fs::path& library, const char* others) {
    std::string all = library.string(), word;
    std::istringstream words(others != nullptr ? others : "");
    while (std::getline(words, word, ':'))
        if (!word.empty() && fs::path(word).filename() != library.filename())
            all += ":" + word;
    return all;
}

// In the program's process.
Execute BeginProgram(const fs::path& list, const fs::path& library, const rlimit& descriptors) {
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    ::setenv(Preload::LIST_VARIABLE, list.c_str(), 1);
    ::setenv(PRELOAD_VARIABLE, WithLibrary(library, std::getenv(PRELOAD_VARIABLE)).c_str(), 1);
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
    RequireLoadable(layout.Root());
    const NameListSource source{files.Name(), placements, layout.Files(), layout.Device(), isRoot};
    WriteFile(list, MakeNameList(source, state, values), fs::perms(0644));
    WriteFile(library, PreloadLibrary(), fs::perms(0755));
    InitPlan plan;
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
