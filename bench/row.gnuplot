# The chart of one row, made of ROW.tsv: gnuplot -e "row='ROW'" row.gnuplot
# A box is from the first quartile to the third, its line the median, the whiskers p5 and p95.

file = row . '.tsv'
set datafile separator '\t'
stats file using 14 nooutput
lines = int(STATS_records)
stats file using ($4 < $9 ? $4 : $9) name 'LEAST' nooutput
stats file using ($8 > $13 ? $8 : $13) name 'MOST' nooutput
unit = system("head -1 " . file . " | cut -f3")

set terminal svg size 800,(170 + 46 * lines) font 'sans-serif,13' background 'white'
set output row . '.svg'
set border 3 lc rgb '#666666'
set xtics nomirror
set ytics nomirror scale 0
set grid xtics lc rgb '#dddddd'
set key outside top center horizontal samplen 1 width -4
set rmargin 4
set xlabel unit
set yrange [lines - 0.4:-0.6]
if (LEAST_min > 0 && MOST_max > 20 * LEAST_min) {
    set logscale x
} else {
    set xrange [0:*]
}
set style fill solid 0.5
ours = '#1f6fb4'
other = '#e07b00'
plot file using 5:($0 - 0.17):5:7:($0 - 0.3):($0 - 0.04) with boxxyerror lc rgb ours title 'this code', \
     '' using 6:($0 - 0.17):4:8 with xerrorbars lc rgb ours pt 7 ps 0.6 notitle, \
     '' using 10:($0 + 0.17):10:12:($0 + 0.04):($0 + 0.3):yticlabels(stringcolumn(1) . "\nbeside " . stringcolumn(2)) \
         with boxxyerror lc rgb other title 'what it is compared with', \
     '' using 11:($0 + 0.17):9:13 with xerrorbars lc rgb other pt 7 ps 0.6 notitle
