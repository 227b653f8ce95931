#!/usr/bin/env bash
# Checks that a built plug-in (Windows DLL or Linux module) exports exactly
# DllGetClassObject and DllCanUnloadNow.
set -euo pipefail
module="$1"
expected=$'DllCanUnloadNow\nDllGetClassObject'
case "$module" in
  *.dll)
    exports=$(x86_64-w64-mingw32-objdump -p "$module" |
      sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | sed -n 's/^[[:space:]]*\[ *[0-9]*\] //p' | sort)
    if ! x86_64-w64-mingw32-objdump -h "$module" | grep -q '\.rsrc'; then
      echo "check-exports: $module: no resource section" >&2
      exit 1
    fi
    ;;
  *)
    exports=$(nm -D --defined-only "$module" | awk '$2 ~ /^[TDBRVW]$/ {print $3}' | sort)
    ;;
esac
if [ "$exports" != "$expected" ]; then
  echo "check-exports: $module exports:" >&2
  echo "$exports" >&2
  echo "check-exports: expected exactly DllGetClassObject and DllCanUnloadNow" >&2
  exit 1
fi
echo "check-exports: $module exports exactly DllGetClassObject and DllCanUnloadNow"
