#!/usr/bin/awk -f
# Prepares a document for Doxygen: a link whose text continues on the next line is put on one line, and
# links to files that are no page of the site, and to headings, become text.

/^```/ { in_code = !in_code }

!in_code && /^[^ ]/ && !/^```/ && (held $0) ~ /\[[^\]]*$/ {
    held = held $0 " "
    next
}

{
    line = held $0
    held = ""
    out = ""
    while (match(line, /\[[^\]]+\]\([^)]+\)/)) {
        link = substr(line, RSTART, RLENGTH)
        target = link
        sub(/^\[[^\]]+\]\(/, "", target)
        sub(/\)$/, "", target)
        sub(/\.md#[^)]*/, ".md", link)
        is_picture = substr(line, RSTART - 1, 1) == "!"
        if (!is_picture && target !~ /^https?:|\.md(#.*)?$/ || target ~ /README\.md$/) {
            sub(/^\[/, "", link)
            sub(/\]\(.*/, "", link)
        }
        out = out substr(line, 1, RSTART - 1) link
        line = substr(line, RSTART + RLENGTH)
    }
    print out line
}
