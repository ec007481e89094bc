// SPDX-License-Identifier: Apache-2.0
#include "tools/check/Similar.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace VelrixTools {

namespace {

constexpr std::size_t MOST_ERRORS = 3;

std::string Lower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

// The distance of Damerau and Levenshtein, in the form that changes no part twice. Of its table, row i is for the first
// i letters of a; old and older are the two rows before.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> older(b.size() + 1), old(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        older = std::exchange(old, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({old[j] + 1, row[j - 1] + 1, old[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], older[j - 2] + 1);
        }
    }
    return row[b.size()];
}

} // namespace

std::string FindSimilar(std::string_view name, const std::vector<std::string>& known) {
    const std::string wanted = Lower(name);
    std::string nearest;
    std::size_t fewest = MOST_ERRORS + 1;
    for (const std::string& candidate : known) {
        const std::size_t longer = std::max(candidate.size(), wanted.size());
        // Spares the table for names that differ too much in length, however long the file's name is.
        if (longer - std::min(candidate.size(), wanted.size()) > MOST_ERRORS)
            continue;
        const std::size_t distance = Distance(wanted, Lower(candidate));
        if (distance < fewest && distance * 3 <= longer) {
            fewest = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace VelrixTools
