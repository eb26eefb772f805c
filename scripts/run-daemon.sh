#!/usr/bin/env bash
# Builds halcyrad, the module library and the command-line tools (the daemon preset: a native debug
# build without the tests, in build/daemon) and runs halcyrad, the daemon host, with the simulated
# audio system and the default registry folder ($HALCYRA_REGISTRY_ROOT when set). Its arguments go to halcyrad,
# e.g. `scripts/run-daemon.sh --for 5 --log-level 4`; see `scripts/run-daemon.sh --help`. Installs
# missing Debian packages first. HALCYRA_JOBS sets the build parallelism.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

source scripts/packages.sh
scripts/install-packages.sh "${HALCYRA_NATIVE_PACKAGES[@]}"

cmake --preset daemon >/dev/null
cmake --build --preset daemon --parallel "${HALCYRA_JOBS:-$(nproc)}"
exec build/daemon/bin/halcyrad "$@"
