# The Debian packages of each build, sourced by the scripts beside this file.

# The native build: compiler, CMake, GoogleTest/GoogleMock, Google Benchmark, SQLite.
HALCYRA_NATIVE_PACKAGES=(
  cmake make g++ libgtest-dev libgmock-dev googletest libbenchmark-dev libsqlite3-dev
)

# The Windows build and its test runs: MinGW-w64 with posix threads, GoogleTest's sources, Wine.
HALCYRA_WINDOWS_PACKAGES=(
  g++-mingw-w64-x86-64-posix googletest wine64
)

# The libFuzzer targets (fuzz preset): clang with its fuzzer and sanitizer runtimes.
HALCYRA_FUZZ_PACKAGES=(
  clang libclang-rt-14-dev
)
