# All comparisons that have a goal, in one chart: how much of the goal each ratio takes up. Left of
# the line the goal is reached. Run in the folder of the figures.

list = '< for row in *.tsv; do awk -F "\t" -v row="${row%.tsv}" ''$17 != "none" { ' . \
       'share = $17 == "most" ? $14 / $18 : $18 / $14; ' . \
       'low = $17 == "most" ? $15 / $18 : $18 / $16; high = $17 == "most" ? $16 / $18 : $18 / $15; ' . \
       'floor = 0.01; printf "%s: %s\t%g\t%g\t%g\n", row, $1, share < floor ? floor : share, ' . \
       'low < floor ? floor : low, high < floor ? floor : high }'' "$row"; done'
set datafile separator '\t'
stats list using 2 nooutput
lines = int(STATS_records)

set terminal svg size 800,(110 + 24 * lines) font 'sans-serif,13' background 'white'
set output 'overview.svg'
set border 3 lc rgb '#666666'
set logscale x
set xtics nomirror
set ytics nomirror scale 0
set grid xtics lc rgb '#dddddd'
set xlabel 'ratio over its goal (1: just reached; less is better)'
set yrange [lines - 0.4:-0.6]
set arrow from 1, graph 0 to 1, graph 1 nohead lw 2 lc rgb '#b00020'
plot list using 2:0:3:4:yticlabels(1) with xerrorbars lc rgb '#1f6fb4' pt 7 ps 0.8 notitle
