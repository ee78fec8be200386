#!/usr/bin/env bash
# docs/jobs/fibres.sh [FOLDER]: measures the directions of the fibres in a 16-bit CT slice.
source "$(dirname "$0")/common.sh"

# Fibre directions are measured on 8 bits. By default 0.1 % of the pixels become black and 0.1 % white.
quillon run Rescale "$data/fibres_polymer_slice_u16.nrrd" -p type=grey8 -o grey8.nrrd

# One measurement for the whole slice, and a map with the direction of each fibre pixel.
quillon run LocalFiberDirections grey8.nrrd -p fiber_radius=3 -p advanced/output_directions=true \
    -p advanced/otsu_factor=1.25 -p advanced/use_otsu=true -o directions.nrrd
quillon run LocalFiberDirections grey8.nrrd -p fiber_radius=3 -o measured.nrrd
quillon table measured.nrrd FiberDirections/FieldFiberDirections -o directions.csv
quillon plot measured.nrrd FiberDirections/SubfieldProfiles/x-Direction --feature "Anisotropy index" \
    --title "Anisotropy across the slice" -o anisotropy.svg
quillon preview "$data/fibres_polymer_slice_u16.nrrd" --scale-bar -o fibres.png
quillon preview directions.nrrd --angles --figure -o directions.png
