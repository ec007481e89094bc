// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/QorPinSection.h>

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
using Velrix::Settings::QorPinSection;

namespace {

// In the order of declaration.
const struct {
    const char* name;
    string_ptr QorPinSection::*field;
    const char* initial;
} FIELDS[] = {
    {"bootloader_enable_n", &QorPinSection::bootloader_enable_n, "/var/dev/gpio-outputs/qorBootloaderEnableN/value"},
    {"busy_n", &QorPinSection::busy_n, "/var/dev/gpio-inputs/qorDpramBusyN/value"},
    {"irq_n", &QorPinSection::irq_n, "/var/dev/gpio-inputs/qorDpramIrqN/value"},
    {"reset_n", &QorPinSection::reset_n, "/var/dev/gpio-outputs/qorResetN/value"},
};

} // namespace

TEST(QorPinSection, HasDefaultsInEveryField) {
    const auto section = QorPinSection::Create();

    EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS));
    EXPECT_EQ(section->ToString(), "Velrix::Settings::QorPinSection");
}

TEST(QorPinSection, KnowsAKeyForEveryFieldInTheirOrder) {
    EXPECT_EQ(TestSupport::KeysOf(*QorPinSection::KEY_HANDLERS.Value()), TestSupport::NamesOf(FIELDS));
    EXPECT_EQ(sizeof(QorPinSection), sizeof(System::Object) + std::size(FIELDS) * sizeof(string_ptr))
        << "a field without a row";
    const auto section = QorPinSection::Create();
    for (std::size_t i = 1; i < std::size(FIELDS); ++i)
        EXPECT_LT(&((*section).*FIELDS[i - 1].field), &((*section).*FIELDS[i].field)) << FIELDS[i].name;
}

TEST(QorPinSection, MakesOneTableOfHandlers) {
    EXPECT_EQ(QorPinSection::KEY_HANDLERS.Value(), QorPinSection::KEY_HANDLERS.Value());
}

TEST(QorPinSection, PutsEachValueIntoTheFieldOfItsKeyAlone) {
    for (const auto& row : FIELDS) {
        const auto section = QorPinSection::FromSectionDictionary(MakeSection({{row.name, "/x y/_"}}));

        EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS, row.name, "/x y/_"));
    }
}

TEST(QorPinSection, KeepsTheDefaultsOfAnEmptySection) {
    const auto section = QorPinSection::FromSectionDictionary(MakeSection({}));

    EXPECT_EQ(FieldsOf(*section, FIELDS), DefaultsBut(FIELDS));
}

TEST(QorPinSection, TakesAnEmptyValueAndANullOne) {
    const auto pairs = MakeSection({{"reset_n", ""}});
    EXPECT_EQ(QorPinSection::FromSectionDictionary(pairs)->reset_n, "");

    pairs->Set("reset_n", nullptr);
    EXPECT_EQ(QorPinSection::FromSectionDictionary(pairs)->reset_n, nullptr);
}

TEST(QorPinSection, MakesANewSectionEachTime) {
    const auto pairs = MakeSection({{"reset_n", "/x"}});

    EXPECT_NE(QorPinSection::FromSectionDictionary(pairs), QorPinSection::FromSectionDictionary(pairs));
    EXPECT_EQ(FieldsOf(*QorPinSection::Create(), FIELDS), DefaultsBut(FIELDS)) << "the defaults stay";
}

TEST(QorPinSection, RejectsAKeyThatItDoesNotKnow) {
    for (const char* key : {"mod_1", "busy", "Reset_n", ""})
        ExpectException<KeyNotFoundException>(key, [&] {
            QorPinSection::FromSectionDictionary(MakeSection({{"reset_n", "/x"}, {key, "/y"}}));
        });
}

TEST(QorPinSection, NamesTheFirstOfSeveralUnknownKeys) {
    ExpectException<KeyNotFoundException>("zz", [] {
        QorPinSection::FromSectionDictionary(MakeSection({{"zz", "1"}, {"aa", "1"}}));
    });
}

TEST(QorPinSection, NeedsPairsAndAnOwner) {
    const std::string pairs = System::ArgumentNullException("section").what();
    ExpectException<System::ArgumentNullException>(pairs, [] { QorPinSection::FromSectionDictionary(nullptr); });

    const std::string owner = System::ArgumentNullException("owner").what();
    for (const auto& row : *QorPinSection::KEY_HANDLERS.Value())
        ExpectException<System::ArgumentNullException>(owner, [&] { row.Value->Invoke(nullptr, "/x"); });
}

TEST(QorPinSection, SurvivesEveryAllocationFailure) {
    const auto pairs = MakeSection({{"reset_n", "/x"}});

    EXPECT_GT(
        TestSupport::FailEachAllocation([&] { EXPECT_EQ(QorPinSection::FromSectionDictionary(pairs)->reset_n, "/x"); }),
        4);
}
