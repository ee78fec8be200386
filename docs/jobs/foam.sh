#!/usr/bin/env bash
# docs/jobs/foam.sh [FOLDER]: density and Euler number of a closed-cell foam, for every threshold at once.
source "$(dirname "$0")/common.sh"

# Cement paste with entrained air is built like a foam with closed cells. Smoothing removes noise, which would count as
# many small cells.
quillon run GaussFilter "$data/cement_pores_128.nrrd" -p sigma=1 -o smooth.nrrd
quillon run Rescale smooth.nrrd -p type=grey8 -p from=0 -p to=255 -o grey8.nrrd

# Density, surface and Euler number of the pixels brighter than each grey value.
quillon run FieldFeaturesGrayValueImage grey8.nrrd -o features.nrrd
quillon table features.nrrd -o features.csv
quillon plot features.nrrd --feature V_V --title "Density of the walls" -o density.svg
quillon plot features.nrrd --feature "Euler number density" --title "Euler number of the walls" -o euler.svg

# The same at the threshold that separates walls from air.
quillon run AutoThreshold grey8.nrrd -o walls.nrrd
quillon run FieldFeaturesGrayValueImage walls.nrrd -o walls-features.nrrd
quillon table walls-features.nrrd -o walls.csv

# Cells that are open to their neighbours belong to one component.
quillon run Invert walls.nrrd -o air.nrrd
quillon run ConnectedComponents air.nrrd -p minimumSize=20 -o cells.nrrd
quillon preview grey8.nrrd --overlay cells.nrrd --scale-bar -o cells.png
