// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "board/explore/Explorer.h"

namespace VelrixBoard {

// A folder of failures, a scenario each, that "velrix-board run --time virtual --scenario" replays.
class FailureStore final {
public:
    struct Known {
        std::filesystem::path file;
        Circumstances circumstances;
    };

    // Makes the folder when there is something to write. Throws BoardError.
    explicit FailureStore(std::filesystem::path ownFolder) : folder(std::move(ownFolder)) {}

    // All failures there, in the order of their names. Files that are not of this store are passed over. Throws
    // BoardError for one that cannot be read.
    std::vector<Known> Read() const;

    // Whether failures can be written, as far as that is known before; makes nothing. Throws BoardError where not.
    void RequireWritable() const;

    // The file of that failure, in each search.
    std::filesystem::path FileOf(const FoundFailure& failure) const;

    // Writes a failure, whole or not at all; the same one replaces that of an earlier search. Returns its file. Throws
    // BoardError.
    std::filesystem::path Write(const FoundFailure& failure, const TrialSetup& setup) const;

private:
    const std::filesystem::path folder;
};

} // namespace VelrixBoard
