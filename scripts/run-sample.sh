#!/usr/bin/env bash
# The main job: installs what the machine lacks, builds the Linux tree if
# needed, prints the bundled sample jobs through the plug-in into embosser
# streams in build/sample/ (a page of graphics, and a double-sided document
# whose fronts and backs land in two files) and draws each stream into a PNG
# preview beside it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default >/dev/null

pumex=build/tools/pumex
out=build/sample
mkdir -p "$out"
for job in graphics double-sided; do
  echo "== pumex print data/samples/$job.json"
  "$pumex" print "data/samples/$job.json" -o "$out/$job.prn"
done
echo "== previews"
for stream in "$out/graphics.prn" "$out/double-sided-front.prn" "$out/double-sided-back.prn"; do
  "$pumex" inspect "$stream" --png "${stream%.prn}.png" | head -1
  echo "   picture: ${stream%.prn}.png"
done
