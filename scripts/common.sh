# SPDX-License-Identifier: Apache-2.0
# Shared functions. Source it first; it changes to the root of the repository.
# shellcheck shell=bash

scriptPath=$(readlink -f "${BASH_SOURCE[1]}")
cd "$(dirname "$scriptPath")/.." || exit
processors=$(nproc)
export processors
# Programs unpacked by scripts/test-tools.
export PATH=$PWD/build/test-tools/bin:$PATH

# Prints the comment at the head of the script that sourced this one.
usage() {
    sed -n '/^# SPDX/d; /^#!/d; /^#/!q; s/^# \{0,1\}//p' "$scriptPath"
}

# fail MESSAGE...: ends the script with a message and status 2.
fail() {
    echo "$(basename "$scriptPath"): $*" >&2
    exit 2
}

# no_arguments ARGUMENT...: for scripts that take none but --help.
no_arguments() {
    case ${1-} in
        '') ;;
        -h | --help) usage; exit ;;
        *) fail "unknown argument $1; see --help" ;;
    esac
}

# packages_of SECTION...: the Debian packages that scripts/packages.txt names for these purposes.
packages_of() {
    awk -v sections=" $* " '{ sub(/#.*/, "") }
        /^\[.*\]/ { wanted = index(sections, " " substr($1, 2, length($1) - 2) " "); next }
        NF && wanted { print $1 }' scripts/packages.txt
}

heading() {
    printf '\n== %s\n' "$*"
}

# show_failure LOG: a build's output without its successful steps.
show_failure() {
    grep -vE '^\[[0-9]+/[0-9]+\] (Building|Linking|Creating)' "$1"
}

# quietly LOG COMMAND...: appends the command's output to the file and shows the file only when the command fails.
quietly() {
    local log=$1 code=0
    shift
    "$@" >>"$log" 2>&1 || code=$?
    ((code == 0)) || show_failure "$log"
    return "$code"
}

# show_progress TEXT: in place on a terminal, otherwise a line every ten seconds.
show_progress() {
    if [[ -t 1 ]]; then
        printf '\r\033[K%s' "$1"
        progressShown=1
    elif ((SECONDS >= ${progressNext:=$((SECONDS + 10))})); then
        echo "$1"
        progressNext=$((SECONDS + 10))
    fi
}

end_progress() {
    [[ -z ${progressShown-} ]] || printf '\r\033[K'
    unset progressShown progressNext
}

# watched LOG COMMAND...: the same for a build by Ninja, with progress.
watched() {
    local log=$1 code=0 line
    shift
    "$@" 2>&1 | {
        while IFS= read -r line; do
            echo "$line" >>"$log"
            if [[ $line =~ ^\[([0-9]+/[0-9]+)\] ]]; then
                show_progress "building, step ${BASH_REMATCH[1]}"
            fi
        done
        end_progress
    } || code=${PIPESTATUS[0]}
    ((code == 0)) || show_failure "$log"
    return "$code"
}

# retry COMMAND...: for mirrors that are temporarily unreachable or inconsistent.
retry() {
    local attempt pause=2
    for attempt in 1 2 3 4 5; do
        "$@" && return
        ((attempt == 5)) && return 1
        echo "attempt $attempt failed, the next one in $pause s: $*" >&2
        sleep "$pause"
        pause=$((pause * 3))
    done
}

# install_node_modules FOLDER: installs the dependencies of tests/panel/browser into FOLDER/node_modules. Needs no
# network if they are there.
install_node_modules() {
    local folder=$1 stamp=$1/node_modules/installed
    mkdir -p "$folder"
    cmp -s tests/panel/browser/package-lock.json "$stamp" && return
    cp tests/panel/browser/package.json tests/panel/browser/package-lock.json "$folder"
    retry quietly "$folder/npm.log" npm --prefix "$folder" ci --ignore-scripts --no-audit --no-fund --loglevel=error || return
    cp tests/panel/browser/package-lock.json "$stamp"
}

# build [--progress] PRESET [FOLDER [TARGET...]]: configures and builds; fetches the device's libraries first.
# --progress: shows the progress.
build() {
    local show=quietly preset folder log
    if [[ $1 == --progress ]]; then
        show=watched
        shift
    fi
    preset=$1
    folder=${2:-build/$1}
    shift $(($# < 2 ? $# : 2))
    log=$folder/build.log
    mkdir -p "$folder"
    rm -f "$log"
    [[ $preset != arm ]] || quietly "$log" scripts/arm-sysroot || return
    quietly "$log" cmake --preset "$preset" -B "$folder" || return
    (($# == 0)) || set -- --target "$@"
    "$show" "$log" cmake --build "$folder" -j "$processors" "$@"
}
