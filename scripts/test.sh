#!/usr/bin/env bash
# Builds and runs the whole test suite twice: once in the dev preset (debug, warnings as errors)
# and once under AddressSanitizer + UndefinedBehaviorSanitizer. Any failure or sanitizer report
# fails the run. Set TAVIX_SKIP_ASAN=1 to run the dev pass only while iterating. Then it builds
# and checks the Debian package (scripts/package.sh; TAVIX_SKIP_PACKAGE=1 skips it).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh
export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-$(command -v ccache || true)}"
jobs="${TAVIX_JOBS:-$(nproc)}"

scripts/check-format.sh

presets=(dev)
[ "${TAVIX_SKIP_ASAN:-0}" = 1 ] || presets+=(asan)
for preset in "${presets[@]}"; do
  echo "== $preset: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== $preset: tests"
  ctest --preset "$preset" -j "$jobs"
done

# The Debian package: lintian without errors, programs runnable from an unpacked copy.
[ "${TAVIX_SKIP_PACKAGE:-0}" = 1 ] || scripts/package.sh
