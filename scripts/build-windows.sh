#!/usr/bin/env bash
# Cross-builds the plug-in DLL with mingw-w64 and checks its export table.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset windows >/dev/null
cmake --build --preset windows
scripts/check-exports.sh build-win/src/pumexuni.dll
