// SPDX-License-Identifier: Apache-2.0
#include "tests/places/Restrictions.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace TestPlaces {

namespace {

namespace fs = std::filesystem;

#if defined(__x86_64__)
constexpr std::uint32_t ARCHITECTURE = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t ARCHITECTURE = AUDIT_ARCH_AARCH64;
#endif

// Docker's capabilities; the numbers are kernel ABI.
constexpr unsigned CAPABILITIES[] = {
    CAP_CHOWN,  CAP_DAC_OVERRIDE, CAP_FSETID,  CAP_FOWNER,           CAP_MKNOD,      CAP_NET_RAW, CAP_SETGID,
    CAP_SETUID, CAP_SETFCAP,      CAP_SETPCAP, CAP_NET_BIND_SERVICE, CAP_SYS_CHROOT, CAP_KILL,    CAP_AUDIT_WRITE};

// The system calls that Docker's filter forbids with those capabilities, as far as this project could use them.
constexpr long REFUSED[] = {
    SYS_mount,          SYS_umount2,         SYS_pivot_root,    SYS_unshare,     SYS_setns,
    SYS_open_tree,      SYS_move_mount,      SYS_fsopen,        SYS_fsconfig,    SYS_fsmount,
    SYS_fspick,         SYS_mount_setattr,   SYS_bpf,           SYS_keyctl,      SYS_add_key,
    SYS_request_key,    SYS_perf_event_open, SYS_userfaultfd,   SYS_init_module, SYS_finit_module,
    SYS_delete_module,  SYS_kexec_load,      SYS_reboot,        SYS_swapon,      SYS_swapoff,
    SYS_acct,           SYS_settimeofday,    SYS_clock_settime, SYS_quotactl,    SYS_open_by_handle_at,
    SYS_lookup_dcookie, SYS_io_uring_setup,  SYS_vhangup};

void Mount(const std::string& source, const std::string& target, const char* type, unsigned long flags,
           const char* data = nullptr) {
    Check(::mount(source.c_str(), target.c_str(), type, flags, data) == 0, "mounting " + target);
}

void MakeReadOnly(const std::string& folder) {
    Mount(folder, folder, nullptr, MS_BIND | MS_REC);
    struct mount_attr attributes = {};
    attributes.attr_set = MOUNT_ATTR_RDONLY;
    Check(::mount_setattr(AT_FDCWD, folder.c_str(), AT_RECURSIVE, &attributes, sizeof attributes) == 0,
          "making " + folder + " read-only");
}

sock_filter Load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}

sock_filter Return(std::uint32_t verdict) {
    return BPF_STMT(BPF_RET | BPF_K, verdict);
}

// Skips the next instruction unless the loaded word passes the test.
sock_filter Unless(std::uint16_t test, std::uint32_t value) {
    return BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | test | BPF_K), value, 0, 1);
}

sock_filter Is(long value) {
    return Unless(BPF_JEQ, static_cast<std::uint32_t>(value));
}

constexpr std::uint32_t REFUSE = SECCOMP_RET_ERRNO | EPERM, UNKNOWN = SECCOMP_RET_ERRNO | ENOSYS;

// personality: changes are forbidden, such as disabling ASLR; queries are allowed.
void RefusePersonalities(std::vector<sock_filter>& filter) {
    constexpr std::uint32_t ALLOWED[] = {0, 8, 0x20000, 0x20008, 0xFFFFFFFF};
    constexpr std::uint8_t COUNT = std::size(ALLOWED);
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_personality, 0, COUNT + 2));
    filter.push_back(Load(offsetof(seccomp_data, args)));
    for (std::uint8_t i = 0; i < COUNT; ++i)
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ALLOWED[i], static_cast<std::uint8_t>(COUNT - i), 0));
    filter.push_back(Return(REFUSE));
    filter.push_back(Load(offsetof(seccomp_data, nr)));
}

// The flags of clone are the lower half of its first argument.
void RefuseNamespaces(std::vector<sock_filter>& filter) {
    constexpr std::uint32_t NAMESPACES =
        CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET | CLONE_NEWCGROUP;
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3));
    filter.push_back(Load(offsetof(seccomp_data, args)));
    filter.push_back(Unless(BPF_JSET, NAMESPACES));
    filter.push_back(Return(REFUSE));
}

} // namespace

void Check(bool done, const std::string& what) {
    if (!done)
        throw RestrictionError(what + ": " + std::strerror(errno));
}

void CoverDevices() {
    const int machines = ::open("/dev", O_PATH | O_DIRECTORY | O_CLOEXEC);
    Check(machines >= 0, "opening /dev");
    const std::string before = "/proc/self/fd/" + std::to_string(machines) + "/";
    // nodev: a new device node cannot be opened.
    Mount("none", "/dev", "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=65536k");
    for (const char* device : {"full", "null", "random", "tty", "urandom", "zero"}) {
        const std::string path = std::string("/dev/") + device;
        std::ofstream{path};
        Mount(before + device, path, nullptr, MS_BIND);
    }
    for (const char* folder : {"/dev/pts", "/dev/shm"})
        Check(::mkdir(folder, 0755) == 0, std::string("making ") + folder);
    Mount("none", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=0620");
    Mount("none", "/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777,size=65536k");
    const std::pair<const char*, const char*> links[] = {{"/proc/self/fd", "/dev/fd"},
                                                         {"/proc/self/fd/0", "/dev/stdin"},
                                                         {"/proc/self/fd/1", "/dev/stdout"},
                                                         {"/proc/self/fd/2", "/dev/stderr"},
                                                         {"pts/ptmx", "/dev/ptmx"}};
    for (const auto& [target, link] : links)
        Check(::symlink(target, link) == 0, std::string("making ") + link);
    ::close(machines);
}

void CoverKernelFiles() {
    for (const char* file :
         {"/proc/kcore", "/proc/keys", "/proc/latency_stats", "/proc/sched_debug", "/proc/timer_list"})
        if (fs::exists(file))
            Mount("/dev/null", file, nullptr, MS_BIND);
    for (const char* folder : {"/proc/acpi", "/proc/asound", "/proc/scsi", "/sys/firmware"})
        if (fs::is_directory(folder))
            Mount("none", folder, "tmpfs", MS_RDONLY, "size=0");
    for (const char* path : {"/proc/bus", "/proc/fs", "/proc/irq", "/proc/sys", "/proc/sysrq-trigger", "/sys"})
        if (fs::exists(path))
            MakeReadOnly(path);
}

void FilterSystemCalls() {
    std::vector<sock_filter> filter = {Load(offsetof(seccomp_data, arch)), Is(static_cast<long>(ARCHITECTURE)),
                                       // continues after the rejection of other architectures
                                       BPF_STMT(BPF_JMP | BPF_JA, 1), Return(UNKNOWN),
                                       Load(offsetof(seccomp_data, nr))};
    for (const long call : REFUSED) {
        filter.push_back(Is(call));
        filter.push_back(Return(REFUSE));
    }
    filter.push_back(Is(SYS_clone3));
    filter.push_back(Return(UNKNOWN));
    RefusePersonalities(filter);
    RefuseNamespaces(filter);
    filter.push_back(Return(SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    Check(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0, "installing the filter of system calls");
}

void LimitCapabilities() {
    std::uint64_t kept = 0;
    for (const unsigned capability : CAPABILITIES)
        kept |= std::uint64_t{1} << capability;
    for (unsigned capability = 0; ::prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability)
        if ((kept >> capability & 1) == 0)
            Check(::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) == 0, "giving up a capability");
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    data[0].effective = data[0].permitted = static_cast<std::uint32_t>(kept);
    data[1].effective = data[1].permitted = static_cast<std::uint32_t>(kept >> 32);
    Check(::syscall(SYS_capset, &header, data) == 0, "giving up capabilities");
}

} // namespace TestPlaces
