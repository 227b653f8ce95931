#!/usr/bin/env bash
# Runs the driver program twice, natively against the Linux module and under
# Wine against the DLL, and compares every scripted document's stream byte
# for byte. Without Wine or mingw-w64 on a developer's machine the test is
# skipped (exit 77); in CI (CI=true) their absence is a failure.
#   run.sh SOURCE_DIR NATIVE_PROGRAM LINUX_MODULE WORK_DIR
set -uo pipefail
src="$1" native="$2" module="$3" work="$4"

wine=$(command -v wine64 || true)
[ -z "$wine" ] && [ -x /usr/lib/wine/wine64 ] && wine=/usr/lib/wine/wine64
missing=""
[ -z "$wine" ] && missing="wine64 (Debian package wine64)"
command -v x86_64-w64-mingw32-g++ >/dev/null || missing="$missing mingw-w64 (g++-mingw-w64-x86-64)"
if [ -n "$missing" ]; then
  if [ "${CI:-}" = "true" ]; then
    echo "wine test: missing in CI: $missing" >&2
    exit 1
  fi
  echo "wine test: skipped, not installed here: $missing"
  exit 77
fi

mkdir -p "$work"
echo "== cross-building the DLL and the driver program (log: $work/build-windows.log)"
if ! (cd "$src" && cmake --preset windows && cmake --build --preset windows) >"$work/build-windows.log" 2>&1; then
  tail -40 "$work/build-windows.log" >&2
  echo "wine test: the Windows build failed" >&2
  exit 1
fi
dll="$src/build-win/src/pumexuni.dll"
exe="$src/build-win/tests/wine/pumex_driver_check.exe"

# The native run prints to a printer of its own system root, with no settings
# beyond those the program writes, as the Wine run's registry printer has none.
rm -rf "$work/root" "$work/native" "$work/wine"
mkdir -p "$work/root/printers" "$work/native" "$work/wine"
cat >"$work/root/printers/Pumex Embosser.json" <<'JSON'
{ "name": "Pumex Embosser", "driver": "Pumex Pro", "port": "FILE:", "data": { "Config": {} } }
JSON

status=0
[ -x "$native" ] || { echo "wine test: $native is not built" >&2; exit 1; }
echo "== native: $module"
PUMEX_ROOT="$work/root" "$native" "$module" "$work/native" || status=1

echo "== wine: $dll"
export WINEPREFIX="$work/prefix" WINEDEBUG=-all
[ -d "$WINEPREFIX" ] || "$wine" wineboot --init >"$work/wineboot.log" 2>&1
"$wine" "$exe" "Z:${dll//\//\\}" "Z:${work//\//\\}\\wine" 2> >(grep -v '^\(err\|fixme\|warn\):\|^[0-9a-f]*:\(err\|fixme\|warn\)' >&2) ||
  status=1

echo "== comparing the streams"
compared=0
for stream in "$work/native"/*.prn; do
  name=$(basename "$stream")
  if ! cmp "$stream" "$work/wine/$name"; then
    echo "wine test: $name differs between the Linux module and the DLL" >&2
    status=1
  fi
  compared=$((compared + 1))
done
[ "$compared" -gt 0 ] || { echo "wine test: no streams were written" >&2; status=1; }
[ "$status" -eq 0 ] && echo "wine test: $compared streams identical on both targets"
exit "$status"
