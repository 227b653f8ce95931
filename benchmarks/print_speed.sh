#!/usr/bin/env bash
# Whole-process speed: `pumex print` of a one-page 300 dpi photograph (US
# Letter, 2550 x 3300 pixels, PNG) against decoding the same PNG alone with
# libpng, in the same run. Prints both times (best of ROUNDS; the print's
# processor time too), the print's peak memory against the decoded page, and
# whether each stays within its bound: the print at most 1.5x the decode, its
# peak memory at most 2.5x the decoded page. Exits 1 when a bound is passed.
#
#   benchmarks/print_speed.sh [BUILD_DIR] [ROUNDS]   (default: build, 3)
#   benchmarks/print_speed.sh --smoke [BUILD_DIR]    a small picture once, no bounds (CI)
set -euo pipefail
cd "$(dirname "$0")/.."
smoke=
if [ "${1:-}" = --smoke ]; then smoke=1; shift; fi
build=${1:-build}
rounds=${2:-3}
pumex=$build/tools/pumex
photo_tool=$build/benchmarks/png_photo
for tool in "$pumex" "$photo_tool"; do
    [ -x "$tool" ] || { echo "print_speed.sh: $tool: not built (cmake --build --preset default)" >&2; exit 2; }
done
[ -x /usr/bin/time ] || { echo "print_speed.sh: /usr/bin/time: missing (Debian package time)" >&2; exit 2; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$build/root" "$work/root"
photo=$work/photo.png
if [ -n "$smoke" ]; then
    "$photo_tool" make "$photo" 85 110
    quality=20
    rounds=1
else
    "$photo_tool" make "$photo" 2550 3300
    quality=300
fi

read -r decode_seconds decoded_bytes < <("$photo_tool" decode "$photo" "$rounds" |
    sed -E 's/decode_seconds=([^ ]+) decoded_bytes=([0-9]+)/\1 \2/')

best_seconds=
best_cpu=
peak_kb=0
for _ in $(seq "$rounds"); do
    /usr/bin/time -f '%e %M %U %S' -o "$work/time" "$pumex" print "$photo" --quality "$quality" -o "$work/photo.prn" \
        --root "$work/root" >/dev/null
    read -r seconds kb user system < "$work/time"
    cpu=$(awk "BEGIN{print $user + $system}")
    if [ -z "$best_seconds" ] || awk "BEGIN{exit !($seconds < $best_seconds)}"; then best_seconds=$seconds; fi
    if [ -z "$best_cpu" ] || awk "BEGIN{exit !($cpu < $best_cpu)}"; then best_cpu=$cpu; fi
    if [ "$kb" -gt "$peak_kb" ]; then peak_kb=$kb; fi
done

# The print reads a large picture on a second thread while it converts the
# bands above, so its processor time (user and system, all threads) is shown
# beside its elapsed time; only the elapsed time is bounded.
awk -v printed="$best_seconds" -v cpu="$best_cpu" -v decode="$decode_seconds" -v kb="$peak_kb" \
    -v bytes="$decoded_bytes" -v smoke="$smoke" 'BEGIN {
    time_ratio = decode > 0 ? printed / decode : 0
    memory_ratio = kb * 1024 / bytes
    printf "decode (libpng)     %8.3f s\n", decode
    printf "pumex print         %8.3f s   %5.2fx the decode   (at most 1.5x: %s)\n", printed, time_ratio, time_ratio <= 1.5 ? "yes" : "NO"
    printf "  processor time    %8.3f s   %5.2fx the decode\n", cpu, (decode > 0 ? cpu / decode : 0)
    printf "decoded page        %8.1f MB\n", bytes / 1048576
    printf "print peak memory   %8.1f MB   %5.2fx the page     (at most 2.5x: %s)\n", kb / 1024, memory_ratio, memory_ratio <= 2.5 ? "yes" : "NO"
    exit (smoke || (time_ratio <= 1.5 && memory_ratio <= 2.5)) ? 0 : 1
}'
