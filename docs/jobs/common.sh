# For the jobs beside this file: goes to the folder for results, FOLDER or jobs-out/JOB, and sets the variable data to the
# folder of the images. The commands come from the folder QUILLON_BIN, the build in this tree, or the installed package.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
data=$root/tests/data
out=${1:-$root/jobs-out/$(basename "$0" .sh)}

PATH=${QUILLON_BIN:-$root/build/release/bin}:$PATH
if ! command -v quillon >/dev/null; then
    echo "$0: there is no quillon; build it with script/build" >&2
    exit 1
fi
trap 'echo "$0: this command failed: $BASH_COMMAND" >&2' ERR
mkdir -p "$out"
cd "$out"
