# The chart of the report: gnuplot -e "data='FILE'; chart='FILE.svg'" chart.gp
# Data: a label, how many times as fast as the peer, must and aim (0: none), between tabs.
set terminal svg size 900,720 font "sans-serif,12" background rgb "white"
set output chart
set datafile separator "\t"
set title "How many times as fast as the peer"
set logscale y 2
set yrange [0.125:*]
set ytics format "%g"
set grid ytics
set xtics rotate by 60 right font ",10"
set bmargin 19
set lmargin 14
set key top left
set style fill solid 0.8
set boxwidth 0.7
wanted(x) = x > 0 ? x : NaN
plot data using 0:2:xtic(1) with boxes lc rgb "#4477aa" title "measured", \
     data using 0:(wanted($3)) with points pt 5 ps 0.9 lc rgb "#cc3311" title "must", \
     data using 0:(wanted($4)) with points pt 9 ps 1.1 lc rgb "#228833" title "aim", \
     1 with lines lc rgb "black" notitle
