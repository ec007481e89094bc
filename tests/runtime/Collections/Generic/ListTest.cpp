// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/List.h>

#include <climits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/runtime/Collections/Generic/Counted.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using namespace System::Collections::Generic;
using TestSupport::Counted;
using TestSupport::ExpectException;

template <class T>
std::string Shown(const std::shared_ptr<IList<T>>& list) {
    std::string text;
    for (const T& element : *list)
        text += std::to_string(element) + " ";
    return text;
}

template <class T>
std::string Shown(const std::shared_ptr<List<T>>& list) {
    return Shown(std::shared_ptr<IList<T>>(list));
}

TEST(List, BeginsEmptyOrWithTheGivenElements) {
    EXPECT_EQ(List<int>::Create()->Count(), 0);
    EXPECT_EQ(Shown(List<int>::Create()), "");
    EXPECT_EQ(Shown(List<int>::Create({3, 1, 2})), "3 1 2 ");
    EXPECT_EQ(List<int>::Create({})->Count(), 0);
}

TEST(List, AddsBehindTheLast) {
    const auto list = List<int>::Create();

    list->Add(1);
    list->Add(2);

    EXPECT_EQ(Shown(list), "1 2 ");
    EXPECT_EQ(list->Count(), 2);
}

TEST(List, InsertsAnywhereUpToTheEnd) {
    const auto list = List<int>::Create();

    list->Insert(0, 2);
    list->Insert(0, 1);
    list->Insert(2, 4);
    list->Insert(2, 3);

    EXPECT_EQ(Shown(list), "1 2 3 4 ");
}

TEST(List, TakesElementsOut) {
    const auto list = List<int>::Create({1, 2, 3, 4});

    list->RemoveAt(3);
    list->RemoveAt(0);
    EXPECT_EQ(Shown(list), "2 3 ");

    list->Clear();
    EXPECT_EQ(list->Count(), 0);
}

TEST(List, GivesItsElementsToBeChanged) {
    const std::shared_ptr<IList<int>> list = List<int>::Create({1, 2});

    (*list)[0] = 10;
    for (int& element : *list)
        ++element;

    EXPECT_EQ(Shown(list), "11 3 ");
}

TEST(List, RejectsAnIndexOutsideAndStaysAsItWas) {
    const auto list = List<int>::Create({1, 2});
    const std::string message = "The argument \"index\" is out of range";

    for (const int index : {-1, 2, 3, INT_MAX, INT_MIN}) {
        ExpectException<ArgumentOutOfRangeException>(message, [&] { (*list)[index] = 7; });
        ExpectException<ArgumentOutOfRangeException>(message, [&] { list->RemoveAt(index); });
        if (index != 2)
            ExpectException<ArgumentOutOfRangeException>(message, [&] { list->Insert(index, 7); });
    }
    ExpectException<ArgumentOutOfRangeException>(message, [] { List<int>::Create()->RemoveAt(0); });

    EXPECT_EQ(Shown(list), "1 2 ");
}

TEST(List, HasRealElementsForBool) {
    const auto flags = List<bool>::Create({true});

    flags->Add(false);
    bool* second = &(*flags)[1];
    *second = true;
    flags->Insert(0, false);

    EXPECT_EQ(Shown(flags), "0 1 1 ");
}

TEST(List, HoldsElementsWithoutADefaultAndElementsThatOnlyMove) {
    const auto counted = List<Counted>::Create({Counted(1)});
    const auto pointers = List<std::unique_ptr<int>>::Create();

    counted->Insert(0, Counted(0));
    pointers->Add(std::make_unique<int>(2));
    pointers->Insert(0, std::make_unique<int>(1));
    pointers->RemoveAt(1);

    EXPECT_EQ((*counted)[1].number, 1);
    EXPECT_EQ(*(*pointers)[0], 1);
}

TEST(List, DestroysEveryElementOnce) {
    {
        const auto list = List<Counted>::Create({Counted(1), Counted(2), Counted(3)});
        list->Add(Counted(4));
        list->RemoveAt(1);
        EXPECT_EQ(Counted::live, 3);
        list->Clear();
        EXPECT_EQ(Counted::live, 0);
        list->Add(Counted(5));
    }
    EXPECT_EQ(Counted::live, 0);
}

TEST(List, SeesAChangeInTheRestOfTheWalk) {
    const std::shared_ptr<IList<int>> list = List<int>::Create({1, 2, 3});
    std::string seen;

    for (const int element : *list) {
        seen += std::to_string(element) + " ";
        if (element == 1)
            list->Insert(1, 9);
    }

    EXPECT_EQ(seen, "1 9 2 ");
}

TEST(List, BehavesAsAVectorOnARandomWalk) {
    std::mt19937 random(1);
    const auto list = List<int>::Create();
    std::vector<int> model;

    for (int step = 0; step < 5000; ++step) {
        const int size = static_cast<int>(model.size());
        const int index = static_cast<int>(random() % static_cast<unsigned>(size + 1));
        if (random() % 2 == 0) {
            list->Insert(index, step);
            model.insert(model.begin() + index, step);
        } else if (index < size) {
            list->RemoveAt(index);
            model.erase(model.begin() + index);
        }
        ASSERT_EQ(list->Count(), static_cast<int>(model.size()));
    }

    for (int i = 0; i < list->Count(); ++i)
        EXPECT_EQ((*list)[i], model[static_cast<std::size_t>(i)]);
}

TEST(List, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        const auto list = List<string_ptr>::Create({"a"});
        const string_ptr text = "b";
        for (int i = 1; i < 20; ++i)
            try {
                if (i % 2 == 0)
                    list->Add(text);
                else
                    list->Insert(0, text);
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(list->Count(), i);
                throw;
            }
    });

    EXPECT_GT(allocations, 6);
}

TEST(List, HoldsWhatCanBeMovedButNotCopied) {
    const auto list = List<std::unique_ptr<int>>::Create();

    list->Add(std::make_unique<int>(1));
    list->Insert(0, std::make_unique<int>(0));
    list->Add(std::make_unique<int>(2));
    list->RemoveAt(1);

    EXPECT_EQ(*(*list)[0], 0);
    EXPECT_EQ(*(*list)[1], 2);
    EXPECT_EQ(list->Count(), 2);
}

struct Unassignable {
    const int number;
};

TEST(List, HoldsWhatCannotBeAssigned) {
    const auto list = List<Unassignable>::Create({Unassignable{1}, Unassignable{3}});

    list->Insert(1, Unassignable{2});
    list->Insert(0, Unassignable{0});
    list->Insert(4, Unassignable{4});
    list->RemoveAt(3);
    list->RemoveAt(0);

    std::string text;
    for (const Unassignable& element : *list)
        text += std::to_string(element.number) + " ";
    EXPECT_EQ(text, "1 2 4 ");
    ExpectException<ArgumentOutOfRangeException>("The argument \"index\" is out of range", [&] { list->RemoveAt(3); });
}

} // namespace
