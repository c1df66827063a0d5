# The chart of the report: gnuplot -e "data='FILE'; chart='FILE.svg'" chart.gp
# Data: a label, how many times as fast as the peer, must and aim (0: none), between tabs.
set terminal svg size 900,760 font "sans-serif,12" background rgb "white"
set output chart
set datafile separator "\t"
set title "How many times as fast as the peer; bars to the left: slower"
set logscale x 2
set xtics format "%g"
set grid xtics
set ytics font ",11"
set yrange [*:*] reverse
set offsets 0, 0, 0.6, 0.6
set lmargin 42
set key bottom left box opaque
set style fill solid 0.8
wanted(x) = x > 0 ? x : NaN
plot data using 2:0:(1):2:($0 - 0.35):($0 + 0.35):ytic(1) with boxxyerror \
          lc rgb "#4477aa" title "measured", \
     data using (wanted($3)):0 with points pt 5 ps 0.8 lc rgb "#cc3311" title "must", \
     data using (wanted($4)):0 with points pt 9 ps 1.0 lc rgb "#228833" title "aim"
