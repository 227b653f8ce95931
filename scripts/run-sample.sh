#!/usr/bin/env bash
# Builds the Linux tree if needed and runs the main job on the bundled system
# root: the plug-in is loaded as the universal driver loads it, asked what the
# driver asks, and a device is enabled for the bundled printer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default >/dev/null
exec build/tools/pumex probe "$@"
