#!/usr/bin/env bash
# tests/install/debs.sh FOLDER: checks contents and dependencies of the packages in FOLDER without installing them.
# script/package-test does the rest, in minutes.
set -euo pipefail
cd "$1"
trap 'echo "debs.sh: line $LINENO failed: $BASH_COMMAND" >&2' ERR
program=$(echo quillon_*.deb) libraries=$(echo libquillon[0-9]*.deb) development=$(echo libquillon-dev_*.deb)
python=$(echo python3-quillon_*.deb)

files() { dpkg-deb --fsys-tarfile "$1" | tar --list | grep -v '/$' | sed 's|^\./|/|'; }
# Fails if there is a line of another form, and shows it.
only() { ! grep -vE "$1" >&2; }
# depends PACKAGE NAME ...: it depends on each, with the version in brackets where that matters.
depends() {
    local package=$1 name
    shift
    for name in "$@"; do
        [[ ", $(dpkg-deb --field "$package" Depends)," == *", $name"[\ ,]* ]] || {
            echo "debs.sh: $package does not depend on $name" >&2
            return 1
        }
    done
}

# Every file is in one package, and in the right one.
for package in "$program" "$libraries" "$development" "$python"; do files "$package"; done | sort | uniq --repeated | only '^$'
files "$program" | only '^/usr/(bin|share)/|/quillon/packs/(lib[^/]*\.so|[^/]*\.catalogue\.json)$'
files "$libraries" | only '^/usr/lib/[^/]*/lib[^/]*\.so\.[0-9.]+$|^/usr/lib/[^/]*/quillon/|^/usr/share/doc/'
files "$development" | only '^/usr/include/quillon/|^/usr/lib/[^/]*/(lib[^/]*\.(so|a)$|cmake/|pkgconfig/)|^/usr/share/doc/'
files "$python" | only '^/usr/lib/python3/dist-packages/quillon/|^/usr/share/doc/'
[ "$(files "$python" | grep -cE '/quillon/(__init__|blocks/__init__|_functions)\.pyi?$|/_core\.[^/]*\.so$|/py\.typed$')" = 6 ]
[ "$(files "$program" | grep -cE '/man1/|/completions/quillon$|/_quillon$')" -ge 12 ]

# The packages belong together; the rest was read from the binaries.
version=$(dpkg-deb --field "$libraries" Version)
name=$(dpkg-deb --field "$libraries" Package)
depends "$program" "$name (= $version)" libc6 libinsighttoolkit5.2
depends "$libraries" libc6 libcairo2 libqt6widgets6 libtiff6 fonts-dejavu-core
depends "$development" "$name (= $version)" qt6-base-dev
depends "$python" "$name (= $version)" "quillon (= $version)" 'python3 (>=' 'python3 (<<' python3-numpy
echo "debs.sh: all is well"
