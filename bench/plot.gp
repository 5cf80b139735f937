# Draws find, list and store over the number of trunks, side by side:
# gnuplot -e "data='FOLDER/PREFIX'; unit='TEXT'; picture='FILE.svg'" bench/plot.gp
# Each PREFIX-JOB.dat has a line of names, then the trunks and a column for each contestant.

# Grey can be read on a white page and on a dark one, so there is no background.
grey = "#808080"
colors = "#e8590c ".grey." #7b61d1 #2f9e44 #c2255c #1c7ed6 #b08900 #0c9aa8"
set terminal svg size 960,340 dynamic name "raiklaik" font "sans-serif,13"
set output picture

set border 3 linecolor rgb grey
set tics nomirror scale 0.5 textcolor rgb grey
unset mxtics
unset mytics
set grid linecolor rgb grey linewidth 0.3 dashtype 3
set logscale xy
set format y "10^{%T}"
set xrange [8:13000]
set yrange [1:1000000]
set xlabel "trunks" textcolor rgb grey
set key at screen 0.86,0.85 left top Left reverse invert samplen 2 spacing 1.3 textcolor rgb grey
set multiplot layout 1,3 margins screen 0.075,0.84,0.17,0.89 spacing screen 0.05
do for [job in "find list store"] {
    file = data."-".job.".dat"
    set title job textcolor rgb grey
    if (job eq "find") { set ylabel unit textcolor rgb grey } else { unset ylabel }
    if (job ne "store") { set key off } else { set key on }
    columns = int(system("head -n 1 ".file." | wc -w"))
    plot for [i = columns:2:-1] file using 1:i with linespoints pointtype 7 pointsize 0.35 \
        linewidth (i == 2 ? 3 : 1.5) linecolor rgb word(colors, i - 1) title columnheader(i)
}
