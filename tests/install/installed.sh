#!/usr/bin/env bash
# tests/install/installed.sh SOURCE BUILD: installs a build, moves the tree, and uses it as people would.
set -euo pipefail
source=$1 build=$2
trap 'echo "installed.sh: line $LINENO failed: $BASH_COMMAND" >&2' ERR
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export HOME=$folder XDG_DATA_HOME=$folder/data

cmake --install "$build" --prefix "$folder/first" >/dev/null
mv "$folder/first" "$folder/moved"
prefix=$folder/moved

echo "no file names the place where it was built"
places=(-e "$build/")
for folder_of_sources in host src packs engine validate cli python; do
    places+=(-e "$source/$folder_of_sources/")
done
[ -z "$(grep -rlF "${places[@]}" "$prefix")" ]

echo "the programs run, and find both packs and the module for DICOM"
unset LD_LIBRARY_PATH
"$prefix/bin/quillon" --version
[ "$("$prefix/bin/quillon" list | grep -c '^Quillon')" = 2 ]
"$prefix/bin/quillon" run Invert "$source/tests/data/bone_trabecular_crop_bin.nrrd" --quiet -o "$folder/inverted.nrrd"
"$prefix/bin/quillon" info "$folder/inverted.nrrd" >/dev/null
"$prefix/bin/quillon-lut" --help >/dev/null
mkdir "$folder/series"
[[ $("$prefix/bin/quillon" info "$folder/series" 2>&1) == *'it is a folder without DICOM slices'* ]]

modules=$prefix/lib/python3/dist-packages
if [ -d "$modules" ]; then
    echo "Python finds both packs"
    PYTHONPATH=$modules PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 - <<'CODE'
import numpy
import quillon

mask = quillon.auto_threshold(numpy.arange(64, dtype=numpy.uint8).reshape(4, 4, 4))
assert quillon.voronoi_edt_plugin(mask).array.max() > 0
CODE
fi

echo "every command has a manual page with its exit codes"
for page in quillon quillon-lut $("$prefix/bin/quillon" --help |
    awk '/^Subcommands:/ { on = 1; next } /^$/ { on = 0 } on { print "quillon-" $1 }'); do
    [[ $(zcat "$prefix/share/man/man1/$page.1.gz") == *'EXIT STATUS'*$'\n130\n'* ]]
done

echo "pkg-config and find_package know the libraries"
pkgconfig=$(dirname "$(find "$prefix" -name quillon.pc)")
mkdir "$folder/user"
cat >"$folder/user/main.cpp" <<'CODE'
#include <QuillonTransformation/CEdtVoronoi.h>
#include <sorblib2image/CImage.h>

#include <cstdio>

int main() {
    using namespace ORVEN;
    const CImage object(IMAGE_BINARY_FG, CSize(4, 3), CSize(0, 0, 0));
    CImage distance(IMAGE_GREY_F, CSize(4, 3), CSize(0, 0, 0));
    CEdtVoronoi(nullptr, nullptr).CalculateDistanceMap(distance, object, true, false, false, true);
    std::puts("done");
}
CODE
g++ -std=c++20 "$folder/user/main.cpp" -o "$folder/user/by-pkgconfig" \
    $(PKG_CONFIG_PATH=$pkgconfig pkg-config --cflags --libs quillon) -Wl,-rpath,"$(dirname "$pkgconfig")"
[ "$("$folder/user/by-pkgconfig")" = "done" ]
cat >"$folder/user/CMakeLists.txt" <<'CODE'
cmake_minimum_required(VERSION 3.25)
project(User LANGUAGES CXX)
find_package(Quillon 1.0 REQUIRED COMPONENTS QuillonTransformation)
add_executable(user main.cpp)
target_compile_features(user PRIVATE cxx_std_20)
target_link_libraries(user PRIVATE Quillon::QuillonTransformation)
CODE
cmake -S "$folder/user" -B "$folder/user/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$folder/user/build" >/dev/null
[ "$("$folder/user/build/user")" = "done" ]

echo "the example pack is built, tested and used"
cmake -S "$source/examples/pack" -B "$folder/pack" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$folder/pack" >/dev/null
ctest --test-dir "$folder/pack" --output-on-failure >/dev/null
[ "$(nm -D --defined-only "$folder/pack/libExamplePack.so" | awk '{ print $3 }')" = CreatePluginInstanceEx ]
run=(run GradientMagnitude "$source/tests/data/lung_ct_crop_u16.mha" --quiet -o "$folder/edges.nrrd")
"$prefix/bin/quillon" "${run[@]}" --pack "$folder/pack/libExamplePack.so"
mkdir -p "$XDG_DATA_HOME/quillon/packs"
cp "$folder/pack/libExamplePack.so" "$folder/pack/ExamplePack.catalogue.json" "$XDG_DATA_HOME/quillon/packs"
"$prefix/bin/quillon" "${run[@]}"
"$prefix/bin/quillon" list | grep -q '^ExamplePack 0.1.0$'

echo "installed packs that cannot be used cost a line each"
packs=$(dirname "$(find "$prefix" -name libQuillonPack.so)")
"$prefix/bin/quillon" list >"$folder/list.txt"
mkdir "$packs/libFolder.so"
echo hello >"$packs/libText.so"
ln -s libLoop.so "$packs/libLoop.so"
cat >"$folder/expected.txt" <<LINES
quillon: cannot load the pack '$packs/libFolder.so': it is a folder
quillon: cannot load the pack '$packs/libLoop.so': Too many levels of symbolic links
quillon: cannot load the pack '$packs/libText.so': it is not a shared library
LINES
"$prefix/bin/quillon" list >"$folder/list-now.txt" 2>"$folder/errors.txt"
cmp "$folder/list.txt" "$folder/list-now.txt"
diff "$folder/expected.txt" "$folder/errors.txt"
echo "all is well"
