# SPDX-License-Identifier: Apache-2.0
# The permissions of the environment that tests run in. Sourced by scripts/test, after verdicts.sh; its steps are
# subshells, so files hold the results.
# shellcheck shell=bash

# The remedy for a label that the environment forbids. For namespaces the board prints it.
declare -rA remedies=(
    [mounts]="test on a machine or in a privileged container"
    [numbers]="test where no part of /proc is covered: on a machine, in a privileged container, or with --security-opt systempaths=unconfined"
    [ptrace]="let processes be traced, for instance with --cap-add SYS_PTRACE"
    [readable]="put the sources and the build where other users can read them"
    [sanitizers]="\"sysctl vm.mmap_rnd_bits=28\" on the machine, outside of containers"
    [sysctl]="test where /proc/sys can be written, on a machine or in a privileged container"
    [unshare]="test on a machine, in a privileged container, or with --security-opt seccomp=unconfined"
    [users]="test as an ordinary user, or as root who can become one"
)

# try LABEL COMMAND...: the output of a failing command is the reason why the environment forbids the label.
try() {
    local label=$1 said
    shift
    said=$("$@" 2>&1) || refuse "$label" "${said:-$* failed}" "${remedies[$label]}"
}

# A board that does not start although nothing forbids it is a test failure, not a limit of the environment.
try_board() {
    local code=0 said
    said=$("$1" run --isolation namespaces -- true 2>&1) || code=$?
    ((code == 125)) || return 0
    { unshare --user --map-root-user --mount true && [[ -c /dev/fuse ]] && : <>/dev/fuse; } 2>/dev/null && return
    said=${said#velrix-board: }
    refuse namespaces "${said%%. *}" "${said#*. }"
}

# find_out_place BUILD: probes once, with programs of the build.
find_out_place() {
    local asRoot=()
    [[ ! -e $refusals ]] || return 0
    touch "$refusals"
    ((EUID == 0)) || asRoot=(--user --map-root-user)
    try_board "$1/board/commands/velrix-board"
    try mounts unshare "${asRoot[@]}" --mount --pid --fork --mount-proc true
    try numbers unshare --user --map-root-user --pid --fork --mount-proc true
    try ptrace "$1/tests/places/place-probe" trace
    try sysctl unshare --user --map-root-user sh -c ': >>/proc/sys/user/max_user_namespaces'
    try unshare unshare --user --map-root-user --mount mount -t tmpfs none /tmp
    ((EUID != 0)) || try users setpriv --reuid 65534 --regid 65534 --clear-groups true
}

# Debian 12's sanitizers do not start with more than 28 random bits in addresses, which Ubuntu's kernels give by default. Without
# random addresses (setarch) they do.
sanitizers_start_here() {
    local bits=28
    [[ -z ${VELRIX_TEST_ADDRESSES_ARE_FIXED-} ]] || return 0
    read -r bits 2>/dev/null </proc/sys/vm/mmap_rnd_bits || true
    ((bits <= 28)) || { echo "vm.mmap_rnd_bits is $bits, and Debian 12's sanitizers start with 28 at most"; return 1; }
}

# forbidden_labels: a regular expression, empty where everything is allowed.
forbidden_labels() { cut -f 1 "$refusals" | paste -s -d '|' | sed -E '/./s/.*/^(&)$/'; }

# leave_out_tests PRESET: skips the preset's tests with forbidden labels, each for its first one.
leave_out_tests() {
    local label before='^$' names
    for label in $(cut -f 1 "$refusals"); do
        mapfile -t names < <(ctest --preset "$1" -N -L "^$label\$" -LE "$before" |
            sed -nE 's/  # GetParam.*//; s/^ +Test +#[0-9]+: //p')
        leave_out "$label" "$1" "${names[@]}"
        before+="|^$label\$"
    done
}
