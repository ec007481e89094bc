// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/ImageFolder.h"

#include <cstdlib>
#include <string>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

constexpr const char* SCRIPT = "scripts/emulated-board-image";

std::filesystem::path Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

// scripts/emulated-board-image has the same rules.
std::filesystem::path DefaultImage() {
    if (const auto named = Variable("VELRIX_EMULATED_BOARD"); !named.empty())
        return named;
    const std::filesystem::path inCache = "velrix/emulated-board";
    // The XDG Base Directory Specification has relative paths ignored.
    if (const auto cache = Variable("XDG_CACHE_HOME"); cache.is_absolute())
        return cache / inCache;
    if (const auto home = Variable("HOME"); home.is_absolute())
        return home / ".cache" / inCache;
    throw BoardError(
        "neither VELRIX_EMULATED_BOARD nor XDG_CACHE_HOME nor HOME says where the emulated board's image is; "
        "name its folder with --image");
}

void RequireImage(const std::filesystem::path& image) {
    for (const char* name : {"kernel", "board.dtb", "root.cpio", "lines.txt"})
        if (!std::filesystem::exists(image / name))
            throw BoardError("the emulated board's " + (image / name).native() +
                             " is missing; make it from Debian's packages with: velrix-emulator image " +
                             image.native());
}

std::filesystem::path ImageScript(const std::filesystem::path& command) {
    const std::filesystem::path folder = command.parent_path();
    if (const auto installed = folder.parent_path() / "share/velrix" / SCRIPT; std::filesystem::exists(installed))
        return installed;
    // Build folders are in the sources, at different depths.
    constexpr int DEEPEST = 5;
    std::filesystem::path sources = folder;
    for (int depth = 0; depth < DEEPEST; ++depth) {
        sources = sources.parent_path();
        if (std::filesystem::exists(sources / SCRIPT))
            return sources / SCRIPT;
    }
    throw BoardError(std::string(SCRIPT) + ", which makes the image, is missing in " +
                     (folder.parent_path() / "share/velrix").native() + "; install the package velrix-tools again");
}

} // namespace VelrixBoard
