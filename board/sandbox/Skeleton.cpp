// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Skeleton.h"

#include <cerrno>
#include <set>
#include <system_error>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"
#include "board/base/Refusal.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// A recursive bind mount: the kernel does not bind a tree without its inherited submounts.
bool Bind(const fs::path& source, const fs::path& target) {
    return ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// Binds an entry of the machine in the skeleton. Skips one that cannot be bound, such as a stale network mount or a
// file just removed; running out of mounts is an error, since half of the machine would be missing.
void BindEntry(const fs::directory_entry& entry, const fs::path& target) {
    std::error_code error;
    if (entry.is_symlink(error)) {
        fs::copy_symlink(entry.path(), target, error);
        return;
    }
    const bool directory = entry.is_directory(error);
    if (directory)
        fs::create_directory(target, error);
    else
        MakeFile(target);
    if (Bind(entry.path(), target))
        return;
    if (errno == ENOMEM || errno == ENOSPC)
        ThrowSystemError("cannot show " + entry.path().string() + " on the board (fs.mount-max bounds the mounts)");
    fs::remove(target, error);
}

void Put(const Placement& placement, const fs::path& target) {
    if (placement.kind == Placement::Kind::COPY)
        return CopyToBoard(placement.outside, target);
    std::error_code error;
    if (fs::is_directory(placement.outside, error))
        fs::create_directory(target, error);
    else
        MakeFile(target);
    if (!Bind(placement.outside, target))
        ThrowSystemError("cannot put " + placement.outside.string() + " in place of " + placement.inside.string());
}

// The target of a name: the covered directory and the name in it.
struct Place {
    fs::path covered;
    fs::path rest;

    fs::path Whole() const { return covered / rest; }
};

// Covers the deepest existing directory, by its canonical path, so that aliases of a directory are covered once.
Place FindPlace(const fs::path& name) {
    std::error_code error;
    fs::path directory = name.parent_path();
    fs::path rest = name.filename();
    while (!fs::is_directory(directory, error)) {
        rest = directory.filename() / rest;
        directory = directory.parent_path();
    }
    return {fs::canonical(directory), rest};
}

// The target of each name. A name inside of another one goes into that one's placement, which hides the machine's
// directory.
std::vector<Place> FindPlaces(const std::vector<Placement>& placements) {
    std::vector<Place> places;
    for (const Placement& placement : placements)
        places.push_back(FindPlace(placement.inside.lexically_normal()));
    std::vector<Place> result = places;
    for (Place& place : result)
        for (const Place& outer : places)
            if (IsIn(place.covered, outer.Whole()))
                place = {outer.covered, place.Whole().lexically_relative(outer.covered)};
    return result;
}

// Mounting over the root directory does not change the processes' root. pivot_root works except on the initramfs, which
// small machines keep as root; there move the new one over it and chroot.
bool EnterNewRoot() {
    if (::syscall(SYS_pivot_root, ".", ".") == 0)
        return ::umount2(".", MNT_DETACH) == 0;
    return errno == EINVAL && ::mount(".", "/", nullptr, MS_MOVE, nullptr) == 0 && ::chroot(".") == 0;
}

void ExchangeRoot(const fs::path& skeleton) {
    if (::chdir(skeleton.c_str()) != 0 || !EnterNewRoot() || ::chdir("/") != 0)
        ThrowSystemError("cannot exchange the root directory");
}

} // namespace

void Skeleton::Mount(const std::vector<Placement>& placements) {
    if (::mount("velrix-board", stage.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0)
        throw BoardError(DescribeRefusal("mounting a directory in memory", errno, ::geteuid()));

    std::map<fs::path, Names> covers; // sorted, so that outer directories are mounted first
    const std::vector<Place> places = FindPlaces(placements);
    for (std::size_t i = 0; i < places.size(); ++i)
        covers[places[i].covered].insert_or_assign(places[i].rest, placements[i]);

    // Builds all from the machine's directories before covering the first one; the root last, since it binds the others
    // from the stage.
    int number = 0;
    std::vector<std::pair<fs::path, fs::path>> mounts;
    for (const auto& [covered, names] : covers)
        mounts.emplace_back(covered, stage / std::to_string(number++));
    for (auto mount = mounts.rbegin(); mount != mounts.rend(); ++mount)
        Build(mount->first, mount->second, covers[mount->first]);

    for (const auto& [covered, skeleton] : mounts) {
        if (covered == "/")
            ExchangeRoot(skeleton);
        else if (!Bind(skeleton, covered))
            ThrowSystemError("cannot cover " + covered.string());
    }
    // The bind mounts stay; the stage is not needed any more.
    ::umount2(stage.c_str(), MNT_DETACH);
}

void Skeleton::Build(const fs::path& covered, const fs::path& skeleton, const Names& names) const {
    struct stat status {};
    if (::stat(covered.c_str(), &status) != 0 || ::mkdir(skeleton.c_str(), 0700) != 0)
        ThrowSystemError("cannot build a skeleton of " + covered.string());
    if (covered == "/" && !Bind(skeleton, skeleton))
        ThrowSystemError("cannot build a new root directory");

    std::set<fs::path> own;
    for (const auto& [name, placement] : names)
        own.insert(*name.begin());
    std::error_code error;
    fs::directory_iterator entries(covered, error);
    if (error)
        throw BoardError("cannot read " + covered.string() + ": " + error.message());
    for (const fs::directory_entry& entry : entries)
        if (own.count(entry.path().filename()) == 0)
            BindEntry(entry, skeleton / entry.path().filename());

    for (const auto& [name, placement] : names) {
        if (placement.kind == Placement::Kind::ABSENT)
            continue;
        fs::create_directories((skeleton / name).parent_path(), error);
        Put(placement, skeleton / name);
    }
    ::chmod(skeleton.c_str(), status.st_mode & 07777);
}

} // namespace VelrixBoard
