// SPDX-License-Identifier: Apache-2.0
#include "runtime/TextBlock.h"

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <System/String.h>
#include <System/Text/StringBuilder.h>

#include "tests/support/AllocationFailure.h"

using System::String;
using System::string_ptr;
using System::TextBlock;
using System::Text::StringBuilder;
using TestSupport::AllocationFailure;

namespace {

string_ptr Make(StringBuilder& builder, const std::string& text) {
    builder.Clear();
    return builder.Append(string_ptr(text)).ToString();
}

} // namespace

TEST(TextBlock, CutsPiecesThatDoNotOverlapAndAreAligned) {
    TextBlock* const block = TextBlock::Create(1024);

    auto* const first = static_cast<char*>(block->Cut(1));
    auto* const second = static_cast<char*>(block->Cut(alignof(std::max_align_t) + 1));
    auto* const third = static_cast<char*>(block->Cut(8));

    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % alignof(std::max_align_t), 0u);
    EXPECT_EQ(second - first, static_cast<std::ptrdiff_t>(alignof(std::max_align_t)));
    EXPECT_EQ(third - second, static_cast<std::ptrdiff_t>(2 * alignof(std::max_align_t)));
    for (int holders = 0; holders < 4; ++holders)
        block->Release();
}

TEST(TextBlock, KeepsTheBlockWhileThereIsRoomAndThenTakesALargerOne) {
    TextBlock* block = nullptr;
    ASSERT_TRUE(TextBlock::MakeRoom(block, 16));
    TextBlock* const first = block;
    void* const text = block->Cut(1024 - TextBlock::TEXT_OVERHEAD - 2 * 16);

    EXPECT_TRUE(TextBlock::MakeRoom(block, 16));
    EXPECT_EQ(block, first) << "there was room for exactly this";
    EXPECT_TRUE(TextBlock::MakeRoom(block, 17));
    EXPECT_NE(block, first);

    static_cast<char*>(text)[0] = 'x'; // the text still holds the first block
    first->Release();
    block->Release();
}

TEST(TextBlock, LeavesLongTextsToTheHeap) {
    TextBlock* block = nullptr;

    EXPECT_FALSE(TextBlock::MakeRoom(block, 257));
    EXPECT_EQ(block, nullptr);
    EXPECT_TRUE(TextBlock::MakeRoom(block, 256));

    block->Release();
}

TEST(TextBlock, GivesOneBuildersTextsTheirOwnContents) {
    const auto builder = StringBuilder::CreateForManyTexts();
    std::vector<string_ptr> texts;

    for (int i = 0; i < 3000; ++i)
        texts.push_back(Make(*builder, std::string(static_cast<std::size_t>(i) % 300, 'x') + std::to_string(i)));

    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(texts[static_cast<std::size_t>(i)]->ToUtf8(),
                  std::string(static_cast<std::size_t>(i) % 300, 'x') + std::to_string(i));
}

TEST(TextBlock, MakesTextsThatAreFullObjects) {
    const auto builder = StringBuilder::CreateForManyTexts();

    const string_ptr text = Make(*builder, "text");

    EXPECT_TRUE(text == string_ptr("text"));
    EXPECT_EQ(std::hash<string_ptr>()(text), std::hash<string_ptr>()(string_ptr("text")));
    EXPECT_TRUE(text->ToString() == text);
    EXPECT_EQ(std::shared_ptr<System::Object>(text).get(), text.operator->());
    EXPECT_EQ(text->shared_from_this().get(), text.operator->());
}

TEST(TextBlock, SharesTheOneEmptyText) {
    const auto builder = StringBuilder::CreateForManyTexts();

    EXPECT_EQ(builder->ToString().operator->(), String::EMPTY.operator->());
}

TEST(TextBlock, KeepsTextsThatOutliveTheirBuilder) {
    auto builder = StringBuilder::CreateForManyTexts();
    const string_ptr first = Make(*builder, "first");
    string_ptr second = Make(*builder, "second");

    builder.reset();
    second = nullptr;

    EXPECT_EQ(first->ToUtf8(), "first");
}

TEST(TextBlock, NeedsNoAllocationForMostShortTexts) {
    const auto builder = StringBuilder::CreateForManyTexts();
    std::vector<string_ptr> texts;
    texts.reserve(1000);
    builder->Append(string_ptr("short"));

    const AllocationFailure none;
    for (int i = 0; i < 1000; ++i)
        texts.push_back(builder->ToString());

    EXPECT_LT(none.Count(), 30);
    EXPECT_GT(none.Count(), 0);
}

TEST(TextBlock, NeedsOneAllocationForEachTextOfAnOrdinaryBuilder) {
    const auto builder = StringBuilder::Create();
    builder->Append(string_ptr("short"));

    const AllocationFailure none;
    const string_ptr first = builder->ToString();
    const string_ptr second = builder->ToString();

    EXPECT_EQ(none.Count(), 2);
}

TEST(TextBlock, SurvivesEveryAllocationFailure) {
    TestSupport::FailEachAllocation([] {
        const auto builder = StringBuilder::CreateForManyTexts();
        std::vector<string_ptr> texts;
        for (int i = 0; i < 30; ++i)
            texts.push_back(Make(*builder, "text " + std::to_string(i)));
    });
}

TEST(TextBlock, LetsTextsOfOneBlockDieOnDifferentThreads) {
    const auto builder = StringBuilder::CreateForManyTexts();
    std::vector<std::vector<string_ptr>> shares(4);
    for (int i = 0; i < 400; ++i)
        shares[static_cast<std::size_t>(i) % 4].push_back(Make(*builder, std::to_string(i)));

    std::vector<std::thread> threads;
    for (auto& share : shares)
        threads.emplace_back([&share] { share.clear(); });
    for (auto& thread : threads)
        thread.join();

    EXPECT_EQ(Make(*builder, "still there")->ToUtf8(), "still there");
}
