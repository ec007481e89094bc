// SPDX-License-Identifier: Apache-2.0
#include <System/Object.h>

#include <memory>
#include <set>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ExpectException.h"

namespace Sample {

class Thing : public System::Object {
public:
    using System::Object::Self;
};

class Special final : public Thing {
public:
    std::shared_ptr<Special> Me() { return Self<Special>(); }
    std::shared_ptr<Thing> Base() { return Self<Thing>(); }
};

class Shared : public virtual System::Object {
public:
    std::shared_ptr<Shared> Me() { return Self<Shared>(); }
};

} // namespace Sample

namespace {

using System::Object;

static_assert(!std::is_copy_constructible_v<Sample::Thing> && !std::is_move_constructible_v<Sample::Thing>);
static_assert(!std::is_copy_assignable_v<Sample::Thing> && !std::is_move_assignable_v<Sample::Thing>);

TEST(Object, IsEqualToItselfAlone) {
    const auto one = std::make_shared<Sample::Thing>();
    const auto other = std::make_shared<Sample::Thing>();

    EXPECT_TRUE(one->Equals(one));
    EXPECT_FALSE(one->Equals(other));
    EXPECT_FALSE(one->Equals(nullptr));
}

TEST(Object, HasAHashCodeThatStaysAndTellsObjectsApart) {
    std::vector<std::shared_ptr<Sample::Thing>> things;
    std::set<int> codes;

    for (int i = 0; i < 100; ++i) {
        things.push_back(std::make_shared<Sample::Thing>());
        codes.insert(things.back()->GetHashCode());
    }

    EXPECT_EQ(codes.size(), 100u);
    EXPECT_EQ(things[0]->GetHashCode(), things[0]->GetHashCode());
}

TEST(Object, ShowsTheFullNameOfItsClass) {
    const std::shared_ptr<Object> thing = std::make_shared<Sample::Special>();

    EXPECT_EQ(thing->ToString(), "Sample::Special");
}

TEST(Object, FindsItsOwner) {
    const auto special = std::make_shared<Sample::Special>();

    EXPECT_EQ(special->Me(), special);
    EXPECT_EQ(special->Base(), special);
    EXPECT_EQ(special->Me().use_count(), 2);
}

TEST(Object, FindsItsOwnerThroughAVirtualBase) {
    const auto shared = std::make_shared<Sample::Shared>();

    EXPECT_EQ(shared->Me(), shared);
}

TEST(Object, HasNoSelfWithoutAnOwner) {
    Sample::Special special;
    Sample::Shared shared;

    EXPECT_THROW(special.Me(), std::bad_weak_ptr);
    EXPECT_THROW(shared.Me(), std::bad_weak_ptr);
}

} // namespace
