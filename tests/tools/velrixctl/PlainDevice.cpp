// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/velrixctl/PlainDevice.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include "tools/check/SettingsKeys.h"

namespace TestSupport {

namespace {

constexpr const char* COVERED[] = {"/etc", "/sys", "/var", "/mnt"};

void Check(bool done, const std::string& what) {
    if (!done)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

void WriteWhole(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    Check(static_cast<bool>((std::ofstream(path) << text).flush()), "cannot write " + path);
}

void Cover(const char* path) {
    Check(::mount("velrixctl-tests", path, "tmpfs", 0, "mode=0755,size=4m") == 0, std::string("cannot cover ") + path);
}

// A tmpfs with the machine's devices that programs need.
void CoverDevices() {
    const std::string devices = "/mnt/dev";
    std::filesystem::create_directory(devices);
    Cover(devices.c_str());
    for (const std::string name : {"null", "zero", "full", "urandom", "tty"}) {
        WriteWhole(devices + "/" + name, "");
        Check(::mount(("/dev/" + name).c_str(), (devices + "/" + name).c_str(), nullptr, MS_BIND, nullptr) == 0,
              "cannot bind /dev/" + name);
    }
    // The machine's /dev/pts/ptmx is for root.
    std::filesystem::create_directory(devices + "/pts");
    Check(::mount("devpts", (devices + "/pts").c_str(), "devpts", 0, "newinstance,ptmxmode=0666") == 0,
          "cannot mount terminals");
    std::filesystem::create_symlink("pts/ptmx", devices + "/ptmx");
    Check(::mount(devices.c_str(), "/dev", nullptr, MS_MOVE, nullptr) == 0, "cannot cover /dev");
}

void EnterNamespaces() {
    const std::string user = std::to_string(::geteuid()), group = std::to_string(::getegid());
    Check(::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "no user namespace");
    WriteWhole("/proc/self/setgroups", "deny");
    // Not 0: a program that root starts has all capabilities, and file modes do not apply to it.
    WriteWhole("/proc/self/uid_map", "1000 " + user + " 1");
    WriteWhole("/proc/self/gid_map", "1000 " + group + " 1");
    Check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "cannot make the mounts private");
    for (const char* path : COVERED)
        Cover(path);
    CoverDevices();
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    Check(::syscall(SYS_capset, &header, none) == 0, "cannot give up the capabilities");
}

void MakeFiles() {
    using VelrixTools::KeyKind;
    const auto settings = VelrixTools::DefaultSettings();
    for (const VelrixTools::SettingsKey& key : VelrixTools::SettingsKeys()) {
        const std::filesystem::path path = key.value(*settings)->ToUtf8();
        if (key.kind == KeyKind::INPUT || key.kind == KeyKind::OUTPUT) {
            WriteWhole(path, "0\n");
            WriteWhole(path.parent_path() / "direction", key.kind == KeyKind::INPUT ? "in\n" : "out\n");
        } else if (key.kind == KeyKind::LED) {
            WriteWhole(path, "0\n");
            WriteWhole(path.parent_path() / "trigger", "[none] timer heartbeat\n");
            WriteWhole(path.parent_path() / "max_brightness", "1\n");
        }
    }
    WriteWhole("/etc/passwd", "technician:x:1000:1000::/:/bin/sh\n");
    WriteWhole("/etc/group", "gpio:x:1000:\n");
    WriteWhole("/etc/serialnumber.product", "1a2b3c4d");
    WriteWhole("/etc/version.product", "v2.1.0");
    WriteWhole("/etc/hwrevision", "mainboard 3.0.1");
    for (const char* path : {"/var/log/apps", "/mnt/share"})
        std::filesystem::create_directories(path);
}

} // namespace

PlainDevice::PlainDevice() {
    static const bool entered = (EnterNamespaces(), true);
    static_cast<void>(entered);
    for (const char* path : COVERED)
        for (const auto& entry : std::filesystem::directory_iterator(path))
            std::filesystem::remove_all(entry);
    MakeFiles();
    systemLog = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    Check(::bind(systemLog, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "cannot make /dev/log");
}

PlainDevice::~PlainDevice() {
    ::close(systemLog);
    ::unlink("/dev/log");
}

void PlainDevice::Write(const std::string& path, const std::string& text) const {
    WriteWhole(path, text);
}

void PlainDevice::Append(const std::string& path, const std::string& text) const {
    Check(static_cast<bool>((std::ofstream(path, std::ios::app) << text).flush()), "cannot append to " + path);
}

void PlainDevice::Remove(const std::string& path) const {
    std::filesystem::remove_all(path);
}

void PlainDevice::SetMode(const std::string& path, unsigned mode) const {
    Check(::chmod(path.c_str(), mode) == 0, "cannot change the mode of " + path);
}

} // namespace TestSupport
