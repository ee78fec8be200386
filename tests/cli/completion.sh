#!/usr/bin/env bash
# tests/cli/completion.sh PROGRAMS: what bash offers after the words of a command line.
set -uo pipefail
PATH=$(cd "$1" && pwd):$PATH
here=$(cd "$(dirname "$0")" && pwd)
source "$here/../../cli/completion/quillon.bash"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
touch scan.nrrd 'a file.nrrd'
failures=0

# offers EXPECTED WORD...: the last word is the one that is being typed; EXPECTED is separated by blanks.
offers() {
    local expected=$1
    shift
    COMP_WORDS=(quillon "$@")
    COMP_CWORD=$#
    _quillon
    local found
    found=$(printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' ')
    if [[ ${found% } != "$expected" ]]; then
        echo "after 'quillon $*': '${found% }', expected '$expected'"
        failures=1
    fi
}

offers "info" i
offers "convert" conv
offers "--version" --v
offers "SegmNiblack SegmSauvola" run Segm
offers "Watershed" describe Wat
offers "scan.nrrd" run Watershed sc
offers "a file.nrrd" run Watershed a
offers "markerimage=" run Watershed scan.nrrd -p m
offers "bslut= malut=" run ExactBisector scan.nrrd -s ""
offers "marker normal preflood" run Watershed scan.nrrd -p type =
offers "normal" run Watershed scan.nrrd -p type = n
offers "false true" run Granulometry scan.nrrd -p onForeground =
offers "scan.nrrd" run Watershed scan.nrrd -p markerimage = sc
offers "grey16 grey32 grey8 greyf" convert scan.nrrd b.nrrd --as g
offers "--cumulative" plot --cu
offers "SegmNiblack SegmSauvola" validate Segm
offers "--only-failed" validate --only
exit $failures
