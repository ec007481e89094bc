// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace TestSupport {

// An element that counts live instances, has no default constructor, and whose copying fails on demand.
struct Counted {
    explicit Counted(int ownNumber) : number(ownNumber) { ++live; }
    Counted(const Counted& other) : number(other.number) {
        if (copiesUntilFailure > 0 && --copiesUntilFailure == 0)
            throw std::runtime_error("copying failed");
        ++live;
    }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --live; }
    friend bool operator==(const Counted&, const Counted&) = default;

    int number;
    inline static int live = 0;
    inline static int copiesUntilFailure = 0; // 0: never
};

} // namespace TestSupport
