# SPDX-License-Identifier: Apache-2.0
# Sourced by the scripts that take packages of Debian's archive without installing them and without touching the machine's own
# package settings. A file of its own, since scripts/emulated-board-image is installed and has to find it there.
# shellcheck shell=bash

# archive_begin FOLDER INPUT...: ends the script when FOLDER was completed from these inputs, which are files. Otherwise the caller
# fills it and calls archive_end. A second run waits for the first one, since both would write the same files.
archive_begin() {
    archiveFolder=$1
    shift
    mkdir -p "$archiveFolder"
    exec 9> "$archiveFolder/lock"
    flock -w 1800 9 || fail "another run is filling $archiveFolder for half an hour now; end it and try again"
    archiveStamp=$(cat "$@" | sha256sum)
    if [ -f "$archiveFolder/stamp" ] && [ "$(cat "$archiveFolder/stamp")" = "$archiveStamp" ]; then
        exit 0
    fi
    rm -f "$archiveFolder/stamp"
}

# archive_end [REMARK]: the folder is complete.
archive_end() {
    echo "$archiveStamp" > "$archiveFolder/stamp"
    echo "$(basename "$0"): $archiveFolder is ready${1:+ ($1)}"
}

# archive_retried COMMAND...: mirrors are at times out of reach for a moment or in the middle of an update.
archive_retried() {
    local pause
    for pause in 5 20 60 0; do
        "$@" && return 0
        [ "$pause" = 0 ] || sleep "$pause"
    done
    return 1
}

# archive_state APT: apt's options in the array archive, for lists and a cache in the folder APT.
archive_state() {
    local apt=$1
    mkdir -p "$apt/lists/partial" "$apt/archives/partial" "$apt/sources.d"
    archive=(
        -o Dir::State="$apt" -o Dir::State::lists="$apt/lists" -o Dir::State::status="$apt/status"
        -o Dir::Cache="$apt" -o Dir::Cache::archives="$apt/archives"
        -o APT::Sandbox::User= -o Acquire::Languages=none -o Acquire::Retries=3 -o Debug::NoLocking=1 -q=2
    )
}

# archive_armhf APT: fetches the lists for armhf. They are those of the main archive alone: what is needed is all there, and the
# security archive's list for armhf is now and then unusable for an hour. apt-get update ends well even when a list could not be
# had and an old one is used, which is as good here.
archive_armhf() {
    local apt=$1 mirror
    archive_state "$apt"
    : > "$apt/status"
    mirror=$(apt-get indextargets --format '$(CODENAME) $(COMPONENT) $(CREATED_BY) $(REPO_URI)' 2> /dev/null |
        awk '$1 == "bookworm" && $2 == "main" && $3 == "Packages" { print $4; exit }')
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] ${mirror:-http://deb.debian.org/debian/} bookworm main" \
        > "$apt/sources.list"
    archive+=(
        -o APT::Architecture=armhf -o APT::Architectures=armhf
        -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts="$apt/sources.d"
        -o Dir::Etc::preferences=/dev/null -o Dir::Etc::preferencesparts="$apt/sources.d"
    )
    archive_retried apt-get "${archive[@]}" update || fail "the list of Debian's armhf packages cannot be fetched"
}

# archive_megabytes PACKAGE...: the size of their files. After archive_armhf.
archive_megabytes() {
    apt-get "${archive[@]}" --print-uris download "$@" | awk '{ sum += $3 } END { printf "%d", sum / 1000000 + 0.5 }'
}

# archive_download FOLDER PACKAGE...: the packages' files in FOLDER, and no others. After archive_armhf.
archive_download() {
    local folder=$1
    shift
    mkdir -p "$folder"
    rm -f "$folder"/*.deb
    (cd "$folder" && archive_retried apt-get "${archive[@]}" download "$@") || fail "Debian's packages cannot be fetched: $*"
}

# archive_unpack ROOT FILE.deb...: what the packages hold, less documentation. Debian's bin, lib and sbin are links to those in
# usr; some packages still name the former.
archive_unpack() {
    local root=$1 folder package
    shift
    for folder in bin lib sbin; do
        mkdir -p "$root/usr/$folder"
        [ -e "$root/$folder" ] || ln -s "usr/$folder" "$root/$folder"
    done
    for package; do
        dpkg-deb --fsys-tarfile "$package" | tar -x -C "$root" --keep-directory-symlink \
            --exclude=./usr/share/doc --exclude=./usr/share/locale --exclude=./usr/share/man
    done
}
