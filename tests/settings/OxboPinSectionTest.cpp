// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/OxboPinSection.h>

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
using Velrix::Settings::OxboPinSection;

namespace {

// In the order of declaration.
const struct {
    const char* name;
    string_ptr OxboPinSection::*field;
    const char* initial;
} FIELDS[] = {
    {"irq_n", &OxboPinSection::irq_n, "/var/dev/gpio-inputs/oxboIrqN/value"},
    {"mod_1", &OxboPinSection::mod_1, "/var/dev/gpio-inputs/oxboMod1/value"},
    {"mod_id_0_sync", &OxboPinSection::mod_id_0_sync, "/var/dev/gpio-inputs/oxboModId0Sync/value"},
    {"ramloader_enable", &OxboPinSection::ramloader_enable, "/var/dev/gpio-outputs/oxboRamLoaderEnable/value"},
    {"reset_n", &OxboPinSection::reset_n, "/var/dev/gpio-outputs/oxboResetN/value"},
};

} // namespace

TEST(OxboPinSection, HasDefaultsInEveryField) {
    const auto section = OxboPinSection::Create();

    EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS));
    EXPECT_EQ(section->ToString(), "Velrix::Settings::OxboPinSection");
}

TEST(OxboPinSection, KnowsAKeyForEveryFieldInTheirOrder) {
    EXPECT_EQ(TestSupport::KeysOf(*OxboPinSection::KEY_HANDLERS.Value()), TestSupport::NamesOf(FIELDS));
    EXPECT_EQ(sizeof(OxboPinSection), sizeof(System::Object) + std::size(FIELDS) * sizeof(string_ptr))
        << "a field without a row";
    const auto section = OxboPinSection::Create();
    for (std::size_t i = 1; i < std::size(FIELDS); ++i)
        EXPECT_LT(&((*section).*FIELDS[i - 1].field), &((*section).*FIELDS[i].field)) << FIELDS[i].name;
}

TEST(OxboPinSection, MakesOneTableOfHandlers) {
    EXPECT_EQ(OxboPinSection::KEY_HANDLERS.Value(), OxboPinSection::KEY_HANDLERS.Value());
}

TEST(OxboPinSection, PutsEachValueIntoTheFieldOfItsKeyAlone) {
    for (const auto& row : FIELDS) {
        const auto section = OxboPinSection::FromSectionDictionary(MakeSection({{row.name, "/x y/_"}}));

        EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS, row.name, "/x y/_"));
    }
}

TEST(OxboPinSection, KeepsTheDefaultsOfAnEmptySection) {
    const auto section = OxboPinSection::FromSectionDictionary(MakeSection({}));

    EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS));
}

TEST(OxboPinSection, TakesAnEmptyValueAndANullOne) {
    const auto pairs = MakeSection({{"reset_n", ""}});
    EXPECT_EQ(OxboPinSection::FromSectionDictionary(pairs)->reset_n, "");

    pairs->Set("reset_n", nullptr);
    EXPECT_EQ(OxboPinSection::FromSectionDictionary(pairs)->reset_n, nullptr);
}

TEST(OxboPinSection, MakesANewSectionEachTime) {
    const auto pairs = MakeSection({{"reset_n", "/x"}});

    EXPECT_NE(OxboPinSection::FromSectionDictionary(pairs), OxboPinSection::FromSectionDictionary(pairs));
    EXPECT_EQ(FieldsOf(*OxboPinSection::Create(), FIELDS), DefaultsBut(FIELDS)) << "the defaults stay";
}

TEST(OxboPinSection, RejectsAKeyThatItDoesNotKnow) {
    for (const char* key : {"irq", "reset", "IRQ_N", ""})
        ExpectException<KeyNotFoundException>(key, [&] {
            OxboPinSection::FromSectionDictionary(MakeSection({{"reset_n", "/x"}, {key, "/y"}}));
        });
}

TEST(OxboPinSection, NamesTheFirstOfSeveralUnknownKeys) {
    ExpectException<KeyNotFoundException>("zz", [] {
        OxboPinSection::FromSectionDictionary(MakeSection({{"zz", "1"}, {"aa", "1"}}));
    });
}

TEST(OxboPinSection, NeedsPairsAndAnOwner) {
    const std::string pairs = System::ArgumentNullException("section").what();
    ExpectException<System::ArgumentNullException>(pairs, [] { OxboPinSection::FromSectionDictionary(nullptr); });

    const std::string owner = System::ArgumentNullException("owner").what();
    for (const auto& row : *OxboPinSection::KEY_HANDLERS.Value())
        ExpectException<System::ArgumentNullException>(owner, [&] { row.Value->Invoke(nullptr, "/x"); });
}

TEST(OxboPinSection, SurvivesEveryAllocationFailure) {
    const auto pairs = MakeSection({{"reset_n", "/x"}});

    EXPECT_GT(TestSupport::FailEachAllocation(
                  [&] { EXPECT_EQ(OxboPinSection::FromSectionDictionary(pairs)->reset_n, "/x"); }),
              5);
}
