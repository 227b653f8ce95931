#!/usr/bin/env bash
# Whole-process benchmark: `pumex print` of a one-page 300 dpi photograph
# (US Letter, 2550 x 3300 pixels, PNG) against decoding the same PNG alone
# with libpng, on this machine, in the same run. Prints both times, the
# print's peak memory against the decoded page, and whether each stays
# within its bound (print at most 1.5x the decode, peak memory at most 2.5x
# the decoded page). Exits 1 when a bound is passed.
#
#   scripts/bench-print.sh [ROUNDS]    best of ROUNDS (default 3)
set -euo pipefail
cd "$(dirname "$0")/.."
rounds=${1:-3}
cmake --preset default >/dev/null
cmake --build --preset default --target pumex pumexuni png_photo >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
photo=$work/photo.png
build/benchmarks/png_photo make "$photo" 2550 3300

read -r decode_seconds decoded_bytes < <(build/benchmarks/png_photo decode "$photo" "$rounds" |
  sed -E 's/decode_seconds=([^ ]+) decoded_bytes=([0-9]+)/\1 \2/')

best_seconds=
peak_kb=0
for _ in $(seq "$rounds"); do
  /usr/bin/time -f '%e %M' -o "$work/time" build/tools/pumex print "$photo" --quality 300 -o "$work/photo.prn" >/dev/null
  read -r seconds kb < "$work/time"
  if [ -z "$best_seconds" ] || awk "BEGIN{exit !($seconds < $best_seconds)}"; then best_seconds=$seconds; fi
  [ "$kb" -gt "$peak_kb" ] && peak_kb=$kb
done

awk -v printed="$best_seconds" -v decode="$decode_seconds" -v kb="$peak_kb" -v bytes="$decoded_bytes" 'BEGIN {
  time_ratio = printed / decode
  memory_ratio = kb * 1024 / bytes
  printf "decode (libpng)     %8.3f s\n", decode
  printf "pumex print         %8.3f s   %5.2fx the decode   (at most 1.5x: %s)\n", printed, time_ratio, time_ratio <= 1.5 ? "yes" : "NO"
  printf "decoded page        %8.1f MB\n", bytes / 1048576
  printf "print peak memory   %8.1f MB   %5.2fx the page     (at most 2.5x: %s)\n", kb / 1024, memory_ratio, memory_ratio <= 2.5 ? "yes" : "NO"
  exit (time_ratio <= 1.5 && memory_ratio <= 2.5) ? 0 : 1
}'
