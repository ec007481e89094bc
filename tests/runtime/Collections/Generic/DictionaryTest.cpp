// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Dictionary.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/runtime/Collections/Generic/Counted.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

template <>
struct std::hash<TestSupport::Counted> {
    std::size_t operator()(const TestSupport::Counted& element) const {
        if (element.number == 13)
            throw std::runtime_error("no hash");
        return 1; // all collide, so that only == distinguishes them
    }
};

namespace {

using namespace System;
using namespace System::Collections::Generic;
using TestSupport::Counted;
using TestSupport::ExpectException;

using Texts = IDictionary<string_ptr, string_ptr>;

std::string Shown(const std::shared_ptr<Texts>& dictionary) {
    std::string text;
    for (const KeyValuePair<string_ptr, string_ptr>& pair : *dictionary)
        text += pair.Key->ToUtf8() + "=" + pair.Value->ToUtf8() + " ";
    return text;
}

std::shared_ptr<Texts> Make(std::initializer_list<std::pair<const char*, const char*>> pairs) {
    const auto dictionary = Dictionary<string_ptr, string_ptr>::Create();
    for (const auto& [key, value] : pairs)
        dictionary->Add(key, value);
    return dictionary;
}

TEST(Dictionary, BeginsEmpty) {
    const auto dictionary = Make({});

    EXPECT_EQ(dictionary->Count(), 0);
    EXPECT_EQ(Shown(dictionary), "");
    EXPECT_FALSE(dictionary->ContainsKey("a"));
    EXPECT_FALSE(dictionary->Remove("a"));
}

TEST(Dictionary, IsWalkedByIteratorsAndByItsPairs) {
    const auto dictionary = Make({{"a", "1"}, {"b", "2"}, {"c", "3"}});

    auto place = dictionary->begin();
    EXPECT_EQ(place, dictionary->begin());
    EXPECT_EQ(place->Key, "a");
    EXPECT_EQ((*++place).Value, "2");
    EXPECT_EQ((++place)->Key, "c");
    EXPECT_NE(place, dictionary->end());
    EXPECT_EQ(++place, dictionary->end());
    EXPECT_EQ(dictionary->Next(nullptr), &*dictionary->begin());
    EXPECT_EQ(dictionary->Next(dictionary->Next(nullptr))->Key, "b");
    EXPECT_EQ(Make({})->Next(nullptr), nullptr);
}

// Another implementation of the interface.
class Single final : public Texts {
public:
    int Count() override { return 1; }
    void Add(string_ptr, string_ptr) override { throw NotSupportedException("full"); }
    string_ptr& operator[](const string_ptr&) override { return pair.Value; }
    void Set(string_ptr, string_ptr value) override { pair.Value = value; }
    bool ContainsKey(const string_ptr& key) override { return key == pair.Key; }
    bool TryGetValue(const string_ptr& key, string_ptr& value) override {
        value = pair.Value;
        return ContainsKey(key);
    }
    bool Remove(const string_ptr&) override { return false; }
    const Pair* Next(const Pair* before) override { return before ? nullptr : &pair; }

private:
    Pair pair{"key", "value"};
};

TEST(IDictionary, NeedsItsOperationsAlone) {
    EXPECT_EQ(Shown(std::make_shared<Single>()), "key=value ");
}

TEST(Dictionary, HoldsWhatCanBeMovedButNotCopied) {
    const auto dictionary = Dictionary<int, std::unique_ptr<int>>::Create();

    dictionary->Add(1, std::make_unique<int>(10));
    dictionary->Set(2, std::make_unique<int>(20));
    dictionary->Set(1, std::make_unique<int>(11));

    EXPECT_EQ(*(*dictionary)[1], 11);
    EXPECT_TRUE(dictionary->ContainsKey(2));
    std::unique_ptr<int> value;
    EXPECT_FALSE(dictionary->TryGetValue(3, value));
    ExpectException<NotSupportedException>("Values of this dictionary cannot be copied",
                                           [&] { dictionary->TryGetValue(1, value); });
    EXPECT_EQ(value, nullptr);
    EXPECT_TRUE(dictionary->Remove(1));
    EXPECT_EQ(dictionary->Count(), 1);
}

TEST(Dictionary, TakesKeysThatCannotBeCopied) {
    const auto dictionary = Dictionary<std::unique_ptr<int>, int>::Create();

    dictionary->Add(nullptr, 1);
    dictionary->Add(std::make_unique<int>(5), 2);

    EXPECT_EQ((*dictionary)[nullptr], 1);
    EXPECT_EQ(dictionary->Count(), 2);
}

// Has a const member, so that it cannot be assigned; number 13 can be moved only once.
struct Fixed {
    explicit Fixed(int ownNumber) : number(ownNumber) {}
    Fixed(Fixed&& other) : number(other.number), moves(other.moves + 1) {
        if (number == 13 && moves == 2)
            throw std::runtime_error("moved too often");
    }
    const int number;
    const int moves = 0;
};

TEST(Dictionary, ReplacesValuesThatCannotBeAssignedInTheirPlace) {
    const auto dictionary = Dictionary<int, Fixed>::Create();
    dictionary->Add(1, Fixed(10));
    dictionary->Add(2, Fixed(20));
    const Fixed* const place = &(*dictionary)[1];

    dictionary->Set(1, Fixed(11));

    EXPECT_EQ(&(*dictionary)[1], place);
    EXPECT_EQ((*dictionary)[1].number, 11);
    EXPECT_EQ(dictionary->begin()->Key, 1);
}

TEST(Dictionary, LosesThePairWhoseNewValueCannotBePutInItsPlace) {
    const auto dictionary = Dictionary<int, Fixed>::Create();
    dictionary->Add(1, Fixed(10));
    dictionary->Add(2, Fixed(20));
    Fixed bad(13);

    EXPECT_THROW(dictionary->Set(1, Fixed(std::move(bad))), std::runtime_error);

    EXPECT_EQ(dictionary->Count(), 1);
    EXPECT_FALSE(dictionary->ContainsKey(1));
    EXPECT_EQ((*dictionary)[2].number, 20);
}

TEST(Dictionary, KeepsValuesOfEveryAlignment) {
    struct alignas(64) Aligned {
        char text[64];
    };
    const auto dictionary = Dictionary<char, Aligned>::Create();

    for (char key = 'a'; key <= 'z'; ++key)
        dictionary->Add(key, Aligned{{key}});

    for (const auto& [key, value] : *dictionary) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&value) % alignof(Aligned), 0u);
        EXPECT_EQ(value.text[0], key);
    }
}

TEST(Dictionary, FindsByContentWhatWasAdded) {
    const auto dictionary = Make({{"a", "1"}, {"b", "2"}});

    EXPECT_EQ(dictionary->Count(), 2);
    EXPECT_EQ((*dictionary)[std::string("a")], "1");
    EXPECT_EQ((*dictionary)["b"], "2");
    EXPECT_TRUE(dictionary->ContainsKey("a"));
    EXPECT_FALSE(dictionary->ContainsKey("A"));
}

TEST(Dictionary, RejectsAKeyThatIsThereAndStaysAsItWas) {
    const auto dictionary = Make({{"a", "1"}, {"b", "2"}});

    ExpectException<ArgumentException>("Key already exists", [&] { dictionary->Add("a", "3"); });

    EXPECT_EQ(Shown(dictionary), "a=1 b=2 ");
    EXPECT_EQ(dictionary->Count(), 2);
}

TEST(Dictionary, NamesTheKeyThatIsMissing) {
    const auto dictionary = Make({{"a", "1"}});
    const auto numbers = Dictionary<int, int>::Create();

    ExpectException<KeyNotFoundException>("network", [&] { (*dictionary)["network"]; });
    ExpectException<KeyNotFoundException>("-7", [&] { (*numbers)[-7]; });
    EXPECT_EQ(dictionary->Count(), 1);
}

TEST(Dictionary, SetsInPlaceOrBehindTheLast) {
    const auto dictionary = Make({{"a", "1"}, {"b", "2"}});

    dictionary->Set("a", "10");
    dictionary->Set("c", "3");

    EXPECT_EQ(Shown(dictionary), "a=10 b=2 c=3 ");
}

TEST(Dictionary, CopiesAValueOutOrLeavesItAlone) {
    const auto dictionary = Make({{"a", "1"}});
    string_ptr value = "before";

    EXPECT_FALSE(dictionary->TryGetValue("b", value));
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(dictionary->TryGetValue("a", value));
    EXPECT_EQ(value, "1");
}

TEST(Dictionary, GivesAValueToBeChangedThatStaysInItsPlace) {
    const auto dictionary = Dictionary<int, bool>::Create();
    dictionary->Add(-1, false);
    bool& value = (*dictionary)[-1];

    for (int i = 0; i < 1000; ++i)
        dictionary->Add(i, false);
    for (int i = 0; i < 1000; i += 2)
        dictionary->Remove(i);
    value = true;

    EXPECT_EQ(&(*dictionary)[-1], &value);
    EXPECT_TRUE((*dictionary)[-1]);
}

TEST(Dictionary, KeepsTheOrderOfAdding) {
    const auto dictionary = Make({{"zebra", "1"}, {"ant", "2"}, {"mole", "3"}, {"bee", "4"}});
    EXPECT_EQ(Shown(dictionary), "zebra=1 ant=2 mole=3 bee=4 ");

    EXPECT_TRUE(dictionary->Remove("ant"));
    EXPECT_EQ(Shown(dictionary), "zebra=1 mole=3 bee=4 ");

    dictionary->Add("ant", "5");
    dictionary->Set("zebra", "6");
    EXPECT_EQ(Shown(dictionary), "zebra=6 mole=3 bee=4 ant=5 ");

    EXPECT_TRUE(dictionary->Remove("zebra"));
    EXPECT_TRUE(dictionary->Remove("ant"));
    EXPECT_FALSE(dictionary->Remove("ant"));
    EXPECT_EQ(Shown(dictionary), "mole=3 bee=4 ");
    EXPECT_EQ(dictionary->Count(), 2);
}

TEST(Dictionary, RemovesAPairByItsOwnKey) {
    const auto dictionary = Make({{"a", "1"}, {"b", "2"}});
    const string_ptr& key = dictionary->begin()->Key;

    EXPECT_TRUE(dictionary->Remove(key));

    EXPECT_EQ(Shown(dictionary), "b=2 ");
}

// A value that reads its dictionary in its destructor.
TEST(Dictionary, IsWholeWhileARemovedValueGoes) {
    const auto dictionary = Dictionary<int, std::shared_ptr<int>>::Create();
    int seen = -1;
    dictionary->Add(1, std::shared_ptr<int>(new int(1), [&](const int* number) {
                        delete number;
                        seen = dictionary->Count();
                        dictionary->Add(2, nullptr);
                    }));

    EXPECT_TRUE(dictionary->Remove(1));

    EXPECT_EQ(seen, 0);
    EXPECT_EQ(dictionary->begin()->Key, 2);
}

// The hash of a number is the number; keys that differ only in their upper bits must not collide in the index.
TEST(Dictionary, FindsNumbersThatAreMultiples) {
    const auto dictionary = Dictionary<unsigned, unsigned>::Create();
    for (unsigned i = 0; i < 4096; ++i)
        dictionary->Add(i << 20, i);

    for (unsigned i = 0; i < 4096; ++i)
        ASSERT_EQ((*dictionary)[i << 20], i);
}

TEST(Dictionary, TellsNullFromTheEmptyKey) {
    const auto dictionary = Dictionary<string_ptr, int>::Create();
    dictionary->Add("", 1);

    ExpectException<KeyNotFoundException>("null", [&] { (*dictionary)[nullptr]; });
    dictionary->Add(nullptr, 2);

    EXPECT_EQ((*dictionary)[""], 1);
    EXPECT_EQ((*dictionary)[nullptr], 2);
}

TEST(Dictionary, HoldsKeysAndValuesWithoutADefaultEvenWhereHashesCollide) {
    {
        const auto dictionary = Dictionary<Counted, Counted>::Create();
        for (int i = 0; i < 10; ++i)
            dictionary->Add(Counted(i), Counted(i * i));
        EXPECT_EQ(Counted::live, 20);

        EXPECT_EQ((*dictionary)[Counted(7)].number, 49);
        EXPECT_TRUE(dictionary->Remove(Counted(7)));
        EXPECT_FALSE(dictionary->ContainsKey(Counted(7)));
        EXPECT_EQ(Counted::live, 18);
        ExpectException<KeyNotFoundException>("TestSupport::Counted", [&] { (*dictionary)[Counted(7)]; });
        ExpectException<ArgumentException>("Key already exists", [&] { dictionary->Add(Counted(3), Counted(0)); });
        EXPECT_EQ(Counted::live, 18);
    }
    EXPECT_EQ(Counted::live, 0);
}

TEST(Dictionary, StaysAsItWasWhenAHashOrACopyThrows) {
    const auto dictionary = Dictionary<Counted, Counted>::Create();
    dictionary->Add(Counted(1), Counted(1));

    EXPECT_THROW(dictionary->Add(Counted(13), Counted(0)), std::runtime_error);
    EXPECT_THROW(dictionary->Set(Counted(13), Counted(0)), std::runtime_error);
    for (int copy = 1; copy <= 2; ++copy) {
        const Counted key(2), value(2);
        Counted::copiesUntilFailure = copy;
        EXPECT_THROW(dictionary->Add(key, value), std::runtime_error);
        Counted::copiesUntilFailure = 0;
    }

    EXPECT_EQ(dictionary->Count(), 1);
    EXPECT_EQ((*dictionary)[Counted(1)].number, 1);
    EXPECT_EQ(Counted::live, 2);
}

TEST(Dictionary, BehavesAsARowOfPairsOnARandomWalk) {
    std::mt19937 random(1);
    const auto dictionary = Dictionary<string_ptr, int>::Create();
    std::vector<std::pair<std::string, int>> model;
    const auto find = [&](const std::string& key) {
        return std::find_if(model.begin(), model.end(), [&](const auto& pair) { return pair.first == key; });
    };

    for (int step = 0; step < 20000; ++step) {
        const std::string key = std::to_string(random() % 60);
        const auto found = find(key);
        const bool present = found != model.end();
        ASSERT_EQ(dictionary->ContainsKey(key), present);
        switch (random() % 4) {
        case 0:
            if (present) {
                EXPECT_THROW(dictionary->Add(key, step), ArgumentException);
            } else {
                dictionary->Add(key, step);
                model.emplace_back(key, step);
            }
            break;
        case 1:
            dictionary->Set(key, step);
            if (present)
                found->second = step;
            else
                model.emplace_back(key, step);
            break;
        default:
            ASSERT_EQ(dictionary->Remove(key), present);
            if (present)
                model.erase(found);
        }
        ASSERT_EQ(dictionary->Count(), static_cast<int>(model.size()));
        if (step % 16 == 0) {
            auto expected = model.begin();
            for (const auto& [name, value] : *dictionary) {
                ASSERT_EQ(name, expected->first);
                ASSERT_EQ(value, expected->second);
                ++expected;
            }
        }
    }
}

TEST(Dictionary, IsReadByManyThreadsAtOnce) {
    const auto dictionary = Make({{"a", "1"}, {"b", "2"}});
    std::vector<std::thread> threads;

    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                string_ptr value;
                EXPECT_TRUE(dictionary->TryGetValue("b", value));
                EXPECT_EQ(Shown(dictionary), "a=1 b=2 ");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Dictionary, NeedsNoAllocationOfItsOwnForMostPairs) {
    constexpr int COUNT = 10000;
    std::vector<string_ptr> keys;
    for (int i = 0; i < COUNT; ++i)
        keys.push_back(std::to_string(i));
    const auto dictionary = Dictionary<string_ptr, string_ptr>::Create();

    const TestSupport::AllocationFailure counter;
    for (const string_ptr& key : keys)
        dictionary->Add(key, key);

    EXPECT_LT(counter.Count(), COUNT / 50);
}

TEST(Dictionary, SurvivesEveryAllocationFailure) {
    std::vector<string_ptr> keys;
    for (int i = 0; i < 200; ++i)
        keys.push_back(std::to_string(i));

    const long allocations = TestSupport::FailEachAllocation([&] {
        const auto dictionary = Dictionary<string_ptr, string_ptr>::Create();
        int count = 0;
        try {
            for (const string_ptr& key : keys) {
                if (count % 2 == 0)
                    dictionary->Add(key, key);
                else
                    dictionary->Set(key, key);
                ++count;
            }
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(dictionary->Count(), count);
            EXPECT_FALSE(dictionary->ContainsKey(keys[static_cast<std::size_t>(count)]));
            int walked = 0;
            for (const auto& pair : *dictionary)
                EXPECT_EQ(&*pair.Key, &*keys[static_cast<std::size_t>(walked++)]);
            EXPECT_EQ(walked, count);
            throw;
        }
    });

    EXPECT_GT(allocations, 5);
}

} // namespace
