#!/usr/bin/env bash
# Builds the registry benchmark (bench/platform/registry_bench.cpp) for Windows and runs it under
# Wine, so that the Linux registry's figures (build/release/bin/registry_bench) can be set beside
# Wine's registry on the same machine. Google Benchmark has no Windows package in Debian, so its
# Debian source package is fetched and built with MinGW-w64 first; that needs deb-src entries
# for the machine's Debian archives, which this script adds in a file of its own when there are
# none. Everything goes below build/wine-bench; nothing of it is part of the tree.
#
#   scripts/bench-registry-wine.sh [RUNS] [FILTER]   RUNS runs (default 3) of the benchmarks
#                                                     that FILTER names (default: all)
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD
runs=${1:-3}
filter=${2:-.}
work=$root/build/wine-bench
jobs=${HALCYRA_JOBS:-$(nproc)}

source scripts/packages.sh
scripts/install-packages.sh "${HALCYRA_WINDOWS_PACKAGES[@]}" dpkg-dev ninja-build

sudo=()
[[ $(id -u) -eq 0 ]] || sudo=(sudo)

mkdir -p "$work/src"
source_dir=$(find "$work/src" -maxdepth 1 -type d -name 'benchmark-*' | head -n 1)
if [[ -z $source_dir ]]; then
  if ! grep -rqs '^Types:.*deb-src\|^deb-src ' /etc/apt/sources.list /etc/apt/sources.list.d/; then
    # The source twins of the binary entries, with the same archives, suites and keys.
    sed -n '/^Types:/s/.*/Types: deb-src/p; /^\(URIs\|Suites\|Components\|Signed-By\):/p; /^$/p' \
      /etc/apt/sources.list.d/debian.sources | "${sudo[@]}" tee /etc/apt/sources.list.d/halcyra-src.sources >/dev/null
    "${sudo[@]}" apt-get update </dev/null
  fi
  (cd "$work/src" && apt-get source benchmark </dev/null)
  source_dir=$(find "$work/src" -maxdepth 1 -type d -name 'benchmark-*' | head -n 1)
fi
version=${source_dir##*/benchmark-}

toolchain=$root/cmake/mingw-w64-x86_64.cmake
if [[ ! -f $work/prefix/lib/cmake/benchmark/benchmarkConfig.cmake ]]; then
  # The source package has no git history to read its version from; Debian's own build gives it too.
  cmake -S "$source_dir" -B "$work/benchmark-build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DCMAKE_BUILD_TYPE=Release -DGIT_VERSION="$version" -DBUILD_SHARED_LIBS=OFF -DBENCHMARK_ENABLE_TESTING=OFF \
    -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_INSTALL_DOCS=OFF \
    -DCMAKE_INSTALL_PREFIX="$work/prefix" </dev/null
  cmake --build "$work/benchmark-build" --parallel "$jobs" </dev/null
  cmake --install "$work/benchmark-build" </dev/null
fi

# The toolchain searches packages below the MinGW root only: the library is named by its folder.
cmake -S "$root" -B "$work/build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
  -DHALCYRA_BUILD_BENCHMARKS=ON -DHALCYRA_BUILD_TESTS=OFF \
  -Dbenchmark_DIR="$work/prefix/lib/cmake/benchmark" </dev/null >/dev/null
cmake --build "$work/build" --target registry_bench --parallel "$jobs" </dev/null

export WINEPREFIX=$work/wineprefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
wine=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver64
[[ -x $server ]] || server=/usr/lib/wine/wineserver
"$wine" wineboot --init </dev/null >/dev/null 2>&1
"$server" -w
cd "$work/build/bin"
for ((run = 1; run <= runs; ++run)); do
  echo "== run $run of $runs under Wine"
  "$wine" registry_bench.exe --benchmark_filter="$filter" </dev/null
done
"$server" -k || true
