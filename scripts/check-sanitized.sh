#!/usr/bin/env bash
# One clang build with AddressSanitizer, UndefinedBehaviorSanitizer and
# libFuzzer (QF_FUZZ=ON) that serves two checks: the whole test suite with
# leak checking, stopping at the first report; then every fuzz target for a
# short, fixed time from its seed corpus. A crash leaves its input in the
# build folder and prints its name.
#
#   scripts/check-sanitized.sh [BUILD [TARGET...]]   (default build-sanitize, every target)
#   FUZZ_SECONDS=600 scripts/check-sanitized.sh build-sanitize fuzz_plist
#                                               a longer session on one target
#
# Exits 1 when a test fails, a sanitizer reports, or a fuzz target crashes.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-sanitize}
shift || true
seconds=${FUZZ_SECONDS:-30}

stamp() { printf '\n== %s (%s)\n' "$1" "$(date -u +%T)"; }

stamp "sanitizer build in $build"
if [ ! -f "$build/build.ninja" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DQF_FUZZ=ON
fi
cmake --build "$build"

# Symbolized reports when llvm-symbolizer is there; the run stops at the first
# report of either sanitizer, leaks included.
export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
if command -v llvm-symbolizer >/dev/null; then
  export ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer)
fi

stamp "tests under the sanitizers"
ctest --test-dir "$build" --output-on-failure -j2

stamp "fuzz targets, ${seconds} s each"
runs="$build/fuzz-runs"
mkdir -p "$runs"
failed=0
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  targets=($(cd "$build/bin" && ls fuzz_*))
fi
for name in "${targets[@]}"; do
  target="$build/bin/$name"
  seeds="fuzz/corpus/$name"
  work="$runs/$name"
  mkdir -p "$work"
  # New inputs go to the work folder; the seeds in the source tree are only read.
  if "$target" "$work" "$seeds" -max_total_time="$seconds" -rss_limit_mb=4096 -timeout=20 \
       -artifact_prefix="$runs/$name-" -print_final_stats=1 >"$runs/$name.log" 2>&1; then
    printf '%-28s %s\n' "$name" "$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$runs/$name.log" | grep -o '[0-9]*$') runs, clean"
  else
    failed=1
    tail -n 40 "$runs/$name.log"
    for input in "$runs/$name"-*; do
      [ -e "$input" ] && printf '%s failed; the input that broke it: %s\n' "$name" "$input"
    done
    printf '%s failed (log: %s)\n' "$name" "$runs/$name.log"
  fi
done
stamp "done"
exit "$failed"
