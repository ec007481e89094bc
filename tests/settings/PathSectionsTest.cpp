// SPDX-License-Identifier: Apache-2.0
// The sections whose keys are all paths. They differ in their tables alone.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Exceptions.h>
#include <System/Exceptions.h>

#include <velrix/settings/LedSection.h>
#include <velrix/settings/OxboPinSection.h>
#include <velrix/settings/QorPinSection.h>

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
using Velrix::Settings::OxboPinSection;
using Velrix::Settings::QorPinSection;

namespace {

template <class Section>
struct Field {
    const char* name;
    string_ptr Section::*field;
    const char* initial;
};

// The class's name, its fields in the order of declaration, and keys that it does not know: others' keys, misspelt
// ones, the empty one.
template <class Section>
struct Table;

template <>
struct Table<LedSection> {
    static constexpr const char* NAME = "Velrix::Settings::LedSection";
    static constexpr Field<LedSection> FIELDS[] = {
        {"link_act_1_green", &LedSection::link_act_1_green, "/sys/class/leds/ledLinkAct1Grn/brightness"},
        {"link_act_1_yellow", &LedSection::link_act_1_yellow, "/sys/class/leds/ledLinkAct1Yel/brightness"},
        {"link_act_2_green", &LedSection::link_act_2_green, "/sys/class/leds/ledLinkAct2Grn/brightness"},
        {"link_act_2_yellow", &LedSection::link_act_2_yellow, "/sys/class/leds/ledLinkAct2Yel/brightness"},
        {"module_status_green", &LedSection::module_status_green, "/sys/class/leds/ledGwStsGrn/brightness"},
        {"module_status_red", &LedSection::module_status_red, "/sys/class/leds/ledGwStsRed/brightness"},
        {"network_status_green", &LedSection::network_status_green, "/sys/class/leds/ledEthStsGrn/brightness"},
        {"network_status_red", &LedSection::network_status_red, "/sys/class/leds/ledEthStsRed/brightness"},
    };
    static constexpr const char* UNKNOWN[] = {"link_act_1_red",        "link_act_2_red", "module_status_yellow",
                                              "network_status_yellow", "status_green",   ""};
};

template <>
struct Table<OxboPinSection> {
    static constexpr const char* NAME = "Velrix::Settings::OxboPinSection";
    static constexpr Field<OxboPinSection> FIELDS[] = {
        {"irq_n", &OxboPinSection::irq_n, "/var/dev/gpio-inputs/oxboIrqN/value"},
        {"mod_1", &OxboPinSection::mod_1, "/var/dev/gpio-inputs/oxboMod1/value"},
        {"mod_id_0_sync", &OxboPinSection::mod_id_0_sync, "/var/dev/gpio-inputs/oxboModId0Sync/value"},
        {"ramloader_enable", &OxboPinSection::ramloader_enable, "/var/dev/gpio-outputs/oxboRamLoaderEnable/value"},
        {"reset_n", &OxboPinSection::reset_n, "/var/dev/gpio-outputs/oxboResetN/value"},
    };
    static constexpr const char* UNKNOWN[] = {"irq", "reset", "IRQ_N", ""};
};

template <>
struct Table<QorPinSection> {
    static constexpr const char* NAME = "Velrix::Settings::QorPinSection";
    static constexpr Field<QorPinSection> FIELDS[] = {
        {"bootloader_enable_n", &QorPinSection::bootloader_enable_n,
         "/var/dev/gpio-outputs/qorBootloaderEnableN/value"},
        {"busy_n", &QorPinSection::busy_n, "/var/dev/gpio-inputs/qorDpramBusyN/value"},
        {"irq_n", &QorPinSection::irq_n, "/var/dev/gpio-inputs/qorDpramIrqN/value"},
        {"reset_n", &QorPinSection::reset_n, "/var/dev/gpio-outputs/qorResetN/value"},
    };
    static constexpr const char* UNKNOWN[] = {"mod_1", "busy", "Reset_n", ""};
};

template <class Section>
class PathSections : public testing::Test {
protected:
    static constexpr const auto& FIELDS = Table<Section>::FIELDS;
    static constexpr const auto& LAST = FIELDS[std::size(FIELDS) - 1];
};

using Sections = testing::Types<LedSection, OxboPinSection, QorPinSection>;

} // namespace

TYPED_TEST_SUITE(PathSections, Sections, );

TYPED_TEST(PathSections, HasDefaultsInEveryField) {
    const auto section = TypeParam::Create();

    EXPECT_EQ(FieldsOf(*section, this->FIELDS), DefaultsBut(this->FIELDS));
    EXPECT_EQ(section->ToString(), Table<TypeParam>::NAME);
}

TYPED_TEST(PathSections, KnowsAKeyForEveryFieldInTheirOrder) {
    const auto& fields = this->FIELDS;
    EXPECT_EQ(TestSupport::KeysOf(*TypeParam::KEY_HANDLERS.Value()), TestSupport::NamesOf(fields));
    EXPECT_EQ(sizeof(TypeParam), sizeof(System::Object) + std::size(fields) * sizeof(string_ptr))
        << "a field without a row";
    const auto section = TypeParam::Create();
    for (std::size_t i = 1; i < std::size(fields); ++i)
        EXPECT_LT(&((*section).*fields[i - 1].field), &((*section).*fields[i].field)) << fields[i].name;
}

TYPED_TEST(PathSections, MakesOneTableOfHandlers) {
    EXPECT_EQ(TypeParam::KEY_HANDLERS.Value(), TypeParam::KEY_HANDLERS.Value());
}

TYPED_TEST(PathSections, PutsEachValueIntoTheFieldOfItsKeyAlone) {
    for (const auto& row : this->FIELDS) {
        const auto section = TypeParam::FromSectionDictionary(MakeSection({{row.name, "/x y/_"}}));

        EXPECT_EQ(FieldsOf(*section, this->FIELDS), DefaultsBut(this->FIELDS, row.name, "/x y/_"));
    }
}

TYPED_TEST(PathSections, KeepsTheDefaultsOfAnEmptySection) {
    const auto section = TypeParam::FromSectionDictionary(MakeSection({}));

    EXPECT_EQ(FieldsOf(*section, this->FIELDS), DefaultsBut(this->FIELDS));
}

TYPED_TEST(PathSections, TakesAnEmptyValueAndANullOne) {
    const auto pairs = MakeSection({{this->LAST.name, ""}});
    EXPECT_EQ((*TypeParam::FromSectionDictionary(pairs)).*(this->LAST.field), "");

    pairs->Set(this->LAST.name, nullptr);
    EXPECT_EQ((*TypeParam::FromSectionDictionary(pairs)).*(this->LAST.field), nullptr);
}

TYPED_TEST(PathSections, MakesANewSectionEachTime) {
    const auto pairs = MakeSection({{this->LAST.name, "/x"}});

    EXPECT_NE(TypeParam::FromSectionDictionary(pairs), TypeParam::FromSectionDictionary(pairs));
    EXPECT_EQ(FieldsOf(*TypeParam::Create(), this->FIELDS), DefaultsBut(this->FIELDS)) << "the defaults stay";
}

TYPED_TEST(PathSections, RejectsAKeyThatItDoesNotKnow) {
    for (const char* key : Table<TypeParam>::UNKNOWN)
        ExpectException<KeyNotFoundException>(key, [&] {
            TypeParam::FromSectionDictionary(MakeSection({{this->LAST.name, "/x"}, {key, "/y"}}));
        });
}

TYPED_TEST(PathSections, NamesTheFirstOfSeveralUnknownKeys) {
    ExpectException<KeyNotFoundException>("zz", [] {
        TypeParam::FromSectionDictionary(MakeSection({{"zz", "1"}, {"aa", "1"}}));
    });
}

TYPED_TEST(PathSections, NeedsPairsAndAnOwner) {
    const std::string pairs = System::ArgumentNullException("section").what();
    ExpectException<System::ArgumentNullException>(pairs, [] { TypeParam::FromSectionDictionary(nullptr); });

    const std::string owner = System::ArgumentNullException("owner").what();
    for (const auto& row : *TypeParam::KEY_HANDLERS.Value())
        ExpectException<System::ArgumentNullException>(owner, [&] { row.Value->Invoke(nullptr, "/x"); });
}

TYPED_TEST(PathSections, SurvivesEveryAllocationFailure) {
    const auto pairs = MakeSection({{this->LAST.name, "/x"}});

    // At least the section and the texts of its defaults.
    EXPECT_GT(TestSupport::FailEachAllocation(
                  [&] { EXPECT_EQ((*TypeParam::FromSectionDictionary(pairs)).*(this->LAST.field), "/x"); }),
              std::size(this->FIELDS));
}
