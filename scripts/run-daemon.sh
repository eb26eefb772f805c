#!/usr/bin/env bash
# Builds the native debug preset and runs halcyrad, the daemon host, with the simulated audio system
# and the default registry folder ($HALCYRA_REGISTRY_ROOT when set). Its arguments go to halcyrad,
# e.g. `scripts/run-daemon.sh --for 5 --log-level 4`; see `scripts/run-daemon.sh --help`. Installs
# missing Debian packages first. HALCYRA_JOBS sets the build parallelism.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

source scripts/packages.sh
scripts/install-packages.sh "${HALCYRA_NATIVE_PACKAGES[@]}"

cmake --preset debug >/dev/null
cmake --build --preset debug --target halcyrad --parallel "${HALCYRA_JOBS:-$(nproc)}"
exec build/debug/bin/halcyrad "$@"
