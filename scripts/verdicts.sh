# SPDX-License-Identifier: Apache-2.0
# Test verdicts: counted, or skipped for a reason. Sourced by scripts/test; its steps are subshells, so files hold the
# counts.
# shellcheck shell=bash

state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT
counts=$state/counts     # as ctest says it: N tests failed out of N
refusals=$state/refusals # label, reason, remedy: what the place forbids
leftOut=$state/left-out  # label or reason, step, name: a test that is left out
touch "$counts" "$leftOut"

# count NAME LOG: keeps the summary line of ctest, which counts skipped tests as passed.
count() {
    local skipped
    skipped=$(grep -cE '^ *[0-9]+/[0-9]+ Test .*\*\*\*Skipped ' "$2" || true)
    { grep -E '^[0-9]+% tests passed' "$2" || echo "no tests ran"; } |
        awk -v name="$1" -v skipped="$skipped" '{ if (skipped) $NF -= skipped; print name ": " $0 }' >>"$counts"
}

# show_failures: ctest's output without passed tests.
show_failures() {
    sed -E '/^ *(Start +[0-9]+: |[0-9]+\/[0-9]+ Test +#[0-9]+: .*( Passed|\*\*\*Skipped) )/d; /^Test project /d; /^$/d
        /^Label Time Summary:/,/^Total Test time/d'
}

# refuse LABEL REASON REMEDY: one of each label.
refuse() {
    forbids "$1" || printf '%s\t%s\t%s\n' "$1" "$(tr -s '\n\t' '  ' <<<"$2" | sed 's/ $//')" "$3" >>"$refusals"
}

# forbids LABEL: whether the environment does.
forbids() { grep -qxF -- "$1" <<<"$(cut -f 1 "$refusals" 2>/dev/null)"; }

# leave_out LABEL STEP NAME...
leave_out() {
    local name
    for name in "${@:3}"; do
        printf '%s\t%s\t%s\n' "$1" "$2" "$name" >>"$leftOut"
    done
}

# leave_out_skipped PRESET: the tests that skipped themselves, each with the reason that it printed.
leave_out_skipped() {
    local name reason
    while IFS=$'\t' read -r reason name; do
        leave_out "$reason" "$1" "$name"
    done < <(awk '
        /^[0-9]+\/[0-9]+ Testing: / { sub(/^[^:]*: /, ""); sub(/  # GetParam.*/, ""); name = $0 }
        asked { reason = $0; asked = 0 }
        /: Skipped$/ { asked = 1 }
        /^\[  SKIPPED \] .* ms\)$/ { print reason "\t" name }
    ' "build/$1/Testing/Temporary/LastTest.log")
}

# Skipped tests: label, number, names, steps. Merges equal entries of several steps.
left_out_by_label() {
    awk -F '\t' '
        !(($1, $2) in count) { keys[++last] = $1 FS $2 }
        { names[$1 FS $2] = names[$1 FS $2] ";" $3; ++count[$1, $2] }
        END {
            for (i = 1; i <= last; ++i) {
                split(keys[i], part, FS)
                alike = part[1] FS count[part[1], part[2]] FS names[keys[i]]
                if (!(alike in steps))
                    order[++kinds] = alike
                steps[alike] = steps[alike] (steps[alike] == "" ? "" : " and ") part[2]
            }
            for (i = 1; i <= kinds; ++i)
                print order[i] FS steps[order[i]]
        }' "$leftOut"
}

# names_by_suite NAMES: turns names with a leading semicolon each into "board.BoardTest (2): A, B".
names_by_suite() {
    tr ';' '\n' <<<"${1#;}" | awk -F . '
        {
            suite = substr($0, 1, length($0) - length($NF) - 1)
            names[suite] = names[suite] (names[suite] == "" ? "" : ", ") $NF
            ++count[suite]
        }
        END { for (suite in names) printf "%s (%d): %s\n", suite, count[suite], names[suite] }' | sort
}

# The skipped tests, the reasons and the remedies.
report_left_out() {
    local label count names steps reason remedy
    while IFS=$'\t' read -r label count names steps; do
        if forbids "$label"; then
            IFS=$'\t' read -r _ reason remedy < <(grep -m 1 "^$label"$'\t' "$refusals")
            reason="that need $label: $reason; remedy: $remedy"
        else
            reason="that skipped themselves: $label"
        fi
        ((count == 1)) || count+=" tests"
        echo "left out: ${count/%1/1 test} of $steps $reason" | fold -s -w 128
        names_by_suite "$names" | fold -s -w 124 | sed 's/^/    /; s/ *$//'
    done < <(left_out_by_label)
}

# report_verdict STRICT: prints everything, at the end "N passed, N failed". Fails if a test failed.
report_verdict() {
    local missing strict=$1
    cat "$counts"
    report_left_out
    missing=$(wc -l <"$leftOut")
    if ((missing > 0)); then
        echo "$missing left out${strict:+, which --strict counts as failed}"
        [[ -z $strict ]] || echo "left out: $missing tests failed out of $missing" >>"$counts"
    fi
    sed -nE 's/.* ([0-9]+) tests failed out of ([0-9]+)$/\1 \2/p' "$counts" |
        awk '{ failed += $1; total += $2 } END { printf "%d passed, %d failed\n", total - failed, failed; exit failed > 0 }'
}
