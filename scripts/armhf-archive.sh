# SPDX-License-Identifier: Apache-2.0
# Sourced by the scripts that take packages of Debian's archive for armhf without installing them and without touching the
# machine's own package settings. A file of its own, since scripts/emulated-board-image is installed and has to find it there.
# shellcheck shell=bash

# armhf_retried COMMAND...: mirrors are at times out of reach for a moment or in the middle of an update.
armhf_retried() {
    local pause
    for pause in 5 20 60 0; do
        "$@" && return 0
        [ "$pause" = 0 ] || sleep "$pause"
    done
    return 1
}

# armhf_archive FOLDER: apt with lists, cache and architecture of its own, in FOLDER, by the options in the array armhf; fetches
# the lists. They are those of the main archive alone: what is needed is all there, and the security archive's list for armhf is
# now and then unusable for an hour. apt-get update ends well even when a list could not be had and an old one is used, which is
# as good here.
armhf_archive() {
    local apt=$1 mirror
    mkdir -p "$apt/lists/partial" "$apt/archives/partial" "$apt/sources.d"
    : > "$apt/status"
    mirror=$(apt-get indextargets --format '$(CODENAME) $(COMPONENT) $(CREATED_BY) $(REPO_URI)' 2> /dev/null |
        awk '$1 == "bookworm" && $2 == "main" && $3 == "Packages" { print $4; exit }')
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] ${mirror:-http://deb.debian.org/debian/} bookworm main" \
        > "$apt/sources.list"
    armhf=(
        -o APT::Architecture=armhf -o APT::Architectures=armhf
        -o Dir::State="$apt" -o Dir::State::lists="$apt/lists" -o Dir::State::status="$apt/status"
        -o Dir::Cache="$apt" -o Dir::Cache::archives="$apt/archives"
        -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts="$apt/sources.d"
        -o Dir::Etc::preferences=/dev/null -o Dir::Etc::preferencesparts="$apt/sources.d"
        -o APT::Sandbox::User= -o Acquire::Languages=none -o Acquire::Retries=3 -o Debug::NoLocking=1 -q=2
    )
    armhf_retried apt-get "${armhf[@]}" update
}

# armhf_download FOLDER PACKAGE...: the packages' files in FOLDER, and no others. After armhf_archive.
armhf_download() {
    local folder=$1
    shift
    mkdir -p "$folder"
    rm -f "$folder"/*.deb
    (cd "$folder" && armhf_retried apt-get "${armhf[@]}" download "$@")
}
