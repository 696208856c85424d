# Makes a table of a row's comparisons: awk -f table.awk ROW.tsv

function number(value) {
    return sprintf(value >= 100 ? "%.0f" : value >= 10 ? "%.1f" : value >= 0.1 ? "%.2f" : "%.3f", value)
}

function spread(first) {
    return number($(first + 2)) " (" number($first) " – " number($(first + 4)) ")"
}

BEGIN {
    FS = "\t"
    print "| measured | median (p5 – p95) | beside | median (p5 – p95) | unit | ratio (quartiles) | to reach | reached |"
    print "|---|---|---|---|---|---|---|---|"
}

{
    goal = $17 == "most" ? "at most " $18 : $17 == "least" ? "at least " $18 : ""
    reached = $17 == "none" ? "" : ($17 == "most" ? $14 <= $18 : $14 >= $18) ? "yes" : "**no**"
    printf "| %s | %s | %s | %s | %s | %.2f (%.2f – %.2f) | %s | %s |\n", $1, spread(4), $2, spread(9), $3,
        $14, $15, $16, goal, reached
}
