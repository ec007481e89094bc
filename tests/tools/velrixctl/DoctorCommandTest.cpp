// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/velrixctl/PlainDevice.h"
#include "tests/tools/velrixctl/Velrixctl.h"

using testing::HasSubstr;
using TestSupport::PlainDevice;
using TestSupport::Velrixctl;

namespace {

// What the doctor says besides what is good.
std::string Complaints(int code) {
    const auto end = Velrixctl({"doctor"});
    EXPECT_EQ(end.code, code) << end.output;
    EXPECT_EQ(end.errors, "");
    std::istringstream lines(end.output);
    std::string complaints;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("good "))
            complaints += line + "\n";
    return complaints;
}

constexpr const char* MS_RED = "/sys/class/leds/ledGwStsRed";
constexpr const char* RESET = "/var/dev/gpio-outputs/oxboResetN";

} // namespace

TEST(DoctorCommand, FindsNothingOnAGoodDevice) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "log_dir = /var/log\n");

    EXPECT_EQ(Complaints(0), "");
    const auto end = Velrixctl({"doctor"});
    for (const char* subject : {"settings file: /etc/velrix.conf", "line OXBO_IRQ_N: ", "line QOR_RESET0_N: ",
                                "LED MS red: ", "LED LINK_ACT2 yellow: ", "log directory: /var/log",
                                "applications' logs: ", "web log: ", "system log: /dev/log",
                                "identity: /etc/hwrevision holds \"mainboard 3.0.1\"", "libvelrix: ", "libenv: "})
        EXPECT_THAT(end.output, HasSubstr("good   " + std::string(subject)));
}

TEST(DoctorCommand, ShowsATechnicianAMissingValueFile) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "[oxbo_pin]\nreset_n = /sys/class/gpio/gpio7/value\n");
    device.Write("/sys/class/gpio/export", "");

    EXPECT_EQ(Complaints(1),
              "wrong  line OXBO_RESET1_N: /sys/class/gpio/gpio7 does not exist\n"
              "       this means: the library cannot open /sys/class/gpio/gpio7/value\n"
              "       what to do: correct the path in the settings file, or find out why the system does not "
              "make the file\n");
}

TEST(DoctorCommand, ShowsATechnicianAnLedThatATriggerDrives) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "");
    device.Write(std::string(MS_RED) + "/trigger", "none timer [heartbeat] default-on\n");

    EXPECT_EQ(Complaints(1),
              "wrong  LED MS red: /sys/class/leds/ledGwStsRed/trigger has the trigger \"heartbeat\"\n"
              "       this means: the kernel drives this LED, too, and fights with what the library shows\n"
              "       what to do: echo none > /sys/class/leds/ledGwStsRed/trigger\n");
}

TEST(DoctorCommand, ShowsATechnicianAMisspeltKey) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "[oxbo_pin]\nreset_nn = /x\n");

    EXPECT_EQ(Complaints(1),
              "wrong  settings file: /etc/velrix.conf:2:1: there is no key \"reset_nn\" in [oxbo_pin]; did you "
              "mean \"reset_n\"?\n"
              "       this means: the library refuses the whole file, and no application starts\n"
              "       what to do: correct the line; velrixctl check shows it\n");
}

TEST(DoctorCommand, ShowsATechnicianAHexadecimalLength) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "[qor_dpram]\npath = /dev/mem\noffset = 42000000\nlength = 8192\n");

    EXPECT_EQ(Complaints(0),
              "note   settings file: /etc/velrix.conf:4:10: \"8192\" is hexadecimal, 33170 bytes; 8192 bytes are "
              "2000\n"
              "       this means: the library takes it, and it is probably not meant\n"
              "       what to do: correct the line; velrixctl check shows it\n");
}

TEST(DoctorCommand, SaysWhichGroupHasAPermission) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "");
    device.SetMode(std::string(RESET) + "/value", 0060);
    device.SetMode("/var/dev/gpio-inputs/oxboIrqN/value", 0200);

    EXPECT_EQ(
        Complaints(1),
        "wrong  line OXBO_IRQ_N: technician may not read /var/dev/gpio-inputs/oxboIrqN/value; its group gpio may not "
        "either\n"
        "       this means: the library cannot open it\n"
        "       what to do: let the system's rules give the group read permission, and add the user to it\n"
        "wrong  line OXBO_RESET1_N: technician may not write /var/dev/gpio-outputs/oxboResetN/value; the group gpio "
        "may\n"
        "       this means: the library cannot open it\n"
        "       what to do: add the user to the group gpio\n");
}

TEST(DoctorCommand, FindsDirectoriesWhereFilesAreMeant) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf",
                 "[oxbo_pin]\nreset_n = /var/dev/gpio-outputs/oxboResetN\n[led]\nmodule_status_red = "
                 "/sys/class/leds/ledGwStsRed\n");

    const std::string complaints = Complaints(1);

    EXPECT_THAT(complaints, HasSubstr("wrong  line OXBO_RESET1_N: /var/dev/gpio-outputs/oxboResetN is a directory\n"));
    EXPECT_THAT(complaints,
                HasSubstr("what to do: name the file in it, such as /var/dev/gpio-outputs/oxboResetN/value\n"));
    EXPECT_THAT(complaints, HasSubstr("wrong  LED MS red: /sys/class/leds/ledGwStsRed is a directory\n"));
}

TEST(DoctorCommand, FindsLinesOfTheWrongDirection) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "");
    device.Write(std::string(RESET) + "/direction", "in\n");
    device.Write("/var/dev/gpio-inputs/oxboIrqN/direction", "out\n");

    EXPECT_EQ(Complaints(1), "wrong  line OXBO_IRQ_N: /var/dev/gpio-inputs/oxboIrqN/direction says \"out\"\n"
                             "       this means: the board drives this input itself, and reads its own level\n"
                             "       what to do: echo in > /var/dev/gpio-inputs/oxboIrqN/direction\n"
                             "wrong  line OXBO_RESET1_N: /var/dev/gpio-outputs/oxboResetN/direction says \"in\"\n"
                             "       this means: writes to this output fail or have no effect\n"
                             "       what to do: echo out > /var/dev/gpio-outputs/oxboResetN/direction\n");
}

TEST(DoctorCommand, NotesAnOddBrightness) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "");
    device.Write(std::string(MS_RED) + "/max_brightness", "255\n");
    EXPECT_EQ(Complaints(0), "note   LED MS red: /sys/class/leds/ledGwStsRed/max_brightness says 255\n"
                             "       this means: the library writes 1 to light it, which may be too dim to see\n"
                             "       what to do: let the LED's driver or device tree offer just off and on\n");

    device.Write(std::string(MS_RED) + "/max_brightness", "0\n");
    EXPECT_THAT(Complaints(1), HasSubstr("this means: this LED cannot be lit\n"));
}

TEST(DoctorCommand, ExaminesTheLogs) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "log_dir = /data/log\nweb_log_file = /data/web\n");
    device.SetMode("/var/log/apps", 0500);
    device.Remove("/dev/log");

    const std::string complaints = Complaints(1);

    EXPECT_THAT(complaints, HasSubstr("wrong  log directory: /data/log: No such file or directory\n"
                                      "       this means: files cannot be made there\n"
                                      "       what to do: make the directory: mkdir -p /data/log\n"));
    EXPECT_THAT(complaints,
                HasSubstr("wrong  applications' logs: technician may not make files in /var/log/apps; its group is "
                          "gpio\n"));
    EXPECT_THAT(complaints,
                HasSubstr("wrong  web log: /data: No such file or directory\n"
                          "       this means: the library cannot make the web log, and Platform cannot be created\n"));
    EXPECT_THAT(complaints, HasSubstr("wrong  system log: /dev/log: No such file or directory\n"
                                      "       this means: records of the event log listeners are lost\n"
                                      "       what to do: start the system log daemon\n"));
}

TEST(DoctorCommand, ExaminesTheIdentity) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "");
    device.Write("/etc/serialnumber.product", "1a2b3c4d\n");
    device.Remove("/etc/hwrevision");

    EXPECT_EQ(Complaints(1),
              "wrong  identity: /etc/serialnumber.product: holds \"1a2b3c4d\\n\" and not a hexadecimal number of "
              "up to 16 digits; nothing may follow, no line end either\n"
              "       this means: applications that ask for the identity fail\n"
              "       what to do: printf 1a2b3c4d > /etc/serialnumber.product (printf adds no line end, unlike "
              "echo)\n"
              "wrong  identity: /etc/hwrevision: No such file or directory\n"
              "       this means: applications that ask for the identity fail\n"
              "       what to do: printf 'mainboard 3.0.1' > /etc/hwrevision\n");
}

TEST(DoctorCommand, NotesAMissingSettingsFileAndFindsAnUnreadableOne) {
    const PlainDevice device;
    EXPECT_EQ(Complaints(0), "note   settings file: /etc/velrix.conf: No such file or directory\n"
                             "       this means: the library uses the defaults\n"
                             "       what to do: nothing, if they are right: velrixctl settings\n");

    device.Write("/etc/velrix.conf", "");
    device.SetMode("/etc/velrix.conf", 0);
    EXPECT_THAT(Complaints(1), HasSubstr("wrong  settings file: /etc/velrix.conf: Permission denied\n"));
}

TEST(DoctorCommand, GivesJson) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "");
    device.Remove(MS_RED);

    const auto end = Velrixctl({"doctor", "--json"});

    EXPECT_EQ(end.code, 1);
    int wrong = 0;
    for (const auto& diagnosis : nlohmann::json::parse(end.output))
        if (diagnosis["verdict"] == "wrong") {
            ++wrong;
            EXPECT_EQ(diagnosis["subject"], "LED MS red");
            EXPECT_EQ(diagnosis["seen"], "/sys/class/leds/ledGwStsRed does not exist");
        }
    EXPECT_EQ(wrong, 1);
}

// Neither opening an output for writing nor anything else changes it.
TEST(DoctorCommand, ChangesNothing) {
    const PlainDevice device;
    device.Write(std::string(RESET) + "/value", "1\n");
    (void)Velrixctl({"doctor"});

    std::ifstream file(std::string(RESET) + "/value");
    std::string text;
    std::getline(file, text);
    EXPECT_EQ(text, "1");
    EXPECT_FALSE(std::filesystem::exists("/mnt/share/logger"));
}
