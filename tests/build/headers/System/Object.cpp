// SPDX-License-Identifier: Apache-2.0
#include <System/Object.h>

using System::Object;

namespace {

// Application classes, with an object and with a virtual base.
class Plain final : public Object {
public:
    std::shared_ptr<Plain> Me() { return Self<Plain>(); }
};

class Middle : public virtual Object {};

class Lowest final : public Middle {
public:
    std::shared_ptr<Lowest> Me() { return Self<Lowest>(); }
    System::string_ptr ToString() override { return "lowest"; }
};

} // namespace

bool UseObjects() {
    const auto plain = std::make_shared<Plain>();
    const auto lowest = std::make_shared<Lowest>();
    return plain->Me() == plain && lowest->Me()->ToString() != plain->ToString() && plain->Equals(lowest) &&
           plain->GetHashCode() == 0;
}
