# SPDX-License-Identifier: Apache-2.0
# Functions for tests that do what a document says. A file is the fenced block behind a line that ends with its name: "The build,
# `CMakeLists.txt`:". A command is a line "$ ..." of a fenced block "console", and its output the lines below it.
# shellcheck shell=bash

# No command of a document may take longer, in seconds; the slowest one compiles.
commandLimit=240

# as_pattern: turns expected output into a pattern of [[ ]]. A line "..." matches any lines, even none, and a time any other time.
as_pattern() {
    sed -zE 's/\n$//; s/[][\\*?()|!@+]/\\&/g; s/(^|\n)\.\.\.\n/\1*/g; s/\n\.\.\.$/*/
        s/[0-9]+\.[0-9]+ (s|sec)\b/[0-9]*.[0-9]* \1/g; s/[0-9]+ ms/[0-9]* ms/g'
}

# expect_output COMMAND EXPECTED ACTUAL: nothing expected means that the document shows no output.
expect_output() {
    local command=$1 expected=$2 actual=$3 pattern
    [[ -n $expected ]] || return 0
    pattern=$(as_pattern <<<"$expected")
    # shellcheck disable=SC2053 # a pattern
    [[ $actual == $pattern ]] || { printf 'the document: $ %s\n%s\n-- but it prints:\n%s\n' "$command" "$expected" "$actual"; return 1; }
}

# run_command COMMAND EXPECTED: runs it in this shell if it changes that, otherwise in one that ends in time.
run_command() {
    local command=$1 expected=$2 output code=0
    case $command in
        cd\ * | mkdir\ * | export\ *) eval "$command" && return || code=$? ;;
    esac
    ((code != 0)) || output=$(timeout --kill-after=5 "$commandLimit" bash -c "$command" 2>&1 </dev/null) || code=$?
    if ((code != 0)); then
        printf 'the document: $ %s\n-- but it ends with %s:\n%s\n' "$command" "$code" "${output-}"
        return 1
    fi
    # The board says where the machine does not allow its usual way.
    expect_output "$command" "$expected" "$(sed '/^velrix-board: runs the program by a preloaded library/d' <<<"$output")"
}

# document_files DOCUMENT FOLDER: writes the files of the document.
document_files() {
    awk -v folder="$2" '
        /^```/ && inside { inside = 0; name = ""; next }
        /^```/ { inside = 1; next }
        inside && name { print > (folder "/" name) }
        !inside && match($0, /`[^` ]+`:$/) { name = substr($0, RSTART + 1, RLENGTH - 3) }
    ' "$1"
}

# document_commands DOCUMENT: a line "COMMAND<tab>EXPECTED" for each command; line ends of the output are form feeds.
document_commands() {
    awk '
        function flush() { if (command != "") print command "\t" output; command = output = "" }
        /^```/ { if (inside) flush(); console = !inside && $0 == "```console"; inside = !inside; next }
        console && /^\$ / { flush(); command = substr($0, 3); next }
        console { output = output (output == "" ? "" : "\f") $0 }
    ' "$1"
}
