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
# HALCYRA_JOBS sets the build parallelism and how many fuzzers run at once (default: the number of
# processors). The fuzzers run niced.
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

# Runs one target on its corpus and writes what it concluded to $findings/<name>.report, and 0 or 1
# to $findings/<name>.status.
fuzz_one() {
  local name=$1 seeds=$2 found=$3 report=$findings/$1.report
  echo "== $name: $seconds s on $(find "$seeds" -type f | wc -l) seeds" >"$report"
  if nice -n 10 "$bin/$name" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$findings/$name-" "$found" "$seeds" </dev/null 2>"$findings/$name.log"; then
    grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$findings/$name.log" | tail -n 2 >>"$report" || true
    echo 0 >"$findings/$name.status"
  else
    { echo "   FINDING: see $findings/$name.log"; tail -n 40 "$findings/$name.log"; } >>"$report"
    echo 1 >"$findings/$name.status"
  fi
}

status=0
ran=()
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
  # As many targets at once as the build's parallelism, each on one processor.
  while (($(jobs -rp | wc -l) >= jobs)); do
    wait -n || true
  done
  rm -f "$findings/$name.status"
  fuzz_one "$name" "$seeds" "$found" &
  ran+=("$name")
done
wait
for name in "${ran[@]}"; do
  cat "$findings/$name.report"
  [[ $(cat "$findings/$name.status" 2>/dev/null) == 0 ]] || status=1
done
exit "$status"
