// SPDX-License-Identifier: Apache-2.0
// Steps with paths: every call that takes one.
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <fts.h>
#include <ftw.h>
#include <glob.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utime.h>

#include "tests/preload/StandInBoard.h"
#include "tests/preload/Steps.h"

namespace VelrixBoard::Preload {

namespace {

constexpr const char* OUTPUT = StandInBoard::OUTPUT_PATH;
constexpr const char* INPUT = StandInBoard::INPUT_PATH;
constexpr const char* FOLDER = "/var/dev/gpio-outputs/oxboResetN";

std::string Closed(int descriptor) {
    const std::string result = descriptor < 0 ? Of(-1) : "open";
    if (descriptor >= 0)
        ::close(descriptor);
    return result;
}

std::string Closed(FILE* stream) {
    const std::string result = Of(static_cast<const void*>(stream));
    if (stream != nullptr)
        std::fclose(stream);
    return result;
}

// The text, which the call allocated.
std::string Freed(char* text) {
    const std::string result = Of(static_cast<const char*>(text));
    std::free(text);
    return result;
}

std::string ReadFile(const char* path) {
    std::array<char, 64> text{};
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t size = file < 0 ? -1 : ::read(file, text.data(), text.size() - 1);
    const std::string result = size < 0 ? Of(-1) : std::string(text.data(), static_cast<std::size_t>(size));
    if (file >= 0)
        ::close(file);
    return result;
}

void WriteFile(const char* path, const char* text) {
    const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    (void)!::write(file, text, std::strlen(text));
    ::close(file);
}

// Every way to open a file in a directory of the board; each writes its own text and reads it back.
void OpenEveryWay(const std::string&) {
    const char* path = "/mnt/share/file";
    Print({Closed(::open(path, O_RDONLY)), Closed(::open(path, O_RDWR | O_CREAT, 0600)),
           Closed(::open64(path, O_RDONLY)), Closed(::creat(path, 0600)), Closed(::creat64(path, 0600))});
    const int folder = ::open("/mnt", O_PATH | O_DIRECTORY);
    Print({Closed(::openat(AT_FDCWD, path, O_RDONLY)), Closed(::openat64(folder, "share/file", O_RDONLY)),
           Closed(::openat(folder, "share/none", O_RDONLY))});
    Print({Closed(std::fopen(path, "r")), Closed(std::fopen("/mnt/share/none", "r")), Closed(::fopen64(path, "a")),
           Closed(std::freopen(path, "w", std::fopen("/dev/null", "r")))});
    WriteFile(path, "content");
    Print({ReadFile("/mnt/share/./x/..//file"), ReadFile("/media/share/file")});
}

std::string Kind(int result, const struct stat& status) {
    if (result < 0)
        return Of(result);
    return S_ISDIR(status.st_mode) ? "directory" : S_ISLNK(status.st_mode) ? "link" : "file";
}

void AskForStatus(const std::string&) {
    WriteFile("/mnt/share/file", "12345");
    std::array<std::string, 6> results;
    struct stat status {};
    results[0] = Kind(::stat("/mnt/share", &status), status);
    results[1] = Kind(::lstat("/mnt/share/file", &status), status);
    results[5] = std::to_string(status.st_size);
    results[2] = Kind(::fstatat(AT_FDCWD, "/mnt/share/file", &status, 0), status);
    results[3] = Kind(::stat("/mnt/share/none", &status), status);
    struct statx more {};
    results[4] = Of(::statx(AT_FDCWD, "/mnt/share/file", 0, STATX_SIZE, &more));
    Print({results[0], results[1], results[5], results[2], results[3], results[4], std::to_string(more.stx_size)});
    Print({Of(::access("/mnt/share/file", R_OK)), Of(::faccessat(AT_FDCWD, "/mnt/share/none", F_OK, 0)),
           Of(::euidaccess("/mnt/share/file", W_OK)), Of(::eaccess("/mnt/share", X_OK))});
    struct statfs system {};
    struct statvfs view {};
    Print({Of(::statfs("/mnt/share", &system)), Of(::statvfs("/mnt/share", &view)),
           Of(::pathconf("/mnt/share", _PC_NAME_MAX))});
}

// The status of value files equals the device's, by all variants of stat.
void AskForValueStatus(const std::string&) {
    const auto print = [](const struct stat& status) {
        std::array<char, 80> text{};
        std::snprintf(text.data(), text.size(), "%o %ld %ld %d", status.st_mode, static_cast<long>(status.st_size),
                      static_cast<long>(status.st_blksize), status.st_uid == ::geteuid());
        Print({text.data()});
    };
    struct stat status {};
    (void)::stat(OUTPUT, &status);
    print(status);
    (void)::lstat(INPUT, &status);
    print(status);
    const int file = ::open(OUTPUT, O_RDONLY | O_CLOEXEC);
    status = {};
    (void)::fstat(file, &status);
    print(status);
    status = {};
    (void)::fstatat(file, "", &status, AT_EMPTY_PATH);
    print(status);
    struct statx more {};
    (void)::statx(file, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &more);
    Print({std::to_string(more.stx_mode == 0100644), std::to_string(more.stx_size)});
    more = {};
    (void)::statx(AT_FDCWD, INPUT, 0, STATX_BASIC_STATS, &more);
    Print({std::to_string(more.stx_mode == 0100444), std::to_string(more.stx_size)});
    Print({Of(::access(OUTPUT, R_OK | W_OK)), Of(::access(OUTPUT, X_OK)), Of(::access(INPUT, R_OK)),
           Of(::access("/var/dev/none", F_OK))});
}

// Creating, removing and renaming in a directory of the board.
void Change(const std::string&) {
    WriteFile("/mnt/share/a", "a");
    Print({Of(::mkdir("/mnt/share/d", 0755)), Of(::mkdirat(AT_FDCWD, "/mnt/share/d", 0755)),
           Of(::rename("/mnt/share/a", "/mnt/share/d/b")), Of(::link("/mnt/share/d/b", "/mnt/share/c")),
           Of(::symlink("d/b", "/mnt/share/s")), Of(::mkfifo("/mnt/share/p", 0600)),
           Of(::mknod("/mnt/share/n", S_IFREG | 0600, 0)), Of(::truncate("/mnt/share/c", 0)),
           Of(::chmod("/mnt/share/c", 0640)),
           Of(::lchown("/mnt/share/s", static_cast<uid_t>(-1), static_cast<gid_t>(-1)))});
    const timeval times[] = {{1, 0}, {2, 0}};
    const timespec moreTimes[] = {{3, 0}, {4, 0}};
    const utimbuf oldTimes = {5, 6};
    struct stat status {};
    Print({Of(::utimes("/mnt/share/c", times)), Of(::lutimes("/mnt/share/s", times)),
           Of(::futimesat(AT_FDCWD, "/mnt/share/n", times)), Of(::utimensat(AT_FDCWD, "/mnt/share/p", moreTimes, 0)),
           Of(::utime("/mnt/share/d/b", &oldTimes)), Of(::stat("/mnt/share/c", &status)),
           std::to_string(status.st_mtime)});
    const int watch = ::inotify_init1(IN_CLOEXEC);
    Print({Of(::inotify_add_watch(watch, "/mnt/share", IN_CREATE)),
           Of(::inotify_add_watch(watch, "/mnt/share/none", IN_CREATE))});
    Print({Of(::unlink("/mnt/share/p")), Of(std::remove("/mnt/share/n")), Of(::rmdir("/mnt/share/d")),
           Of(::unlinkat(AT_FDCWD, "/mnt/share/none", 0)), Of(::rmdir("/mnt/share"))});
}

// Operations that the device's kernel rejects on value files and in their directories.
void ChangeValueFiles(const std::string& folder) {
    const char* none = "/var/dev/none";
    Print({Of(::open(OUTPUT, O_WRONLY | O_CREAT | O_EXCL, 0600)), Of(::open(OUTPUT, O_RDONLY | O_DIRECTORY)),
           Of(::open((std::string(OUTPUT) + "/").c_str(), O_RDONLY)),
           Of(::open((std::string(OUTPUT) + "/x").c_str(), O_WRONLY | O_CREAT, 0600)),
           Of(::open(none, O_WRONLY | O_CREAT, 0600)), Of(::open("/var/dev/none/x", O_WRONLY | O_CREAT, 0600)),
           Of(::open(FOLDER, O_WRONLY | O_CREAT, 0600)), Of(::open("/var/dev", O_RDWR | O_TMPFILE, 0600)),
           Of(::open(none, O_RDONLY)), Of(::open(INPUT, O_WRONLY))});
    Print({Of(::mkdir(none, 0755)), Of(::mkdir(FOLDER, 0755)), Of(::mkdir("/var/dev/none/x", 0755)),
           Of(::mknod(none, S_IFREG | 0600, 0)), Of(::mkfifo(OUTPUT, 0600)), Of(::symlink("x", none)),
           Of(::link(OUTPUT, none)), Of(::link(OUTPUT, "/mnt/share/x"))});
    Print({Of(::unlink(OUTPUT)), Of(::unlink(FOLDER)), Of(::rmdir(OUTPUT)), Of(::rmdir(FOLDER)),
           Of(::rmdir("/var/dev")), Of(std::remove(OUTPUT)), Of(::unlink(none))});
    WriteFile("/mnt/share/y", "y");
    Print({Of(::rename(OUTPUT, INPUT)), Of(::rename(OUTPUT, "/mnt/share/x")), Of(::rename("/mnt/share/y", none)),
           Of(::rename("/mnt/share/y", OUTPUT)), Of(::rename(none, OUTPUT)), Of(::rename(OUTPUT, OUTPUT)),
           Of(::rename("/var/dev", "/mnt/share/v")), Of(::rename("/mnt/share", (folder + "/moved").c_str()))});
    Print({Of(::chmod(OUTPUT, 0600)), Of(::chmod(FOLDER, 0700)), Of(::chmod(none, 0600)), Of(::chown(OUTPUT, 0, 0)),
           Of(::chown(OUTPUT, static_cast<uid_t>(-1), static_cast<gid_t>(-1))), Of(::truncate(OUTPUT, 0)),
           Of(::truncate(OUTPUT, -1)), Of(::utime(OUTPUT, nullptr))});
    char pattern[] = "/var/dev/fileXXXXXX";
    char directory[] = "/var/dev/folderXXXXXX";
    Print({Of(::mkstemp(pattern)), Of(static_cast<const void*>(::mkdtemp(directory)))});
}

// Names of temporary files and directories are inside names.
void MakeTemporary(const std::string&) {
    char file[] = "/mnt/share/fileXXXXXX", suffixed[] = "/mnt/share/XXXXXX.txt", folder[] = "/mnt/share/folderXXXXXX";
    Print({Closed(::mkstemp(file)), Closed(::mkstemps(suffixed, 4)), Of(static_cast<const void*>(::mkdtemp(folder)))});
    Print({Of(::access(file, F_OK)), Of(::access(suffixed, F_OK)), Of(::access(folder, F_OK)),
           std::strncmp(file, "/mnt/share/file", 15) == 0 ? "inside" : file,
           std::strcmp(suffixed + std::strlen(suffixed) - 4, ".txt") == 0 ? "suffixed" : suffixed});
}

std::string Names(DIR* directory) {
    if (directory == nullptr)
        return Of(-1);
    std::string names;
    while (const dirent* entry = ::readdir(directory))
        if (entry->d_name[0] != '.')
            names += entry->d_name;
    ::closedir(directory);
    return names;
}

std::string Globbed(const char* pattern, int flags) {
    glob_t found{};
    const int result = ::glob(pattern, flags, nullptr, &found);
    std::string names = result != 0 ? std::to_string(result) : "";
    for (std::size_t i = 0; result == 0 && i < found.gl_pathc; ++i)
        names += std::string(i == 0 ? "" : ",") + found.gl_pathv[i];
    ::globfree(&found);
    return names;
}

std::string walked;

void ReadDirectories(const std::string&) {
    WriteFile("/mnt/share/a", "");
    Print({Names(::opendir("/mnt/share")), Names(::opendir(FOLDER)), Names(::opendir("/mnt/share/none"))});
    dirent** entries = nullptr;
    const int count = ::scandir("/mnt/share", &entries, nullptr, ::alphasort);
    Print({Of(count), count > 2 ? entries[2]->d_name : ""});
    for (int i = 0; i < count; ++i)
        std::free(entries[i]);
    std::free(entries);
    Print({Globbed("/var/dev/*/*/value", 0), Globbed("/mnt/*/nothing", 0), Globbed("/mnt/share/*", GLOB_MARK)});
    (void)::ftw(
        "/sys/class/leds",
        [](const char* path, const struct stat* status, int type) {
            if (type == FTW_F)
                walked += std::string(path) + "=" + std::to_string(status->st_size);
            return 0;
        },
        8);
    (void)::nftw(
        "/mnt/share",
        [](const char* path, const struct stat*, int, FTW* place) {
            walked += std::string(" ") + (path + place->base);
            return 0;
        },
        8, FTW_PHYS);
    Print({walked});
    char root[] = "/mnt/share";
    char* roots[] = {root, nullptr};
    FTS* const tree = ::fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, nullptr);
    std::string names;
    while (const FTSENT* entry = ::fts_read(tree))
        names += entry->fts_info == FTS_F ? entry->fts_name : "";
    ::fts_close(tree);
    Print({names});
}

// Relative paths from a directory of the machine, from one of the board's, and by descriptors.
void GoElsewhere(const std::string&) {
    WriteFile("/mnt/share/file", "content");
    Print({Of(::chdir("/mnt")), ReadFile("share/file"), Of(::chdir("share")), ReadFile("file"),
           ReadFile("../share/file")});
    std::array<char, PATH_MAX> path{};
    Print({Of(static_cast<const char*>(::getcwd(path.data(), path.size()))), Freed(::getcwd(nullptr, 0)),
           Freed(::get_current_dir_name()), Of(static_cast<const void*>(::getcwd(path.data(), 5))),
           Freed(::realpath("file", nullptr))});
    Print({Of(::chdir("..")), Of(static_cast<const char*>(::getcwd(path.data(), path.size())))});
    Print({Of(::chdir("/var/dev/gpio-outputs/oxboResetN")), ReadFile("value")});
    const int folder = ::open("/var/dev/gpio-outputs", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int file = ::openat(folder, "oxboResetN/value", O_WRONLY | O_CLOEXEC);
    Print({Of(::write(file, "1", 1)), Of(::mkdirat(folder, "x", 0755)), Of(::unlinkat(folder, "../none", 0)),
           ReadFile(OUTPUT)});
    Print({Of(::fchdir(folder)), ReadFile("../gpio-inputs/oxboMod1/value")});
}

std::string Link(const std::string& path) {
    std::array<char, PATH_MAX> text{};
    const ssize_t size = ::readlink(path.c_str(), text.data(), text.size() - 1);
    return size < 0 ? Of(size) : std::string(text.data(), static_cast<std::size_t>(size));
}

// The user's symbolic links onto the board, and the kernel's links to the board's files.
void FollowLinks(const std::string& folder) {
    (void)::symlink(OUTPUT, (folder + "/led").c_str());
    (void)::symlink("/mnt/share", (folder + "/share").c_str());
    (void)::symlink("/mnt/share/inner", "/mnt/share/outer");
    (void)::symlink("loop", (folder + "/loop").c_str());
    WriteFile("/mnt/share/inner", "inner");
    Print({ReadFile((folder + "/led").c_str()), ReadFile((folder + "/share/inner").c_str()),
           ReadFile("/mnt/share/outer"), ReadFile((folder + "/loop").c_str()),
           Closed(::open((folder + "/led").c_str(), O_WRONLY | O_CREAT, 0600)),
           Link(folder + "/led") == OUTPUT ? "kept" : "changed"});
    Print({Freed(::realpath((folder + "/led").c_str(), nullptr)),
           Freed(::canonicalize_file_name("/mnt/share/../share/outer")),
           Freed(::realpath("/mnt/share/none", nullptr))});
    const int value = ::open(OUTPUT, O_RDONLY | O_CLOEXEC);
    const int file = ::open("/mnt/share/inner", O_RDONLY | O_CLOEXEC);
    (void)::chdir("/mnt/share");
    Print({Link("/proc/self/fd/" + std::to_string(value)), Link("/dev/fd/" + std::to_string(file)),
           Link("/proc/self/cwd")});
    Print({ReadFile(("/dev/fd/" + std::to_string(value)).c_str()),
           ReadFile(("/proc/self/fd/" + std::to_string(value)).c_str()),
           ReadFile(("/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(value)).c_str())});
}

// Errors of paths are the kernel's.
void UseOddPaths(const std::string&) {
    struct stat status {};
    const std::string name(NAME_MAX + 1, 'x');
    std::string path = "/mnt/share";
    while (path.size() < PATH_MAX)
        path += "/.";
    Print({Of(::open("", O_RDONLY)), Of(::stat(("/mnt/share/" + name).c_str(), &status)),
           Of(::stat(path.c_str(), &status)), Of(::chdir(OUTPUT)), Of(::openat(-1, "x", O_RDONLY)),
           Of(::open("/mnt/share/file/", O_WRONLY | O_CREAT, 0600)), Of(::stat("/mnt/share/", &status))});
}

void UseTheMachinesKernel(const std::string&) {
    constexpr const char* PARAMETER = "/proc/sys/kernel/hostname";
    Print({Closed(::open(PARAMETER, O_WRONLY)), Closed(::open(PARAMETER, O_RDONLY | O_TRUNC)),
           Closed(std::fopen(PARAMETER, "r+")), Closed(std::freopen(PARAMETER, "a", std::fopen("/dev/null", "r"))),
           Of(::truncate(PARAMETER, 0))});
    Print({Closed(::open(PARAMETER, O_RDONLY)), Closed(std::fopen(PARAMETER, "r")),
           Closed(std::freopen(PARAMETER, "r", std::fopen("/dev/null", "r")))});
}

} // namespace

std::vector<Step> PathSteps() {
    return {{"open every way", OpenEveryWay},
            {"ask for status", AskForStatus},
            {"value status", AskForValueStatus},
            {"change", Change},
            {"change value files", ChangeValueFiles},
            {"temporary", MakeTemporary},
            {"directories", ReadDirectories},
            {"elsewhere", GoElsewhere},
            {"links", FollowLinks},
            {"odd paths", UseOddPaths},
            {"the machine's kernel", UseTheMachinesKernel}};
}

} // namespace VelrixBoard::Preload
