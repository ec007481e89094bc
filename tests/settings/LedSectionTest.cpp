// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/LedSection.h>

#include <string>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Exceptions.h>
#include <System/Exceptions.h>

#include "tests/settings/Sections.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

using System::string_ptr;
using System::Collections::Generic::KeyNotFoundException;
using TestSupport::DefaultsBut;
using TestSupport::ExpectException;
using TestSupport::FieldsOf;
using TestSupport::MakeSection;
using Velrix::Settings::LedSection;

namespace {

// In the order of declaration.
const struct {
    const char* name;
    string_ptr LedSection::*field;
    const char* initial;
} FIELDS[] = {
    {"link_act_1_green", &LedSection::link_act_1_green, "/sys/class/leds/ledLinkAct1Grn/brightness"},
    {"link_act_1_yellow", &LedSection::link_act_1_yellow, "/sys/class/leds/ledLinkAct1Yel/brightness"},
    {"link_act_2_green", &LedSection::link_act_2_green, "/sys/class/leds/ledLinkAct2Grn/brightness"},
    {"link_act_2_yellow", &LedSection::link_act_2_yellow, "/sys/class/leds/ledLinkAct2Yel/brightness"},
    {"module_status_green", &LedSection::module_status_green, "/sys/class/leds/ledGwStsGrn/brightness"},
    {"module_status_red", &LedSection::module_status_red, "/sys/class/leds/ledGwStsRed/brightness"},
    {"network_status_green", &LedSection::network_status_green, "/sys/class/leds/ledEthStsGrn/brightness"},
    {"network_status_red", &LedSection::network_status_red, "/sys/class/leds/ledEthStsRed/brightness"},
};

} // namespace

TEST(LedSection, HasDefaultsInEveryField) {
    const auto section = LedSection::Create();

    EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS));
    EXPECT_EQ(section->ToString(), "Velrix::Settings::LedSection");
}

TEST(LedSection, KnowsAKeyForEveryFieldInTheirOrder) {
    EXPECT_EQ(TestSupport::KeysOf(*LedSection::KEY_HANDLERS.Value()), TestSupport::NamesOf(FIELDS));
    EXPECT_EQ(sizeof(LedSection), sizeof(System::Object) + std::size(FIELDS) * sizeof(string_ptr))
        << "a field without a row";
    const auto section = LedSection::Create();
    for (std::size_t i = 1; i < std::size(FIELDS); ++i)
        EXPECT_LT(&((*section).*FIELDS[i - 1].field), &((*section).*FIELDS[i].field)) << FIELDS[i].name;
}

TEST(LedSection, MakesOneTableOfHandlers) {
    EXPECT_EQ(LedSection::KEY_HANDLERS.Value(), LedSection::KEY_HANDLERS.Value());
}

TEST(LedSection, PutsEachValueIntoTheFieldOfItsKeyAlone) {
    for (const auto& row : FIELDS) {
        const auto section = LedSection::FromSectionDictionary(MakeSection({{row.name, "/x y/_"}}));

        EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS, row.name, "/x y/_"));
    }
}

TEST(LedSection, KeepsTheDefaultsOfAnEmptySection) {
    const auto section = LedSection::FromSectionDictionary(MakeSection({}));

    EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS));
}

TEST(LedSection, TakesAnEmptyValueAndANullOne) {
    const auto pairs = MakeSection({{"network_status_red", ""}});
    EXPECT_EQ(LedSection::FromSectionDictionary(pairs)->network_status_red, "");

    pairs->Set("network_status_red", nullptr);
    EXPECT_EQ(LedSection::FromSectionDictionary(pairs)->network_status_red, nullptr);
}

TEST(LedSection, MakesANewSectionEachTime) {
    const auto pairs = MakeSection({{"network_status_red", "/x"}});

    EXPECT_NE(LedSection::FromSectionDictionary(pairs), LedSection::FromSectionDictionary(pairs));
    EXPECT_EQ(FieldsOf(*LedSection::Create(), FIELDS), DefaultsBut(FIELDS)) << "the defaults stay";
}

TEST(LedSection, RejectsAKeyThatItDoesNotKnow) {
    for (const char* key :
         {"link_act_1_red", "link_act_2_red", "module_status_yellow", "network_status_yellow", "status_green", ""})
        ExpectException<KeyNotFoundException>(key, [&] {
            LedSection::FromSectionDictionary(MakeSection({{"network_status_red", "/x"}, {key, "/y"}}));
        });
}

TEST(LedSection, NamesTheFirstOfSeveralUnknownKeys) {
    ExpectException<KeyNotFoundException>("zz", [] {
        LedSection::FromSectionDictionary(MakeSection({{"zz", "1"}, {"aa", "1"}}));
    });
}

TEST(LedSection, NeedsPairsAndAnOwner) {
    const std::string pairs = System::ArgumentNullException("section").what();
    ExpectException<System::ArgumentNullException>(pairs, [] { LedSection::FromSectionDictionary(nullptr); });

    const std::string owner = System::ArgumentNullException("owner").what();
    for (const auto& row : *LedSection::KEY_HANDLERS.Value())
        ExpectException<System::ArgumentNullException>(owner, [&] { row.Value->Invoke(nullptr, "/x"); });
}

TEST(LedSection, SurvivesEveryAllocationFailure) {
    const auto pairs = MakeSection({{"network_status_red", "/x"}});

    EXPECT_GT(TestSupport::FailEachAllocation(
                  [&] { EXPECT_EQ(LedSection::FromSectionDictionary(pairs)->network_status_red, "/x"); }),
              8);
}
