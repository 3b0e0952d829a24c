#!/usr/bin/awk -f
# Links of a document to files that are no page of the site, and to headings, are written as text.
{
    line = $0
    out = ""
    while (match(line, /\[[^\]]+\]\([^)]+\)/)) {
        link = substr(line, RSTART, RLENGTH)
        target = link
        sub(/^\[[^\]]+\]\(/, "", target)
        sub(/\)$/, "", target)
        sub(/\.md#[^)]*/, ".md", link)
        if (target !~ /^https?:|\.md(#.*)?$/ || target ~ /README\.md$/) {
            sub(/^\[/, "", link)
            sub(/\]\(.*/, "", link)
        }
        out = out substr(line, 1, RSTART - 1) link
        line = substr(line, RSTART + RLENGTH)
    }
    print out line
}
