#!/usr/bin/env bash
# docs/jobs/grains.sh [FOLDER]: separates the grains of a sandstone and measures them.
source "$(dirname "$0")/common.sh"

# Pores are bright in this file; the grains are what is left.
quillon convert "$data/sandstone_berea_crop_bin.nrrd" pores.nrrd --as binary
quillon run Invert pores.nrrd -o rock.nrrd

# A marker in each grain: a maximum of the distance to the pores that rises by at least 8 um.
quillon run VoronoiEdtPlugin rock.nrrd -p ComputeOn=foreground -o depth.nrrd
quillon run RegionalMaxima depth.nrrd -p height=0.008 -o markers.nrrd

# Water rises from the markers, through the inverted depth; grains meet at their necks.
quillon run Invert depth.nrrd -o basins.nrrd
quillon run Watershed basins.nrrd -p type=marker -p markerimage=markers.nrrd -p Neighborhood=Neigh_26 -o regions.nrrd
quillon run Mask regions.nrrd -p Image2=rock.nrrd -o separated.nrrd

quillon run LabelMeasurements separated.nrrd -o grains.nrrd
quillon table grains.nrrd -o grains.csv
quillon plot grains.nrrd --feature volume --title "Grains of a sandstone" -o grains.svg
quillon preview pores.nrrd --overlay grains.nrrd --slice 32 --scale-bar -o grains.png
