// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/NameList.h"

#include <algorithm>
#include <map>
#include <set>
#include <system_error>

#include "board/base/BoardError.h"
#include "board/base/BoardLayout.h"
#include "board/base/Paths.h"
#include "board/preload/Protocol.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// Path without the suffix rest; nothing if it does not end with it.
fs::path WithoutEnd(fs::path path, fs::path rest) {
    for (; !rest.empty(); path = path.parent_path(), rest = rest.parent_path())
        if (path.filename() != rest.filename())
            return {};
    return path;
}

// The outermost missing directory of the path; empty when all exist.
fs::path FirstMissing(const fs::path& path) {
    fs::path missing;
    std::error_code error;
    for (fs::path directory = path.parent_path(); directory.has_relative_path(); directory = directory.parent_path())
        if (!fs::exists(directory, error))
            missing = directory;
    return missing;
}

class Maker final {
public:
    Maker(const NameListSource& listSource, const BoardState& boardState, const ValueFiles& valueFiles)
        : source(listSource), state(boardState), values(valueFiles) {}

    std::string Make() {
        for (const Placement& placement : source.placements)
            if (!IsInOwnDirectory(placement))
                AddName(placement.inside.lexically_normal(), PutOutside(placement),
                        placement.kind == Placement::Kind::BIND);
        std::string text = Line({Preload::List::SOCKET, source.socket});
        if (source.asRoot)
            text += Line({Preload::List::ROOT});
        for (const auto& [inside, outside] : names)
            text += Line({mounts.count(inside) != 0 ? Preload::List::MOUNT : Preload::List::NAME, inside.string(),
                          outside.string()});
        for (const auto& [inside, outside] : covers)
            text += Line({Preload::List::COVER, inside.string(), outside.string()});
        return text + Trees() + Values();
    }

private:
    static std::string Line(const std::vector<std::string>& fields) {
        std::string line;
        for (const std::string& field : fields) {
            if (field.find_first_of("\t\n") != std::string::npos)
                throw BoardError("the path \"" + field +
                                 "\" has a tab or a line feed in it, which a board that runs "
                                 "without namespaces cannot have");
            line += (line.empty() ? "" : "\t") + field;
        }
        return line + "\n";
    }

    // A value file in a directory that belongs to the board.
    bool IsInOwnDirectory(const Placement& placement) const {
        return IsIn(placement.outside, source.device) && BoardLayout::IsInDirectories(placement.inside);
    }

    fs::path InFiles(const fs::path& inside) const { return source.files / inside.relative_path(); }

    // The path on the machine for the name.
    fs::path PutOutside(const Placement& placement) const {
        const fs::path own = InFiles(placement.inside.lexically_normal());
        const bool isBound = placement.kind == Placement::Kind::BIND;
        std::error_code error;
        // A link: some programs act by the name they are called by.
        const bool isLink =
            isBound && fs::is_regular_file(placement.outside, error) && placement.outside.filename() != own.filename();
        if (isBound && !isLink)
            return placement.outside;
        fs::create_directories(own.parent_path(), error);
        if (isLink)
            fs::create_symlink(placement.outside, own, error);
        if (placement.kind == Placement::Kind::COPY)
            CopyToBoard(placement.outside, own);
        return own;
    }

    // Also under the path's canonical name on the machine, and the missing parent directories.
    void AddName(const fs::path& inside, const fs::path& outside, bool isMount) {
        names.emplace(inside, outside);
        std::error_code error;
        const fs::path resolved = fs::weakly_canonical(inside.parent_path(), error) / inside.filename();
        if (!error)
            names.emplace(resolved, outside);
        if (isMount)
            mounts.insert({inside, resolved});
        const fs::path missing = FirstMissing(inside);
        AddCover((missing.empty() ? inside : missing).parent_path());
        if (missing.empty())
            return;
        const bool isMirrored = IsIn(outside, source.files) || IsIn(outside, source.device);
        const fs::path mirrored = isMirrored ? WithoutEnd(outside, inside.lexically_relative(missing)) : fs::path();
        const fs::path place = mirrored.empty() ? InFiles(missing) : mirrored;
        fs::create_directories(place, error);
        names.emplace(missing, place);
    }

    // A directory of the machine that contains names of the board.
    void AddCover(const fs::path& directory) {
        std::error_code error;
        const fs::path resolved = fs::canonical(directory, error);
        if (error || !resolved.has_relative_path())
            return;
        const fs::path place = InFiles(resolved);
        fs::create_directories(place, error);
        covers.emplace(directory, place);
        covers.emplace(resolved, place);
    }

    bool IsAbsent(const fs::path& path) const {
        return std::any_of(source.placements.begin(), source.placements.end(), [&](const Placement& placement) {
            return placement.kind == Placement::Kind::ABSENT && IsIn(path, placement.inside.lexically_normal());
        });
    }

    std::string Trees() const {
        std::string text;
        for (const fs::path& directory : DeviceTree::Directories())
            if (!IsAbsent(directory))
                text += Line({Preload::List::TREE, directory.string()});
        return text;
    }

    std::string Values() const {
        std::string text;
        std::set<ValueFiles::Number> done;
        for (std::size_t signal = 0; signal < state.Count(); ++signal) {
            const auto file = values.Tree().FileOf(signal);
            const fs::path path = fs::path(state.Path(signal)).lexically_normal();
            if (file && !IsAbsent(path) && done.insert(*file).second)
                text += Line({Preload::List::VALUE, path.string(), std::to_string(*file),
                              values.IsWritable(*file) ? "0644" : "0444"});
        }
        return text;
    }

    const NameListSource& source;
    const BoardState& state;
    const ValueFiles& values;
    std::map<fs::path, fs::path> names;
    std::map<fs::path, fs::path> covers;
    std::set<fs::path> mounts;
};

} // namespace

std::string MakeNameList(const NameListSource& source, const BoardState& state, const ValueFiles& values) {
    return Maker(source, state, values).Make();
}

} // namespace VelrixBoard
