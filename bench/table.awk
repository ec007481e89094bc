# SPDX-License-Identifier: Apache-2.0
# Makes the Markdown table of lines JOB<tab>KIND<tab>WHO<tab>VALUE, in the order of the jobs: KIND is "ns", "bytes" (of memory for
# each byte of the file) or, with WHO "ours", "counted".
BEGIN {
    FS = "\t"
    print "| job | ours, counted | ours | the others | ours : best of them |"
    print "|---|---|---|---|---|"
}

{
    if (!($1 in known)) {
        known[$1] = 1
        jobs[++jobCount] = $1
    }
    value[$1, $2, $3] = $4
    if ($3 != "ours" && $3 != "limit" && !(($1, $3) in isPeer)) {
        isPeer[$1, $3] = 1
        peers[$1] = peers[$1] "\t" $3
    }
}

# row(job, kind, title, unit, divisor): values of a kind in units of the divisor; the peers from the best one on.
function row(job, kind, title, unit, divisor,    names, count, i, j, name, others, best, ours) {
    ours = value[job, kind, "ours"] / divisor
    count = split(substr(peers[job], 2), names, "\t")
    for (i = 2; i <= count; ++i)
        for (j = i; j > 1 && value[job, kind, names[j]] < value[job, kind, names[j - 1]]; --j) {
            name = names[j]
            names[j] = names[j - 1]
            names[j - 1] = name
        }
    for (i = 1; i <= count; ++i)
        others = others (i > 1 ? ", " : "") names[i] sprintf(" %.2f", value[job, kind, names[i]] / divisor)
    if (kind == "bytes")
        others = others (count ? ", " : "") sprintf("limit %.2f", value[job, kind, "limit"])
    best = count ? sprintf("%.2f", ours * divisor / value[job, kind, names[1]]) : ""
    printf "| %s | %s | %.2f%s | %s | %s |\n", title, kind == "ns" ? value[job, "counted", "ours"] : "", ours, unit, others, best
}

END {
    for (i = 1; i <= jobCount; ++i) {
        job = jobs[i]
        if ((job, "ns", "limit") in value)
            row(job, "ns", job, "", value[job, "ns", "limit"])
        else
            printf "| %s | %s | | | |\n", job, value[job, "counted", "ours"]
        if ((job, "bytes", "ours") in value)
            row(job, "bytes", "... memory that stays", " bytes a byte", 1)
    }
}
