#!/usr/bin/env bash
# Installs what is missing, builds, and runs the whole test suite:
#  1. the Release build and every CTest test;
#  2. the unit tests labelled "sanitize" again under ASan + UBSan;
#  3. each fuzz target for a bounded time over its seed corpus (clang).
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$here/scripts/install-deps.sh"
jobs="$(nproc)"
export QT_QPA_PLATFORM=offscreen
export QTWEBENGINE_DISABLE_SANDBOX=1

echo "== build and test (Release)"
build="$here/build/test"
"$here/scripts/build.sh" "$build" -DCMAKE_BUILD_TYPE=Release -DZYN_BUILD_TESTS=ON -DZYN_BUILD_BENCH=ON
(cd "$build" && ctest --output-on-failure -j "$jobs" --timeout 600)

echo "== sanitizers (ASan + UBSan)"
asan="$here/build/asan"
ZYN_BUILD_TARGET=sanitize_tests "$here/scripts/build.sh" "$asan" -DCMAKE_BUILD_TYPE=Debug -DZYN_SANITIZE=ON -DZYN_BUILD_BENCH=OFF
# Qt's and PROJ's own allocations at exit are not ours to chase.
export ASAN_OPTIONS="detect_leaks=0:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
(cd "$asan" && ctest --output-on-failure -j "$jobs" -L sanitize --timeout 900)
unset ASAN_OPTIONS UBSAN_OPTIONS

echo "== fuzz (libFuzzer)"
fuzz="$here/build/fuzz"
ZYN_BUILD_TARGET=fuzz_targets "$here/scripts/build.sh" "$fuzz" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DZYN_BUILD_FUZZ=ON -DZYN_BUILD_TESTS=ON -DZYN_BUILD_BENCH=OFF
(cd "$fuzz" && ctest --output-on-failure -L fuzz --timeout 600)
