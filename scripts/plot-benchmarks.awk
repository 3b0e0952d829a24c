# Draws the comparisons of a benchmark program as an SVG: awk -v title=PROGRAM -v command=COMMAND
# -v machine=MACHINE -v date=DATE -f plot-benchmarks.awk COMPARISONS
# COMPARISONS is what compare-benchmarks.awk writes. Each row of the picture is a comparison: a dot
# for the ratio of each case, and a line at the bound. The scale is logarithmic; at 1, both took the
# same time. Exits with 1 when there is nothing to draw.

BEGIN { FS = " *\\| *" }

# The second table: measured, beside, case, time, time, ratio, wanted.
NF == 9 && $7 + 0 > 0 {
    row = $2 " / " $3
    if (!(row in rows)) {
        rows[row] = ++count
        label[count] = row
    }
    ratios[rows[row]] = ratios[rows[row]] " " $7
    if ($8 != "-")
        bound[rows[row]] = $8
    least = least == "" || $7 < least ? $7 + 0 : least
    most = $7 > most ? $7 + 0 : most
    if ($8 + 0 > most)
        most = $8 + 0
}

END {
    if (count == 0) {
        print "nothing to draw" > "/dev/stderr"
        exit 1
    }
    from = least < 1 ? least / 1.2 : 0.8
    to = most > 1 ? most * 1.2 : 1.25
    left = 330; width = 900; line = 24; top = 70
    bottom = top + count * line
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" font-family=\"sans-serif\" font-size=\"12\">\n", width, bottom + 60
    printf "<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>\n"
    text(10, 22, "start", escaped(title) ": time divided by that of the peer", "font-size=\"16\" font-weight=\"bold\"")
    text(10, 42, "start", escaped(command " on " machine ", " date), "fill=\"#555\"")
    n = split("0.001 0.002 0.005 0.01 0.02 0.05 0.1 0.2 0.5 1 2 5 10 20 50 100", tick, " ")
    for (i = 1; i <= n; i++)
        if (tick[i] >= from && tick[i] <= to) {
            vertical(tick[i], top - 8, bottom, tick[i] == 1 ? "#000" : "#ddd")
            text(x(tick[i]), bottom + 16, "middle", tick[i], "")
        }
    for (i = 1; i <= count; i++) {
        y = top + i * line - line / 2
        text(left - 12, y + 4, "end", escaped(label[i]), "")
        if (i in bound)
            vertical(bound[i], y - 9, y + 9, "#c00")
        m = split(ratios[i], ratio, " ")
        for (j = 1; j <= m; j++)
            printf "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"#06c\" fill-opacity=\"0.6\"/>\n", x(ratio[j]), y
    }
    text(left, bottom + 40, "start", "dot: one case; red: most that is wanted; left of 1: faster than the peer", "fill=\"#555\"")
    print "</svg>"
}

function x(value) {
    return left + (width - left - 30) * log(value / from) / log(to / from)
}

function vertical(value, y1, y2, colour) {
    printf "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" stroke-width=\"2\"/>\n", x(value), y1, x(value), y2, colour
}

function text(x_, y_, anchor, words, more) {
    printf "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" %s>%s</text>\n", x_, y_, anchor, more, words
}

function escaped(words) {
    gsub(/&/, "\\&amp;", words)
    gsub(/</, "\\&lt;", words)
    gsub(/>/, "\\&gt;", words)
    return words
}
