#!/usr/bin/env bash
# Installs the Debian packages of scripts/packages.txt that this machine lacks
# (with sudo when not run as root). Quiet when nothing is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

missing=()
while read -r p; do
  case "$p" in ''|'#'*) continue ;; esac
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done < scripts/packages.txt
[ ${#missing[@]} -eq 0 ] && exit 0

echo "== installing: ${missing[*]}" >&2
sudo=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install-deps: missing packages (${missing[*]}); run as root or install sudo" >&2; exit 2; }
  sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
