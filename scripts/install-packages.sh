#!/usr/bin/env bash
# Installs those of the given Debian packages that are not installed yet. The package lists are
# refreshed once, and only when something has to be installed. Works without a terminal (CI), as
# root or through sudo. When another package manager holds the package system's lock (an unattended
# upgrade, another script), it waits for it, at most HALCYRA_APT_LOCK_SECONDS (default 600).
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
lock_seconds=${HALCYRA_APT_LOCK_SECONDS:-600}

# Runs apt-get, waiting for the package system's locks: apt waits for dpkg's own lock itself; the
# lock of the package lists it does not wait for, so a run that failed on a lock is tried again
# until the time is up.
apt_get() {
  local deadline=$((SECONDS + lock_seconds)) output status
  while true; do
    status=0
    output=$("${sudo[@]}" apt-get -o "DPkg::Lock::Timeout=$lock_seconds" "$@" </dev/null 2>&1) || status=$?
    printf '%s\n' "$output"
    ((status != 0)) || return 0
    if ! grep -qE 'Could not get lock|Unable to acquire the dpkg frontend lock|Unable to lock directory' <<<"$output" ||
      ((SECONDS >= deadline)); then
      return "$status"
    fi
    echo "install-packages: another package manager holds the lock; waiting" >&2
    sleep 5
  done
}

apt_get update
apt_get install -y --no-install-recommends "${missing[@]}"
