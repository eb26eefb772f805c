#!/usr/bin/env bash
# Builds the native tests with the sanitizers and runs them: every suite with AddressSanitizer and
# UndefinedBehaviorSanitizer (asan preset, LeakSanitizer on), then the suites that run threads and
# processes side by side with ThreadSanitizer (tsan preset). A sanitizer's report fails the suite
# that raised it; the script fails when either lane fails. Installs missing Debian packages first.
#
#   scripts/test-sanitizers.sh [asan|tsan]   both lanes, or the one named
#
# HALCYRA_JOBS sets the build and test parallelism (default: the number of processors).
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

source scripts/packages.sh
scripts/install-packages.sh "${HALCYRA_NATIVE_PACKAGES[@]}"

jobs=${HALCYRA_JOBS:-$(nproc)}
logs=$root/build/test-logs
mkdir -p "$logs"
lanes=("$@")
((${#lanes[@]} > 0)) || lanes=(asan tsan)

# The suites whose code runs on several threads or in several processes at once.
concurrent_suites=(platform_tests registry_conformance_tests registry_storage_tests storage_system_tests
                   data_system_tests reactive_tests audio_service_tests simulator_tests)

# A report ends the process that made it with a failure; leaks are looked for at every exit. The
# ThreadSanitizer options, with the suppressions of the races kept on purpose, are those of the tsan
# test preset. On
# this glibc, LeakSanitizer's scan of the threads misreads the dynamic TLS of a library loaded with
# dlopen (the module that halcyrad loads) and crashes, unless ASan leaves __tls_get_addr alone.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:halt_on_error=1:strict_string_checks=1:intercept_tls_get_addr=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

asan_lane() {
  cmake --preset asan </dev/null >/dev/null &&
    cmake --build --preset asan --parallel "$jobs" </dev/null &&
    ctest --preset asan --parallel "$jobs" </dev/null 2>&1 | tee "$logs/asan.log"
}

tsan_lane() {
  local pattern
  # Each test of a suite is a CTest test of its own, named <suite>.<TestSuite>.<Test>.
  pattern="^($(IFS='|'; echo "${concurrent_suites[*]}"))\\."
  cmake --preset tsan </dev/null >/dev/null &&
    cmake --build --preset tsan --parallel "$jobs" --target "${concurrent_suites[@]}" </dev/null &&
    ctest --preset tsan --parallel "$jobs" -R "$pattern" </dev/null 2>&1 | tee "$logs/tsan.log"
}

status=0
for lane in "${lanes[@]}"; do
  start=$SECONDS
  lane_status=0
  "${lane}_lane" || lane_status=$?
  verdict=passed
  ((lane_status == 0)) || verdict=FAILED
  echo "== $lane: $verdict in $((SECONDS - start)) s (log: build/test-logs/$lane.log)"
  ((lane_status == 0)) || status=1
done
exit "$status"
