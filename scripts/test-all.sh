#!/usr/bin/env bash
# Builds everything and runs every test suite twice: natively (debug preset), then the Windows build
# (mingw preset) under Wine, in a fresh Wine prefix inside its build folder. Both lanes always run;
# the script fails when either fails. Installs missing Debian packages first.
#
# HALCYRA_JOBS sets the build and test parallelism (default: the number of processors).
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

source scripts/packages.sh
scripts/install-packages.sh "${HALCYRA_NATIVE_PACKAGES[@]}" "${HALCYRA_WINDOWS_PACKAGES[@]}"

jobs=${HALCYRA_JOBS:-$(nproc)}
wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64
logs=$root/build/test-logs
mkdir -p "$logs"

# Each lane writes its CTest output to $logs/<lane>.log and returns the first failing status.
native_lane() {
  cmake --preset debug </dev/null &&
    cmake --build --preset debug --parallel "$jobs" </dev/null &&
    ctest --preset debug --parallel "$jobs" </dev/null 2>&1 | tee "$logs/native.log"
}

windows_lane() {
  cmake --preset mingw </dev/null &&
    cmake --build --preset mingw --parallel "$jobs" </dev/null || return
  # The same prefix settings as the mingw test preset, so that a developer's `ctest --preset mingw`
  # finds the prefix made here.
  export WINEPREFIX=$root/build/mingw/wineprefix
  export WINEDEBUG=-all
  # No Mono or Gecko: nothing here needs them, and their installers would ask. No winedbg either:
  # a crashing test then ends with the exception's code instead of whatever the debugger leaves.
  export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
  if [[ -d $WINEPREFIX ]]; then
    "$wineserver" -k 2>/dev/null || true
    rm -rf "$WINEPREFIX"
  fi
  "$wine" wineboot --init </dev/null 2>"$logs/wineboot.log" || {
    cat "$logs/wineboot.log" >&2
    return 1
  }
  # A fresh prefix says Windows 7; the product runs on Windows 10, and the library asks.
  "$wine" winecfg -v win10 </dev/null 2>>"$logs/wineboot.log"
  "$wineserver" -w
  local status=0
  ctest --preset mingw --parallel "$jobs" </dev/null 2>&1 | tee "$logs/windows.log" || status=$?
  "$wineserver" -k 2>/dev/null || true
  return "$status"
}

# Prints what CTest concluded, or why it never ran.
summarize() {
  local name=$1 status=$2 seconds=$3 log=$4
  local verdict=passed
  ((status == 0)) || verdict=FAILED
  echo "== $name: $verdict in ${seconds} s"
  if [[ -s $log ]] && grep -q 'tests passed' "$log"; then
    grep -E 'tests passed|Total Test time|The following tests|^[[:space:]]+[0-9]+ - ' "$log" || true
  else
    echo "   (no test run: the configure or build step failed, see above)"
  fi
}

rm -f "$logs/native.log" "$logs/windows.log"

start=$SECONDS
native_status=0
native_lane || native_status=$?
native_seconds=$((SECONDS - start))

start=$SECONDS
windows_status=0
windows_lane || windows_status=$?
windows_seconds=$((SECONDS - start))

echo
summarize "Native lane (Linux, debug)" "$native_status" "$native_seconds" "$logs/native.log"
summarize "Windows lane (MinGW-w64 under Wine)" "$windows_status" "$windows_seconds" "$logs/windows.log"

((native_status == 0 && windows_status == 0))
