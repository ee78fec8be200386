#!/usr/bin/env bash
# docs/jobs/pores.sh [FOLDER]: finds the air pores of cement paste and measures the distribution of their sizes.
source "$(dirname "$0")/common.sh"

# Niblack's threshold follows slow changes of brightness. The paste is bright, the pores are the rest.
quillon run SegmNiblack "$data/cement_pores_128.nrrd" -p windowsize=20 -p coefficient=-0.8 -o paste.nrrd
quillon run Invert paste.nrrd -o dark.nrrd

# Opening removes noise: whatever cannot hold a ball with a radius of 2 pixels.
quillon run SphericalMorphology dark.nrrd -p operation=opening -p radius=2 -o pores.nrrd

# Each pore pixel gets the diameter of the largest ball that contains it and fits into the pores.
quillon run Granulometry pores.nrrd -p returnImage=true -o sizes.nrrd
quillon table sizes.nrrd -o sizes.csv
quillon plot sizes.nrrd --bin 2 --title "Pores of cement paste" -o sizes.svg
quillon plot sizes.nrrd --cumulative --title "Pores of cement paste" -o cumulative.svg
quillon preview "$data/cement_pores_128.nrrd" --overlay pores.nrrd --scale-bar -o pores.png
