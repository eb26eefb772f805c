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
logs=$root/build/test-logs
mkdir -p "$logs"

# What each lane got to: "configure", "build", "prefix" (the Wine prefix) or "test"; the summary
# tells a failed build from a test run that ended without CTest's own summary (a crash of CTest).
declare -A reached=()

# Each lane writes its CTest output to $logs/<lane>.log and returns the first failing status.
native_lane() {
  reached[native]=configure
  cmake --preset debug </dev/null || return
  reached[native]=build
  cmake --build --preset debug --parallel "$jobs" </dev/null || return
  reached[native]=test
  ctest --preset debug --parallel "$jobs" </dev/null 2>&1 | tee "$logs/native.log"
}

# The Wine programs that the cross build's toolchain file found (HALCYRA_WINE64 in the cache), and
# the wineserver beside that loader.
find_wine() {
  wine=$(sed -n 's/^HALCYRA_WINE64:[A-Z]*=//p' build/mingw/CMakeCache.txt)
  if [[ -z $wine || ! -x $wine ]]; then
    echo "test-all: the mingw configure found no Wine loader (HALCYRA_WINE64)" >&2
    return 1
  fi
  local folder
  folder=$(dirname "$(readlink -f "$wine")")
  wineserver=
  for candidate in "$folder/wineserver64" "$folder/wineserver" "$(command -v wineserver || true)"; do
    if [[ -n $candidate && -x $candidate ]]; then
      wineserver=$candidate
      break
    fi
  done
  if [[ -z $wineserver ]]; then
    echo "test-all: no wineserver beside $wine" >&2
    return 1
  fi
}

# A fresh prefix with the settings of the mingw test preset (its environment in CMakePresets.json,
# the one place they are written), so that a developer's `ctest --preset mingw` finds it too.
make_wine_prefix() {
  local assignment
  while IFS= read -r assignment; do
    eval "export $assignment"
  done < <(cmake -DPRESET=mingw "-DSOURCE_DIR=$root" -P cmake/print_test_environment.cmake 2>&1)
  if [[ -z ${WINEPREFIX:-} ]]; then
    echo "test-all: the mingw test preset names no WINEPREFIX" >&2
    return 1
  fi
  if [[ -d $WINEPREFIX ]]; then
    "$wineserver" -k 2>/dev/null || true
    rm -rf "$WINEPREFIX"
  fi
  "$wine" wineboot --init </dev/null >"$logs/wineboot.log" 2>&1 || {
    cat "$logs/wineboot.log" >&2
    return 1
  }
  # A fresh prefix says Windows 7; the product runs on Windows 10, and the library asks.
  "$wine" winecfg -v win10 </dev/null >>"$logs/wineboot.log" 2>&1 || {
    echo "test-all: winecfg could not set the Windows version" >&2
    cat "$logs/wineboot.log" >&2
    return 1
  }
  "$wineserver" -w
}

windows_lane() {
  reached[windows]=configure
  cmake --preset mingw </dev/null || return
  reached[windows]=build
  cmake --build --preset mingw --parallel "$jobs" </dev/null || return
  reached[windows]=prefix
  find_wine && make_wine_prefix || return
  reached[windows]=test
  local status=0
  ctest --preset mingw --parallel "$jobs" </dev/null 2>&1 | tee "$logs/windows.log" || status=$?
  "$wineserver" -k 2>/dev/null || true
  return "$status"
}

# Prints what CTest concluded, or where the lane stopped before.
summarize() {
  local name=$1 lane=$2 status=$3 seconds=$4 log=$5
  local verdict=passed
  ((status == 0)) || verdict=FAILED
  echo "== $name: $verdict in ${seconds} s"
  case ${reached[$lane]:-configure} in
    configure) echo "   (no test run: the configure step failed, see above)" ;;
    build) echo "   (no test run: the build failed, see above)" ;;
    prefix) echo "   (no test run: the Wine prefix could not be made, see above)" ;;
    test)
      if [[ -s $log ]] && grep -q 'tests passed' "$log"; then
        grep -E 'tests passed|Total Test time|The following tests|^[[:space:]]+[0-9]+ - ' "$log" || true
      else
        echo "   (CTest ended with status $status before its summary: it crashed or was killed; see $log)"
      fi
      ;;
  esac
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
summarize "Native lane (Linux, debug)" native "$native_status" "$native_seconds" "$logs/native.log"
summarize "Windows lane (MinGW-w64 under Wine)" windows "$windows_status" "$windows_seconds" "$logs/windows.log"

((native_status == 0 && windows_status == 0))
