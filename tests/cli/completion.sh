#!/usr/bin/env bash
# tests/cli/completion.sh PROGRAMS PACK: what bash offers after the words of a command line. PACK is one with the plug-in Echo.
# Run by zsh -f, the same for zsh.
if [ -n "${ZSH_VERSION-}" ]; then
    autoload -U +X compinit bashcompinit && compinit -u -D && bashcompinit
    emulate sh -o kshglob # as bashcompinit does for the functions that it calls
fi
set -uo pipefail
PATH=$(cd "$1" && pwd):$PATH
here=$(cd "$(dirname "$0")" && pwd)
source "$here/../../cli/completion/quillon.bash"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp "$2" "$folder/libExtra.so"
cd "$folder"
cat >Extra.catalogue.json <<'JSON'
{"pack": "Extra", "plugins": [{
  "name": "Echo", "title": "Echo", "summary": "Says it again", "images": {"types": ["grey8"], "dimensions": [2]},
  "parameters": [{"key": "voice", "kind": "string", "meaning": "Which voice.", "choices": ["high", "low"]}],
  "settings": [], "dialogs": false, "cancel": "nowhere", "documentsOut": 1}]}
JSON
touch scan.nrrd 'a file.nrrd' chain.json
failures=0

# offers EXPECTED WORD...: the last word is the one that is being typed; EXPECTED is separated by blanks.
offers() {
    local expected=$1
    shift
    COMP_WORDS=(quillon "$@")
    COMP_CWORD=$#
    _quillon
    local found typed="${COMP_WORDS[COMP_CWORD]}"
    # zsh compares with what is typed afterwards.
    [[ $typed != = ]] || typed=
    found=$(printf '%s\n' "${COMPREPLY[@]}" | awk -v typed="$typed" 'index($0, typed) == 1' | sort | tr '\n' ' ')
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
offers "type=normal" run Watershed scan.nrrd -p type=n
offers "markerimage=scan.nrrd" run Watershed scan.nrrd -p markerimage=sc
offers "false true" run Granulometry scan.nrrd -p onForeground =
offers "scan.nrrd" run Watershed scan.nrrd -p markerimage = sc
offers "grey16 grey32 grey8 greyf" convert scan.nrrd b.nrrd --as g
offers "--cumulative" plot --cu
# The plug-in is the first word that is neither an option nor the value of one.
offers "Watershed" run --quiet --threads 2 Wat
offers "markerimage=" run --quiet Watershed -p type = marker -p m
offers "normal" run -o out.nrrd Watershed scan.nrrd -p type = n
offers "scan.nrrd" run --no-label Watershed sc
# The plug-ins of a pack that is given come with those that are installed.
offers "libExtra.so" list --pack lib
offers "Echo" run --pack libExtra.so Ech
offers "Echo" describe --pack libExtra.so Ech
offers "voice=" run Echo scan.nrrd --pack libExtra.so -p ""
offers "high low" run Echo scan.nrrd --pack libExtra.so -p voice =
offers "chain" ch
offers "repeat" rep
offers "chain.json" chain ch
offers "scan.nrrd" chain chain.json sc
offers "scan.nrrd" repeat result.nrrd --on sc
offers "--chain" info --chai
offers "SegmNiblack SegmSauvola" validate Segm
offers "--only-failed" validate --only
exit $failures
