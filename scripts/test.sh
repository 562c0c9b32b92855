#!/usr/bin/env bash
# Installs what Tessoly needs, builds it with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset asan >/dev/null
cmake --build --preset asan
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:strict_string_checks=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
ctest --preset asan "$@"
