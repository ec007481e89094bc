// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/SettingsFile.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <System/CallbackDualArgFunc.h>
#include <System/Collections/Generic/Exceptions.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/settings/PrivateEtc.h"
#include "tests/settings/Sections.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/RecordingListener.h"

using System::string_ptr;
using System::Collections::Generic::KeyNotFoundException;
using System::Diagnostics::Trace;
using TestSupport::DefaultsBut;
using TestSupport::ExpectException;
using TestSupport::FieldsOf;
using TestSupport::MakeSection;
using TestSupport::PrivateEtc;
using TestSupport::RecordingListener;
using Velrix::Settings::DpramSection;
using Velrix::Settings::LedSection;
using Velrix::Settings::OxboPinSection;
using Velrix::Settings::QorPinSection;
using Velrix::Settings::SettingsFile;

namespace {

// In the order of declaration.
const struct {
    const char* name;
    string_ptr SettingsFile::*field;
    const char* initial;
} FIELDS[] = {
    {"log_dir", &SettingsFile::log_dir, "/var/log"},
    {"system_config_dir", &SettingsFile::system_config_dir, "/etc"},
    {"temp_dir", &SettingsFile::temp_dir, "/tmp"},
    {"user_config_dir", &SettingsFile::user_config_dir, "/mnt/config"},
    {"persistent_data_dir", &SettingsFile::persistent_data_dir, "/mnt/share"},
    {"module_firmware_dir", &SettingsFile::module_firmware_dir, "/var/spool"},
    {"web_log_file", &SettingsFile::web_log_file, "/mnt/share/logger"},
};

std::string Window(const DpramSection& section) {
    return TestSupport::TextOf(section.path) + " " + std::to_string(section.offset) + "+" +
           std::to_string(section.length);
}

// One value of each of the five sections, to detect which were replaced.
std::string SectionsOf(SettingsFile& settings) {
    return Window(*settings.oxbo_dpram) + ", " + TestSupport::TextOf(settings.oxbo_pin->reset_n) + ", " +
           Window(*settings.qor_dpram) + ", " + TestSupport::TextOf(settings.qor_pin->reset_n) + ", " +
           TestSupport::TextOf(settings.led->module_status_red);
}

constexpr const char* DEFAULT_SECTIONS = "/dev/mem 1140850688+8192, /var/dev/gpio-outputs/oxboResetN/value, "
                                         "/dev/mem 1107296256+8192, /var/dev/gpio-outputs/qorResetN/value, "
                                         "/sys/class/leds/ledGwStsRed/brightness";

void ExpectDefaults(SettingsFile& settings) {
    EXPECT_EQ(FieldsOf(settings, FIELDS), DefaultsBut(FIELDS));
    EXPECT_EQ(SectionsOf(settings), DEFAULT_SECTIONS);
}

// Records the trace during its lifetime.
class Recording final {
public:
    Recording() { Trace::AddListener(listener); }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording() { Trace::RemoveListener(listener); }

    std::string Log() const { return listener->Log(); }

private:
    const std::shared_ptr<RecordingListener> listener = RecordingListener::Create();
};

// The log of one warning about the file: "System::IO::IOException: Cannot read: /etc/velrix.conf: Input/output error".
void ExpectWarning(const Recording& recording, const std::string& exceptionType, const std::string& what, int error) {
    EXPECT_EQ(recording.Log(),
              "WARNING " + exceptionType + ": " + what + ": /etc/velrix.conf: " + std::strerror(error));
}

} // namespace

TEST(SettingsFile, HasDefaultsWithAWarningWhenTheFileIsMissing) {
    const PrivateEtc etc;
    const Recording recording;

    const auto settings = SettingsFile::Create();

    ExpectDefaults(*settings);
    ExpectWarning(recording, "System::IO::FileNotFoundException", "Cannot open", ENOENT);
    EXPECT_EQ(settings->ToString(), "Velrix::Settings::SettingsFile");
}

TEST(SettingsFile, HasDefaultsWithAWarningWhenTheFileMayNotBeRead) {
    PrivateEtc etc;
    etc.WriteUnreadable("log_dir=/x");
    const Recording recording;

    ExpectDefaults(*SettingsFile::Create());

    ExpectWarning(recording, "System::IO::UnauthorizedAccessException", "Cannot open", EACCES);
}

TEST(SettingsFile, HasDefaultsWithAWarningWhenTheFileIsADirectory) {
    PrivateEtc etc;
    etc.MakeDirectory();
    const Recording recording;

    ExpectDefaults(*SettingsFile::Create());

    ExpectWarning(recording, "System::IO::IOException", "Cannot open", EISDIR);
}

TEST(SettingsFile, HasDefaultsWithAWarningWhenTheFileFailsInTheMiddle) {
    const PrivateEtc etc("log_dir=/x\n" + std::string(20000, '#'));
    const TestSupport::FailingSystemCalls failing("read", 2, EIO);
    const Recording recording;

    ExpectDefaults(*SettingsFile::Create());

    ExpectWarning(recording, "System::IO::IOException", "Cannot read", EIO);
}

TEST(SettingsFile, HasDefaultsWithoutAWarningWhenTheFileSaysNothing) {
    for (const char* text : {"", "# nothing\n\n", "[led]", "[oxbo_pin]\n[qor_pin]\n[led]\n"}) {
        const PrivateEtc etc(text);
        const Recording recording;

        ExpectDefaults(*SettingsFile::Create());

        EXPECT_EQ(recording.Log(), "");
    }
}

TEST(SettingsFile, PutsEachValueIntoTheFieldOfItsKeyAlone) {
    PrivateEtc etc;

    for (const auto& row : FIELDS) {
        etc.Write(std::string(row.name) + "=\"/data /_/\"");

        const auto settings = SettingsFile::Create();

        EXPECT_EQ(FieldsOf(*settings, FIELDS), DefaultsBut(FIELDS, row.name, "/data /_/"));
        EXPECT_EQ(SectionsOf(*settings), DEFAULT_SECTIONS);
    }
}

TEST(SettingsFile, KnowsAKeyForEveryFieldInTheirOrder) {
    EXPECT_EQ(TestSupport::KeysOf(*SettingsFile::KEY_HANDLERS.Value()), TestSupport::NamesOf(FIELDS));
    EXPECT_EQ(sizeof(SettingsFile),
              sizeof(System::Object) + 5 * sizeof(std::shared_ptr<LedSection>) + std::size(FIELDS) * sizeof(string_ptr))
        << "a field without a key or section";
    const PrivateEtc etc("");
    const auto settings = SettingsFile::Create();
    const void* const places[] = {&settings->oxbo_dpram, &settings->oxbo_pin, &settings->qor_dpram,
                                  &settings->qor_pin,    &settings->led,      &settings->log_dir};
    for (std::size_t i = 1; i < std::size(places); ++i)
        EXPECT_LT(places[i - 1], places[i]) << i;
    for (std::size_t i = 1; i < std::size(FIELDS); ++i)
        EXPECT_LT(&((*settings).*FIELDS[i - 1].field), &((*settings).*FIELDS[i].field)) << FIELDS[i].name;
}

TEST(SettingsFile, KnowsItsSections) {
    EXPECT_EQ(TestSupport::KeysOf(*SettingsFile::SECTION_HANDLERS.Value()),
              "- oxbo_pin oxbo_dpram qor_pin qor_dpram led");
}

TEST(SettingsFile, ReplacesTheObjectOfEachSectionThatTheFileHas) {
    const struct {
        const char* text;
        const char* expected;
    } rows[] = {
        {"[oxbo_dpram]\noffset=43000000",
         "null 1124073472+0, /var/dev/gpio-outputs/oxboResetN/value, /dev/mem 1107296256+8192, "
         "/var/dev/gpio-outputs/qorResetN/value, /sys/class/leds/ledGwStsRed/brightness"},
        {"[oxbo_pin]\nreset_n=/o", "/dev/mem 1140850688+8192, /o, /dev/mem 1107296256+8192, "
                                   "/var/dev/gpio-outputs/qorResetN/value, /sys/class/leds/ledGwStsRed/brightness"},
        {"[qor_dpram]\npath=/p\nlength=10\noffset=0",
         "/dev/mem 1140850688+8192, /var/dev/gpio-outputs/oxboResetN/value, /p 0+16, "
         "/var/dev/gpio-outputs/qorResetN/value, /sys/class/leds/ledGwStsRed/brightness"},
        {"[qor_pin]\nreset_n=/sys/class/gpio/gpio7/value",
         "/dev/mem 1140850688+8192, /var/dev/gpio-outputs/oxboResetN/value, /dev/mem 1107296256+8192, "
         "/sys/class/gpio/gpio7/value, /sys/class/leds/ledGwStsRed/brightness"},
        {"[led]\nmodule_status_red=/r",
         "/dev/mem 1140850688+8192, /var/dev/gpio-outputs/oxboResetN/value, /dev/mem 1107296256+8192, "
         "/var/dev/gpio-outputs/qorResetN/value, /r"},
        {"[led]\nmodule_status_red=/a\n[qor_pin]\nreset_n=/b\n[qor_dpram]\n[oxbo_pin]\nreset_n=/c\n[oxbo_dpram]\npath=/"
         "d",
         "/d 0+0, /c, null 0+0, /b, /a"},
    };

    for (const auto& [text, expected] : rows) {
        const PrivateEtc etc(text);

        const auto settings = SettingsFile::Create();

        EXPECT_EQ(SectionsOf(*settings), expected);
        EXPECT_EQ(FieldsOf(*settings, FIELDS), DefaultsBut(FIELDS));
    }
}

TEST(SettingsFile, ReadsKeysAndSectionsOfOneFile) {
    const PrivateEtc etc("log_dir=/data/log\r\n[led] # lights\r\nmodule_status_red=\"/sys/a_b\"\r\n");

    const auto settings = SettingsFile::Create();

    EXPECT_EQ(FieldsOf(*settings, FIELDS), DefaultsBut(FIELDS, "log_dir", "/data/log"));
    EXPECT_EQ(settings->led->module_status_red, "/sys/a_b");
}

TEST(SettingsFile, RejectsAFileThatBreaksTheGrammar) {
    const PrivateEtc etc("log_dir=/x\n[led]\nmodule_status_red=a_b");
    const Recording recording;

    ExpectException<System::FormatException>("Unexpected char '_' at 2:20 when parsing /etc/velrix.conf",
                                             [] { SettingsFile::Create(); });
    EXPECT_EQ(recording.Log(), "");
}

TEST(SettingsFile, RejectsAFileThatEndsTooEarly) {
    const PrivateEtc etc("log_dir=");

    ExpectException<System::FormatException>("Unexpected end of file when parsing /etc/velrix.conf",
                                             [] { SettingsFile::Create(); });
}

TEST(SettingsFile, RejectsWhatIsThereTwice) {
    for (const char* text : {"log_dir=1\nlog_dir=1", "[led]\n[led]"}) {
        const PrivateEtc etc(text);
        ExpectException<System::ArgumentException>("Key already exists", [] { SettingsFile::Create(); });
    }
}

TEST(SettingsFile, RejectsNamesThatItDoesNotKnow) {
    const struct {
        const char* text;
        const char* name;
    } rows[] = {
        {"logdir=/x", "logdir"},
        {"[leds]", "leds"},
        {"[network]\nip=1", "network"},
        {"[Led]", "Led"},
        {"[qor_dpram]\nsize=1", "size"},
        {"[led]\nmodule_status_yellow=/x", "module_status_yellow"},
        {"[oxbo_pin]\nbusy_n=/x", "busy_n"},
        {"[qor_pin]\nmod_1=/x", "mod_1"},
        {"reset_n=/x", "reset_n"},
        {"led=/x", "led"},
        {"b=1\na=2\n[c]", "b"}, // the first of several
        {"[y]\n[x]", "y"},
    };

    for (const auto& [text, name] : rows) {
        const PrivateEtc etc(text);
        const Recording recording;
        ExpectException<KeyNotFoundException>(name, [] { SettingsFile::Create(); });
        EXPECT_EQ(recording.Log(), "") << text;
    }
}

TEST(SettingsFile, RejectsANumberThatIsNone) {
    const PrivateEtc etc("[oxbo_dpram]\nlength=12G");

    EXPECT_THROW(SettingsFile::Create(), System::FormatException);
}

TEST(SettingsFile, KeepsTheSectionsBeforeOneThatFailsToRead) {
    const PrivateEtc etc("log_dir=/x\n[qor_pin]\nreset_n=/q\n[broken]\n[led]\nmodule_status_red=/l");
    using Handler =
        System::CallbackDualArgFunc<std::shared_ptr<SettingsFile>, std::shared_ptr<SettingsFile::Section>, void>;
    SettingsFile::SECTION_HANDLERS.Value()->Add(
        "broken", Handler::Create([](std::shared_ptr<SettingsFile>, std::shared_ptr<SettingsFile::Section>) {
            throw System::IO::IOException("Cannot read", "/etc/velrix.conf", EIO);
        }));
    const Recording recording;

    const auto settings = SettingsFile::Create();

    SettingsFile::SECTION_HANDLERS.Value()->Remove("broken");
    ExpectWarning(recording, "System::IO::IOException", "Cannot read", EIO);
    EXPECT_EQ(settings->log_dir, "/x");
    EXPECT_EQ(settings->qor_pin->reset_n, "/q");
    EXPECT_EQ(settings->led->module_status_red, "/sys/class/leds/ledGwStsRed/brightness");
}

TEST(SettingsFile, ReadsTheFileOnceAndOnlyWhenItIsAskedFor) {
    PrivateEtc etc("[leds]");
    ASSERT_FALSE(SettingsFile::INSTANCE.IsValueCreated());

    EXPECT_THROW(SettingsFile::INSTANCE.Value(), KeyNotFoundException);
    EXPECT_FALSE(SettingsFile::INSTANCE.IsValueCreated());

    etc.Write("log_dir=/once");
    const auto settings = SettingsFile::INSTANCE.Value();
    etc.Write("log_dir=/twice");

    EXPECT_EQ(settings->log_dir, "/once");
    EXPECT_EQ(SettingsFile::INSTANCE.Value(), settings);
    EXPECT_EQ(SettingsFile::INSTANCE.Value()->log_dir, "/once");
}

TEST(SettingsFile, MakesSettingsOfTheirOwnEachTime) {
    const PrivateEtc etc("");

    EXPECT_NE(SettingsFile::Create(), SettingsFile::Create());
}

TEST(SettingsFile, HandlesOneSectionAtATime) {
    const PrivateEtc etc("");
    const auto settings = SettingsFile::Create();
    const auto led = settings->led;

    SettingsFile::HandleDefaultSection(settings, MakeSection({{"temp_dir", "/t"}, {"log_dir", "/l"}}));
    SettingsFile::HandleOxboDpramSection(settings, MakeSection({{"path", "/a"}}));
    SettingsFile::HandleOxboPinSection(settings, MakeSection({{"reset_n", "/b"}}));
    SettingsFile::HandleQorDpramSection(settings, MakeSection({{"path", "/c"}}));
    SettingsFile::HandleQorPinSection(settings, MakeSection({{"reset_n", "/d"}}));
    SettingsFile::HandleLedSection(settings, MakeSection({{"module_status_red", "/e"}}));

    EXPECT_EQ(SectionsOf(*settings), "/a 0+0, /b, /c 0+0, /d, /e");
    EXPECT_EQ(settings->temp_dir, "/t");
    EXPECT_EQ(settings->log_dir, "/l");
    EXPECT_NE(settings->led, led);
    EXPECT_EQ(led->module_status_red, "/sys/class/leds/ledGwStsRed/brightness") << "the old object stays as it was";
}

TEST(SettingsFile, KeepsASectionWhoseReplacementFails) {
    const PrivateEtc etc("");
    const auto settings = SettingsFile::Create();

    EXPECT_THROW(SettingsFile::HandleLedSection(settings, MakeSection({{"module_status_red", "/e"}, {"x", ""}})),
                 KeyNotFoundException);
    EXPECT_THROW(SettingsFile::HandleQorDpramSection(settings, MakeSection({{"path", "/e"}, {"length", "g"}})),
                 System::FormatException);

    EXPECT_EQ(SectionsOf(*settings), DEFAULT_SECTIONS);
}

TEST(SettingsFile, NeedsSettingsAndASection) {
    const PrivateEtc etc("");
    const auto settings = SettingsFile::Create();
    const auto section = MakeSection({});

    for (const auto& row : *SettingsFile::SECTION_HANDLERS.Value()) {
        ExpectException<System::ArgumentNullException>(System::ArgumentNullException("settings").what(),
                                                       [&] { row.Value->Invoke(nullptr, section); });
        ExpectException<System::ArgumentNullException>(System::ArgumentNullException("section").what(),
                                                       [&] { row.Value->Invoke(settings, nullptr); });
    }
    for (const auto& row : *SettingsFile::KEY_HANDLERS.Value())
        ExpectException<System::ArgumentNullException>(System::ArgumentNullException("owner").what(),
                                                       [&] { row.Value->Invoke(nullptr, "/x"); });
    ExpectDefaults(*settings);
}

TEST(SettingsFile, SurvivesEveryAllocationFailure) {
    PrivateEtc etc(
        "log_dir=/x\n[oxbo_pin]\nreset_n=/a\n[oxbo_dpram]\npath=/b\noffset=1\nlength=2\n[qor_pin]\nreset_n=/c\n"
        "[qor_dpram]\npath=/d\n[led]\nmodule_status_red=/e");
    EXPECT_GT(TestSupport::FailEachAllocation(
                  [] { EXPECT_EQ(SectionsOf(*SettingsFile::Create()), "/b 1+2, /a, /d 0+0, /c, /e"); }),
              50);

    etc.Clear();
    TestSupport::FailEachAllocation([] { EXPECT_EQ(SectionsOf(*SettingsFile::Create()), DEFAULT_SECTIONS); });
}
