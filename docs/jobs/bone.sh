#!/usr/bin/env bash
# docs/jobs/bone.sh [FOLDER]: measures thickness, spacing and connectivity of trabecular bone in millimetres.
source "$(dirname "$0")/common.sh"

# The file states its pixel size in millimetres; for one that does not, add --spacing 0.0195,0.0195,0.0195 --unit mm.
quillon convert "$data/bone_trabecular_crop_bin.nrrd" bone.nrrd --as binary

# Thickness of the bars and plates, and of the marrow between them: the largest ball that contains each pixel.
quillon run Granulometry bone.nrrd -p returnImage=true -o thickness.nrrd
quillon run Granulometry bone.nrrd -p returnImage=true -p onForeground=false -o spacing.nrrd
quillon table thickness.nrrd -o thickness.csv
quillon table spacing.nrrd -o spacing.csv

# Volume, surface and Euler number; in a network without cavities, minus the latter is the number of loops.
quillon run FieldFeaturesGrayValueImage bone.nrrd -o features.nrrd
quillon table features.nrrd -o features.csv

quillon plot thickness.nrrd --bin 0.02 --title "Thickness of trabeculae" -o thickness.svg
quillon preview thickness.nrrd --slice 6 --figure --bar-title "Thickness (mm)" -o thickness.png
