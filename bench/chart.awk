# SPDX-License-Identifier: Apache-2.0
# Makes the picture of the lines that table.awk takes: for each job a bar for ours and one for each other, as long as the logarithm
# of its time in times of the limit.
BEGIN {
    FS = "\t"
    LEFT = 330       # where the bars begin
    DOUBLING = 80    # how long a bar is that takes twice the limit
    DOUBLINGS = 6
    BAR = 14
    GAP = 10
    TOP = 40
}

$2 == "ns" {
    if (!($1 in known)) {
        known[$1] = 1
        jobs[++jobCount] = $1
    }
    value[$1, $3] = $4
    if ($3 != "limit")
        names[$1, ++nameCount[$1]] = $3
}

function text(x, y, anchor, words) {
    gsub(/&/, "\\&amp;", words)
    gsub(/</, "\\&lt;", words)
    printf "<text x=\"%d\" y=\"%d\" text-anchor=\"%s\">%s</text>\n", x, y, anchor, words
}

END {
    height = TOP + 20
    for (i = 1; i <= jobCount; ++i)
        height += nameCount[jobs[i]] * BAR + GAP
    width = LEFT + DOUBLINGS * DOUBLING + 110
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\" " \
           "font-family=\"sans-serif\" font-size=\"11\">\n", width, height, width, height
    printf "<title>Time of each job in times of the least that the machine can do</title>\n"
    printf "<rect width=\"%d\" height=\"%d\" fill=\"#ffffff\"/>\n", width, height
    for (i = 0; i <= DOUBLINGS; ++i) {
        x = LEFT + i * DOUBLING
        printf "<path d=\"M%d %dV%d\" stroke=\"#d0d0d0\"/>\n", x, TOP - 6, height - 14
        text(x, TOP - 12, "middle", 2 ^ i " x")
    }
    text(10, TOP - 12, "start", "time, the limit being 1 x")
    y = TOP
    for (i = 1; i <= jobCount; ++i) {
        job = jobs[i]
        text(LEFT - 8, y + BAR - 3, "end", job)
        for (j = 1; j <= nameCount[job]; ++j) {
            name = names[job, j]
            ratio = value[job, name] / value[job, "limit"]
            length_ = ratio > 1 ? log(ratio) / log(2) * DOUBLING : 1
            printf "<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"%d\" fill=\"%s\"/>\n", LEFT, y + 1, length_, BAR - 2,
                name == "ours" ? "#1f6fb2" : "#b8bec6"
            text(LEFT + length_ + 5, y + BAR - 3, "start", name sprintf(" %.2f", ratio))
            y += BAR
        }
        y += GAP
    }
    print "</svg>"
}
