#!/usr/bin/awk -f
# Turns the comments of a public header into comments that Doxygen reads: // before a declaration
# becomes ///, // after one becomes ///<. A comment before #pragma once describes the file.
# Indented terms ("//   name  text") become a list.

FNR == 1 && /^\/\// { print "/// @file"; print "///" }

# Headings of groups.
/^ *\/\/ ---/ { next }

/^ *\/\// {
    indent = substr($0, 1, index($0, "//") - 1)
    text = substr($0, index($0, "//") + 2)
    if (match(text, /^   ?[A-Za-z_\[][^ ]*(, [a-z0-9]+| [a-z=]+ value|])*  +/)) {
        term = substr(text, RSTART, RLENGTH)
        gsub(/^ +| +$/, "", term)
        text = " - `" term "` " substr(text, RLENGTH + 1)
    } else if (text ~ /^ {5,}[^ ]/ && in_term) {
        sub(/^ +/, "   ", text)
    }
    in_term = text ~ /^ - `/ || (in_term && text ~ /^   [^ ]/)
    print indent "///" text
    next
}

{
    in_term = 0
    if (match($0, /[;,{] +\/\/ /))
        sub(/\/\/ /, "///< ")
    print
}
