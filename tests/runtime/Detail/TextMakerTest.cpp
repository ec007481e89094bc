// SPDX-License-Identifier: Apache-2.0
#include <System/Detail/TextMaker.h>

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <System/String.h>

#include "tests/support/AllocationFailure.h"

namespace {

using System::String;
using System::string_ptr;
using System::Detail::TextMaker;
using TestSupport::AllocationFailure;

TEST(TextMaker, MakesEachByteACodeUnit) {
    std::string bytes;
    std::u16string units;
    for (int c = 0; c <= 255; ++c) {
        bytes += static_cast<char>(c);
        units += static_cast<char16_t>(c);
    }
    TextMaker maker;

    for (std::size_t length = 0; length <= bytes.size(); ++length)
        ASSERT_EQ(maker.Make(std::string_view(bytes).substr(bytes.size() - length))->View(),
                  std::u16string_view(units).substr(units.size() - length));
}

TEST(TextMaker, GivesTextsTheirOwnContents) {
    TextMaker maker;
    std::vector<string_ptr> texts;

    for (int i = 0; i < 3000; ++i)
        texts.push_back(maker.Make(std::string(static_cast<std::size_t>(i) % 300, 'x') + std::to_string(i)));

    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(texts[static_cast<std::size_t>(i)]->ToUtf8(),
                  std::string(static_cast<std::size_t>(i) % 300, 'x') + std::to_string(i));
}

TEST(TextMaker, MakesTextsThatAreFullObjects) {
    TextMaker maker;

    const string_ptr text = maker.Make("text");

    EXPECT_TRUE(text == string_ptr("text"));
    EXPECT_EQ(std::hash<string_ptr>()(text), std::hash<string_ptr>()(string_ptr("text")));
    EXPECT_EQ(&*text->ToString(), &*text);
    EXPECT_EQ(std::shared_ptr<System::Object>(text).get(), &*text);
}

TEST(TextMaker, SharesTheOneEmptyText) {
    EXPECT_EQ(&*TextMaker().Make(""), &*String::EMPTY);
}

TEST(TextMaker, MakesTextsThatOutliveIt) {
    string_ptr first, second;
    std::shared_ptr<System::Object> third;
    {
        TextMaker maker;
        first = maker.Make("first");
        second = maker.Make("second");
        third = maker.Make("third");
    }

    second = nullptr;

    EXPECT_EQ(first, "first");
    EXPECT_EQ(third->ToString(), "third");
}

TEST(TextMaker, NeedsNoAllocationForMostShortTexts) {
    TextMaker maker;
    std::vector<string_ptr> texts;
    texts.reserve(1000);

    const AllocationFailure none;
    for (int i = 0; i < 1000; ++i)
        texts.push_back(maker.Make("short"));

    EXPECT_LT(none.Count(), 10);
    EXPECT_GT(none.Count(), 0);
}

TEST(TextMaker, GivesALongTextMemoryThatGoesWithIt) {
    TextMaker maker;
    const string_ptr kept = maker.Make("kept");
    const std::string bytes(257, 'x');

    const AllocationFailure none;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(maker.Make(bytes)->Length(), 257);

    EXPECT_EQ(none.Count(), 3);
}

TEST(TextMaker, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        TextMaker maker;
        std::vector<string_ptr> texts;
        texts.reserve(300);
        while (texts.size() < 300)
            try {
                texts.push_back(maker.Make("text " + std::to_string(texts.size())));
            } catch (const std::bad_alloc&) {
                for (std::size_t i = 0; i < texts.size(); ++i)
                    EXPECT_EQ(texts[i]->View().size(), ("text " + std::to_string(i)).size());
                throw;
            }
    });

    EXPECT_GT(allocations, 3);
}

TEST(TextMaker, LetsTextsOfOneBlockDieOnDifferentThreads) {
    TextMaker maker;
    std::vector<std::vector<string_ptr>> shares(4);
    for (int i = 0; i < 400; ++i)
        shares[static_cast<std::size_t>(i) % 4].push_back(maker.Make(std::to_string(i)));

    std::vector<std::thread> threads;
    for (auto& share : shares)
        threads.emplace_back([&share] { share.clear(); });
    for (auto& thread : threads)
        thread.join();

    EXPECT_EQ(maker.Make("still there"), "still there");
}

} // namespace
