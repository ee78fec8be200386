#!/usr/bin/env bash
# tests/install/packages.sh: what script/package-test does inside of the bare system, in which the packages are a local
# repository and this project's tests, docs and examples are in /opt/project.
set -euo pipefail
project=$(cd "$(dirname "$0")/../.." && pwd)
trap 'echo "packages.sh: line $LINENO failed: $BASH_COMMAND" >&2' ERR
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8

step() { echo "package-test: $*"; }
# Shows what apt-get says if it fails.
apt() {
    apt-get -y --no-install-recommends -o APT::Sandbox::User=root "$@" >/tmp/apt.log 2>&1 || {
        cat /tmp/apt.log >&2
        return 1
    }
}
# All files but those of this test and the caches of apt, dpkg and the loader.
files() {
    find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /tmp -o -path /opt -o -path /home -o -path /var/lib/apt \
        -o -path /var/lib/dpkg -o -path /var/cache -o -path /var/log \) -prune -o -print | sort
}
# Fails if there is anything to read, and shows it.
nothing() { ! grep . >&2; }
# The packages of that name that are installed, or of which something is left.
installed() {
    dpkg-query --show --showformat='${db:Status-Status} ${Package} ${Version}\n' "$1" 2>/dev/null | grep -v ^not-installed || true
}
as_user() { runuser -u somebody -- env HOME=/home/somebody "$@"; }

apt update
useradd --create-home somebody

step "installing quillon"
apt install quillon
installed '*quillon*'
installed 'libquillon-dev' | nothing

step "running jobs as a user"
as_user quillon --version
[ "$(as_user quillon list | grep -c '^Quillon')" = 2 ]
for job in grains pores; do
    as_user "$project/docs/jobs/$job.sh" "/home/somebody/$job" >/dev/null
    as_user ls "/home/somebody/$job"
done
as_user quillon run SegmNiblack "$project/tests/data/cement_pores_128.nrrd" --quiet \
    -p windowsize=20 -p coefficient=-0.8 -o /home/somebody/solid.nrrd
as_user quillon preview /home/somebody/solid.nrrd -o /home/somebody/solid.png
as_user quillon-lut --help >/dev/null
for page in quillon $(as_user quillon --help | awk '/^Subcommands:/ { on = 1; next } /^$/ { on = 0 } on { print "quillon-" $1 }'); do
    [ -f "/usr/share/man/man1/$page.1.gz" ]
done

step "using Python as a user"
apt install python3-quillon
as_user python3 -c 'import numpy, quillon; assert quillon.invert(numpy.zeros((4, 5), bool)).array.all()'
apt install python3-matplotlib python3-pandas python3-tqdm
mkdir /home/somebody/python
ln -s "$project/tests" /home/somebody/python/tests
chown somebody /home/somebody/python
as_user env --chdir=/home/somebody/python MPLBACKEND=Agg "$project/tests/python/follow_page.py" "$project/docs/python.md"
cp /usr/share/doc/python3-quillon/examples/* /home/somebody/python
as_user env --chdir=/home/somebody/python MPLBACKEND=Agg python3 pores.py cement_pores_128.nrrd
as_user env --chdir=/home/somebody/python MPLBACKEND=Agg "$project/tests/python/follow_page.py" "$project/docs/python-tutorial.md"
as_user ls /home/somebody/python

step "computing a volume in blocks as a user"
apt install python3-dask python3-zarr
as_user env --chdir=/home/somebody/python python3 - <<'END'
import dask.array
import quillon
from quillon import blocks

scan = quillon.read("cement_pores_128.nrrd")
solid = dask.array.from_array(scan.array > 100, chunks=(50, 64, 40))
blocks.write("distance.zarr", blocks.voronoi_edt_plugin(solid, spacing=1.0), spacing=1.0, unit="um")
whole = quillon.voronoi_edt_plugin(quillon.Image(scan.array > 100, spacing=1.0)).array
assert (blocks.open("distance.zarr").array.compute() == whole).all()
END

step "building the example pack with libquillon-dev"
apt install libquillon-dev cmake g++ make pkg-config python3
as_user cmake -S "$project/examples/pack" -B /home/somebody/pack >/dev/null
as_user cmake --build /home/somebody/pack >/dev/null
as_user ctest --test-dir /home/somebody/pack --output-on-failure >/dev/null
as_user quillon run GradientMagnitude "$project/tests/data/lung_ct_crop_u16.mha" --quiet \
    --pack /home/somebody/pack/libExamplePack.so -o /home/somebody/edges.nrrd
as_user quillon info /home/somebody/edges.nrrd | grep -F 'gradientmagnitude(spacing)'

step "following docs/write-a-plugin.md"
as_user "$project/tests/install/page.py" "$project/docs/write-a-plugin.md" "$project/tests/data/cement_pores_128.nrrd" ||
    [ $? = 77 ] # a command of the page is not in this version, which it has said

step "removing the packages"
mapfile -t ours < <(installed '*quillon*' | awk '{ print $2 }')
for package in "${ours[@]}"; do dpkg --listfiles "$package"; done | sort -u >/tmp/ours
files >/tmp/with
apt purge "${ours[@]}"
files >/tmp/without

step "looking for what is left"
installed '*quillon*' | nothing
comm -23 /tmp/with /tmp/without >/tmp/gone
echo "$(wc -l </tmp/gone) files and folders are gone"
# Gone is what the packages listed and nothing else, and all that is left of it are folders that other packages have too.
# What Python has compiled belongs to no package, but goes with it.
comm -23 /tmp/gone /tmp/ours | sed -E '\|/dist-packages/quillon/(blocks/)?__pycache__|d' | nothing
comm -13 /tmp/with /tmp/without | nothing
comm -12 /tmp/ours /tmp/without | while read -r file; do [ -d "$file" ] || echo "$file"; done | nothing
find / -xdev \( -path /proc -o -path /opt -o -path /home -o -path /tmp \) -prune -o \
    \( -iname '*quillon*' -o -iname '*sorblib*' \) -print | nothing
echo "package-test: all is well"
