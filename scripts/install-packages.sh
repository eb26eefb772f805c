#!/usr/bin/env bash
# Installs those of the given Debian packages that are not installed yet. The package lists are
# refreshed once, and only when something has to be installed. Works without a terminal (CI), as
# root or through sudo.
set -euo pipefail

missing=()
for package in "$@"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ $status == "install ok installed" ]] || missing+=("$package")
done
((${#missing[@]} == 0)) && exit 0

echo "Installing: ${missing[*]}"
sudo=()
if [[ $(id -u) -ne 0 ]]; then
  sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update </dev/null
"${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}" </dev/null
