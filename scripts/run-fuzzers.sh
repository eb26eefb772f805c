#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset, clang) and runs each in turn on its seed corpus in the
# tree (fuzz/<folder>/corpus/<target>/) for a number of seconds. What a run finds new goes to
# build/fuzz/corpus/<target>/, never into the tree. A finding (a crash, a sanitizer report, a leak
# or an input slower than ten seconds) ends the script with a failure, its input kept in
# build/fuzz/findings/. Installs missing Debian packages first.
#
#   scripts/run-fuzzers.sh [SECONDS] [TARGET...]   run every target (or those named), 30 s each
#   scripts/run-fuzzers.sh --merge [TARGET...]     fold what earlier runs found into the seed
#                                                  corpora in the tree, keeping only inputs that
#                                                  reach new code
#
# HALCYRA_JOBS sets the build parallelism (default: the number of processors). The fuzzers run
# niced, one at a time.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

source scripts/packages.sh
scripts/install-packages.sh "${HALCYRA_NATIVE_PACKAGES[@]}" "${HALCYRA_FUZZ_PACKAGES[@]}"

merge=false
seconds=30
if [[ ${1:-} == --merge ]]; then
  merge=true
  shift
elif [[ ${1:-} =~ ^[0-9]+$ ]]; then
  seconds=$1
  shift
fi

# Every target, by the file that defines it; only the targets are built.
mapfile -t sources < <(find fuzz -name '*_fuzzer.cpp' | sort)
targets=()
for source in "${sources[@]}"; do
  targets+=("$(basename "$source" .cpp)")
done

jobs=${HALCYRA_JOBS:-$(nproc)}
cmake --preset fuzz </dev/null >/dev/null
cmake --build --preset fuzz --parallel "$jobs" --target "${targets[@]}" </dev/null

bin=$root/build/fuzz/bin
findings=$root/build/fuzz/findings
mkdir -p "$findings"

status=0
for source in "${sources[@]}"; do
  name=$(basename "$source" .cpp)
  if (($# > 0)) && [[ " $* " != *" $name "* ]]; then
    continue
  fi
  seeds=$root/$(dirname "$source")/corpus/$name
  found=$root/build/fuzz/corpus/$name
  mkdir -p "$seeds" "$found"
  if $merge; then
    echo "== $name: merging $(find "$found" -type f | wc -l) inputs into $seeds"
    nice -n 10 "$bin/$name" -merge=1 "$seeds" "$found" </dev/null 2>"$findings/$name.merge.log" || {
      tail -n 20 "$findings/$name.merge.log"
      status=1
    }
    continue
  fi
  echo "== $name: $seconds s on $(find "$seeds" -type f | wc -l) seeds"
  if nice -n 10 "$bin/$name" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$findings/$name-" "$found" "$seeds" </dev/null 2>"$findings/$name.log"; then
    grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$findings/$name.log" | tail -n 2 || true
  else
    echo "   FINDING: see $findings/$name.log"
    tail -n 40 "$findings/$name.log"
    status=1
  fi
done
exit "$status"
