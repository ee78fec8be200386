#!/usr/bin/env bash
# docs/jobs/nuclei.sh [FOLDER]: separates nuclei that touch and measures their volumes.
source "$(dirname "$0")/common.sh"

# The reference labels of the embryo stand for a segmentation. Widened by 3 pixels, as in a blurred image, 36 nuclei merge
# into 26 objects.
quillon run Threshold "$data/nuclei_platynereis_labels_u16.nrrd" -p lower=1 -o reference.nrrd
quillon run SphericalMorphology reference.nrrd -p operation=dilation -p radius=3 -o merged.nrrd
quillon run ConnectedComponents merged.nrrd -o objects.nrrd

# A marker in each nucleus: a maximum of the distance to the background that rises by at least 1 pixel.
quillon run VoronoiEdtPlugin merged.nrrd -p ComputeOn=foreground -o depth.nrrd
quillon run RegionalMaxima depth.nrrd -p height=1 -o markers.nrrd

quillon run Invert depth.nrrd -o basins.nrrd
quillon run Watershed basins.nrrd -p type=marker -p markerimage=markers.nrrd -p Neighborhood=Neigh_26 -o regions.nrrd
quillon run Mask regions.nrrd -p Image2=merged.nrrd -o separated.nrrd

quillon run LabelMeasurements separated.nrrd -o nuclei.nrrd
quillon table nuclei.nrrd -o nuclei.csv
quillon plot nuclei.nrrd --feature volume --title "Nuclei of an embryo" -o nuclei.svg
quillon preview separated.nrrd --mip --axis y --scale-bar -o nuclei.png
