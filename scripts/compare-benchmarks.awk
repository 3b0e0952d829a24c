# Compares medians of benchmarks: awk -f compare-benchmarks.awk MEDIANS BOUNDS
# MEDIANS has lines of name, nanoseconds, and for what, separated by tabs; bench/BoundedBench.bounds
# describes BOUNDS. Writes one table of the bounds, an empty line, and one table of all cases. Exits
# with 1 when there is nothing to compare, and with 2 when a bound does not hold, which is then also
# written to standard error.

FNR == NR {
    split($0, column, "\t")
    order[++count] = column[1]
    cost[column[1]] = column[2]
    what_for[column[1]] = column[3]
    next
}

/^#/ || NF == 0 { next }

{
    compare($1, $2, $3, $4)
}

END {
    print "| measured | beside | cases | wanted | worst | held |"
    print "|---|---|---|---|---|---|"
    printf "%s", bounds
    print ""
    print "| measured | beside | case | time | beside | ratio | wanted |"
    print "|---|---|---|---|---|---|---|"
    printf "%s", cases
    exit failed ? 1 : exceeded ? 2 : 0
}

function compare(measured, beside, pattern, wanted,    i, name, case_name, peer, ratio, n, worst, worst_case, held) {
    for (i = 1; i <= count; i++) {
        name = order[i]
        if (index(name, measured "/") != 1)
            continue
        case_name = substr(name, length(measured) + 2)
        peer = beside "/" case_name
        if (case_name !~ pattern || !(peer in cost))
            continue
        ratio = cost[name] / cost[peer]
        if (++n == 1 || ratio > worst) {
            worst = ratio
            worst_case = case_name
        }
        cases = cases sprintf("| %s | %s | %s | %s | %s | %.2f | %s |\n", measured, beside,
            case_name, time(name), time(peer), ratio, wanted)
    }
    if (n == 0) {
        print "no case of " measured " beside " beside " matches " pattern > "/dev/stderr"
        failed = 1
        return
    }
    held = wanted == "-" || worst <= wanted + 0
    if (!held) {
        printf "%s beside %s: %.2f (%s), at most %s is wanted\n", measured, beside, worst,
            worst_case, wanted > "/dev/stderr"
        exceeded = 1
    }
    bounds = bounds sprintf("| %s | %s | %d | %s | %.2f (%s) | %s |\n", measured, beside, n,
        wanted == "-" ? "-" : "at most " wanted, worst, worst_case,
        wanted == "-" ? "-" : held ? "yes" : "NO")
}

function time(name,    ns) {
    ns = cost[name]
    if (ns < 1e3)
        return sprintf("%.3g ns %s", ns, what_for[name])
    if (ns < 1e6)
        return sprintf("%.3g us %s", ns / 1e3, what_for[name])
    return sprintf("%.3g ms %s", ns / 1e6, what_for[name])
}
