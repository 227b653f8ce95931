#!/usr/bin/env bash
# Peak memory of `pumex print` for a 2-page and a 200-page job (single-sided,
# not collated, banded, each page a picture, grey steps and lines), measured
# with /usr/bin/time -v. Memory must not grow with the number of pages: the
# script fails when the 200-page peak is more than 10 % above the 2-page one.
#
#   benchmarks/print_memory.sh [BUILD_DIR]     (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
pumex=$build/tools/pumex
[ -x "$pumex" ] || { echo "print_memory.sh: $pumex: not built (cmake --build --preset default)" >&2; exit 2; }
[ -x /usr/bin/time ] || { echo "print_memory.sh: /usr/bin/time: missing (Debian package time)" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$build/root" "$work/root"

# A job of N pages; every page draws the bundled photograph at a scale, a
# picture at its own size, grey steps and lines.
make_job() {
    python3 - "$1" "$2" <<'PY'
import json, sys
pages, path = int(sys.argv[1]), sys.argv[2]
ops = [{"rect": [75 + 100 * i, 60, 175 + 100 * i, 210], "fill": [254 - 36 * i] * 3} for i in range(7)]
ops += [{"line": [75, 270 + 40 * i, 775, 300 + 40 * i], "width": 1 + 3 * i, "color": [0, 0, 0]} for i in range(4)]
ops += [{"image": "photo.png", "x": 125, "y": 600, "width": 600, "height": 380},
        {"image": "photo.png", "x": 0, "y": 0}]
job = {"devmode": {"paperSize": 1, "printQuality": 100, "copies": 1, "collate": False},
       "surface": {"format": "24bpp", "banding": True, "bandHeight": 200},
       "pages": [{"ops": ops} for _ in range(pages)]}
json.dump(job, open(path, "w"))
PY
}

cp data/samples/landscape-photo.png "$work/photo.png"
peak() {
    local pages=$1
    make_job "$pages" "$work/job$pages.json"
    /usr/bin/time -v "$pumex" print "$work/job$pages.json" -o "$work/out$pages.prn" --root "$work/root" \
        >/dev/null 2>"$work/time$pages.txt" || { cat "$work/time$pages.txt" >&2; exit 1; }
    sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time$pages.txt"
}

small=$(peak 2)
large=$(peak 200)
echo "peak memory, 2 pages:   $small KiB"
echo "peak memory, 200 pages: $large KiB"
if [ "$large" -gt $((small * 110 / 100)) ]; then
    echo "print_memory.sh: the 200-page job peaks more than 10 % above the 2-page job" >&2
    exit 1
fi
echo "within 10 %: $((large * 1000 / small / 10 - 100)) % more"
