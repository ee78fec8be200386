#!/usr/bin/env bash
# tests/install/page.sh SOURCE BUILD: follows docs/write-a-plugin.md with an installation of a build.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
unset LD_LIBRARY_PATH
cmake --install "$2" --prefix "$folder" >/dev/null
"$(dirname "$0")/page.py" "$1/docs/write-a-plugin.md" "$1/tests/data/cement_pores_128.nrrd" "$folder"
