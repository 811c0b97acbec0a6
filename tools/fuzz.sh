#!/usr/bin/env bash
# Runs every libFuzzer target of the sanitizer build for SECONDS each (default 60),
# starting from the seeds in tests/fuzz/corpus/<target>/. Needs ./test.sh --sanitize first.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
dir=build-sanitize/tests
work="$PWD/fuzz-work"
shopt -s nullglob
targets=("$dir"/fuzz_*)
if [ ${#targets[@]} -eq 0 ]; then
    echo "fuzz.sh: no fuzz targets in $dir (run ./test.sh --sanitize first)" >&2
    exit 1
fi
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
status=0
passed=0
failed=0
for target in "${targets[@]}"; do
    [ -f "$target" ] && [ -x "$target" ] || continue
    name=$(basename "$target")
    corpus="$work/$name"
    rm -rf "$corpus"
    mkdir -p "$corpus"
    [ -d "tests/fuzz/corpus/$name" ] && cp -r "tests/fuzz/corpus/$name/." "$corpus/"
    echo "== $name for ${seconds}s"
    if ! "$target" "$corpus" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2560 \
        -print_final_stats=0 -artifact_prefix="$work/$name-" 2>"$work/$name.log"; then
        echo "fuzz.sh: $name found a fault; the last lines of its log:" >&2
        tail -40 "$work/$name.log" >&2
        status=1
        failed=$((failed + 1))
    else
        tail -1 "$work/$name.log"
        passed=$((passed + 1))
    fi
done
echo "fuzz: $passed passed, $failed failed"
exit $status
