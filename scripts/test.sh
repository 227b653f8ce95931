#!/usr/bin/env bash
# Builds the Linux tree twice, plain and with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs every test in both.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

for preset in default asan; do
  echo "== ${preset}: configure and build"
  cmake --preset "${preset}" >/dev/null
  cmake --build --preset "${preset}"
  echo "== ${preset}: tests"
  ctest --preset "${preset}"
done
