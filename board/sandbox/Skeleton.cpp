// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Skeleton.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"
#include "board/base/Paths.h"
#include "board/base/Refusal.h"
#include "board/sandbox/Namespaces.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// Bound with everything mounted below it: the kernel refuses to bind a tree without the mounts it got from outside.
bool Bind(const fs::path& source, const fs::path& target) {
    return ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// An entry of the machine in the skeleton. One that cannot be bound, such as the mount point of a dead server or a file
// that has just gone, is left out; without memory for mounts the board would miss half of the machine, so that is an
// error.
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
    std::error_code error;
    switch (placement.kind) {
    case Placement::Kind::ABSENT:
        return;
    case Placement::Kind::COPY:
        fs::copy_file(placement.outside, target, fs::copy_options::overwrite_existing, error);
        if (error)
            throw BoardError("cannot copy " + placement.outside.string() + " to the board: " + error.message());
        fs::permissions(target, fs::perms(0644), error);
        return;
    default:
        if (fs::is_directory(placement.outside, error))
            fs::create_directory(target, error);
        else
            MakeFile(target);
        if (!Bind(placement.outside, target))
            ThrowSystemError("cannot put " + placement.outside.string() + " in place of " + placement.inside.string());
    }
}

// Where a name goes: into which directory that is covered for it, and under which name there.
struct Place {
    fs::path covered;
    fs::path rest;

    fs::path Whole() const { return covered / rest; }
};

// The directory that has to be covered is the deepest one that is there. Links in it are resolved, so that two ways to
// one directory cover it once.
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

// The place of each name. What lies inside of another name goes into what is put there: the machine's directory of that
// name, if there is one, is out of sight.
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

// The root directory cannot just be mounted over: it would stay the root of those who have it. The kernel exchanges
// every one but that which it unpacked at its own start, which small machines keep; there the new one is moved over it
// and entered.
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

    std::map<fs::path, Names> covers; // outer directories come first, and are mounted first
    const std::vector<Place> places = FindPlaces(placements);
    for (std::size_t i = 0; i < places.size(); ++i)
        covers[places[i].covered].insert_or_assign(places[i].rest, placements[i]);

    // All are built from the machine's directories before the first of them is covered; the root comes last, since it
    // takes in the others as they stand on the stage.
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
    // What was bound from here stays; the stage itself is in nobody's way any more.
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
        if (placement.kind != Placement::Kind::ABSENT)
            fs::create_directories((skeleton / name).parent_path(), error);
        Put(placement, skeleton / name);
    }
    ::chmod(skeleton.c_str(), status.st_mode & 07777);
}

} // namespace VelrixBoard
