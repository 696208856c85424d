# Puts what was measured between the markers of docs/performance.md; run in the folder of the
# figures: awk -v tables=TABLE.AWK -f document.awk ../performance.md

function copy(file,    line) {
    while ((getline line < file) > 0) {
        print line
    }
    close(file)
}

function table(file,    command, line) {
    command = "awk -f '" tables "' '" file "'"
    while ((command | getline line) > 0) {
        print line
    }
    close(command)
}

/^<!-- end -->$/ && inside {
    inside = 0
    print ""
}
!inside { print }
/^<!-- measured: / {
    inside = 1
    print ""
    if ($3 == "machine") {
        copy("machine.txt")
    } else if ($3 == "overview") {
        print "![Each ratio over its goal](performance/overview.svg)"
    } else if ((getline line < ($3 ".tsv")) > 0) {
        close($3 ".tsv")
        table($3 ".tsv")
    } else {
        print "Not measured yet."
    }
}
